#include "platform/common/services/ProcessControl.h"

#include <fstream>
#include <optional>
#include <string>

namespace Pt {

namespace {

// The letter that the system has for it; nothing for a process that is not there.
std::optional<char> stateOf(unsigned long processId)
{
    std::ifstream file("/proc/" + std::to_string(processId) + "/stat");
    std::string line;
    if (processId == 0 || !std::getline(file, line))
        return std::nullopt;
    // PID (NAME) STATE ...; the name may have brackets of its own.
    const std::size_t end = line.rfind(") ");
    if (end == std::string::npos || end + 2 >= line.size())
        return std::nullopt;
    return line[end + 2];
}

} // namespace

bool isProcessRunning(unsigned long processId)
{
    const std::optional<char> state = stateOf(processId);
    // Zombies and the dead keep their entry until somebody asks for their end; they do not run.
    return state && *state != 'Z' && *state != 'X';
}

bool isProcessStopped(unsigned long processId)
{
    const char state = stateOf(processId).value_or('X');
    return state == 'T' || state == 't'; // by a signal, or by a debugger
}

} // namespace Pt
