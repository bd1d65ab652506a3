#include "platform/common/services/ProcessControl.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string_view>

#include <sys/stat.h>
#include <unistd.h>

namespace Pt {

namespace {

// What the system tells of a process, from its state on: STATE PARENT GROUP ... Nothing for one
// that is not there.
std::optional<std::string> factsOf(unsigned long processId)
{
    std::ifstream file("/proc/" + std::to_string(processId) + "/stat");
    std::string line;
    if (processId == 0 || !std::getline(file, line))
        return std::nullopt;
    // PID (NAME) STATE ...; the name may have brackets of its own.
    const std::size_t end = line.rfind(") ");
    if (end == std::string::npos || end + 2 >= line.size())
        return std::nullopt;
    return line.substr(end + 2);
}

// Of those numbers, by their place in proc(5); 0 when there is none.
std::uint64_t fieldOf(const std::string& facts, int place)
{
    constexpr int kFirst = 3; // the state
    std::istringstream fields(facts);
    std::string field;
    for (int i = kFirst; i <= place; ++i)
        fields >> field;
    std::uint64_t number = 0;
    std::from_chars(field.data(), field.data() + field.size(), number);
    return fields ? number : 0;
}

// Zombies and the dead keep their entry until somebody asks for their end; they do not run. Nor
// does one that is ending: it has run its last line, and gives back what it had.
bool isAlive(const std::optional<std::string>& facts)
{
    constexpr int kFlags = 9;
    constexpr std::uint64_t kEnding = 0x4; // PF_EXITING of the system's own headers
    return facts && facts->front() != 'Z' && facts->front() != 'X'
        && (fieldOf(*facts, kFlags) & kEnding) == 0;
}

std::uint64_t startTimeIn(const std::string& facts)
{
    constexpr int kStart = 22;
    return fieldOf(facts, kStart);
}

// The process that a folder of /proc is about; 0 for the other folders there.
unsigned long processOf(const std::filesystem::path& folder)
{
    const std::string name = folder.filename().string();
    unsigned long id = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), id);
    return error == std::errc() && end == name.data() + name.size() ? id : 0;
}

bool runsProgram(const std::filesystem::path& folder, const struct stat& program)
{
    struct stat process = {};
    struct stat executable = {};
    // The file itself is compared, as the path may lead there in several ways.
    return ::stat(folder.c_str(), &process) == 0 && process.st_uid == ::geteuid()
        && ::stat((folder / "exe").c_str(), &executable) == 0 && executable.st_dev == program.st_dev
        && executable.st_ino == program.st_ino;
}

} // namespace

bool isProcessRunning(unsigned long processId)
{
    return isAlive(factsOf(processId));
}

bool isProcessRunning(const ProcessIdentity& process)
{
    const auto facts = factsOf(process.id);
    return isAlive(facts) && startTimeIn(*facts) == process.startTime;
}

bool isProcessStopped(unsigned long processId)
{
    const auto facts = factsOf(processId);
    return facts && (facts->front() == 'T' || facts->front() == 't'); // by a signal, or a debugger
}

std::uint64_t processStartTime(unsigned long processId)
{
    const auto facts = factsOf(processId);
    return facts ? startTimeIn(*facts) : 0;
}

std::vector<unsigned long> processesOfProgram(const std::string& path)
{
    struct stat program = {};
    std::vector<unsigned long> found;
    if (::stat(path.c_str(), &program) != 0)
        return found;
    std::error_code error;
    // Processes that end meanwhile are left out; the list of them all is there in any case.
    for (std::filesystem::directory_iterator folder("/proc", error), end; !error && folder != end;
         folder.increment(error))
        if (const unsigned long id = processOf(folder->path());
            id != 0 && runsProgram(folder->path(), program))
            found.push_back(id);
    std::ranges::sort(found);
    return found;
}

} // namespace Pt
