#include "commandline/JsonLine.h"
#include "platform/common/ports/LocalPort.h"
#include "tevorotalk/BusSession.h"
#include "tevorotalk/Commands.h"

#include <string_view>

namespace tevorotalk {

ExitCode runPorts(const CommandLine& line)
{
    std::error_code error;
    const auto ports = Pt::heldLocalPorts(error);
    if (error)
        throw CommandError(ExitCode::kSystemPart,
            "the folder of the ports, " + Pt::localPortFolder()
                + ", cannot be read: " + error.message());
    // Other ports are no names of the bus.
    for (const Pt::HeldPort& port : ports) {
        if (!std::string_view(port.name).starts_with(kPortPrefix))
            continue;
        const std::string name =
            Pt::displayName(std::string_view(port.name).substr(kPortPrefix.size()));
        if (line.json)
            commandline::printJson({{"name", name}, {"pid", port.processId}});
        else
            commandline::printLine(Pt::terminalText(name) + "\t" + std::to_string(port.processId));
    }
    return ExitCode::kDone;
}

} // namespace tevorotalk
