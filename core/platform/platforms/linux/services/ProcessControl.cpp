#include "platform/common/services/ProcessControl.h"

#include <fstream>
#include <string>

namespace Pt {

bool isProcessRunning(unsigned long processId)
{
    if (processId == 0)
        return false;
    std::ifstream file("/proc/" + std::to_string(processId) + "/stat");
    std::string line;
    if (!std::getline(file, line))
        return false;
    // PID (NAME) STATE ...; the name may have brackets of its own.
    const std::size_t end = line.rfind(") ");
    // Zombies and the dead keep their entry until somebody asks for their end; they do not run.
    return end != std::string::npos && end + 2 < line.size() && line[end + 2] != 'Z'
        && line[end + 2] != 'X';
}

} // namespace Pt
