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

// Zombies and the dead keep their entry until somebody asks for their end; they do not run.
bool isAlive(const std::optional<std::string>& facts)
{
    return facts && facts->front() != 'Z' && facts->front() != 'X';
}

std::uint64_t startTimeIn(const std::string& facts)
{
    constexpr int kPlace = 22 - 3; // field 22 of proc(5), where the state is field 3
    std::istringstream fields(facts);
    std::string field;
    for (int i = 0; i <= kPlace; ++i)
        fields >> field;
    std::uint64_t time = 0;
    std::from_chars(field.data(), field.data() + field.size(), time);
    return fields ? time : 0;
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

bool bringProcessToFront(unsigned long)
{
    return false;
}

} // namespace Pt
