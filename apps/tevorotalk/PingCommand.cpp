#include "commandline/Output.h"
#include "tevorotalk/BusSession.h"
#include "tevorotalk/Commands.h"

namespace tevorotalk {

using ScObjects::SoString;

ExitCode runPing(const CommandLine& line)
{
    const BusSession session(ownName());
    const SoString answer = session.ask(
        line.target, line.pingCommand, static_cast<std::int32_t>(line.timeout), line.text);
    commandline::printLine(std::string(answer.view()));
    return exitCodeForAnswer(answer);
}

} // namespace tevorotalk
