#include "commandline/Output.h"
#include "tevorotalk/BusSession.h"
#include "tevorotalk/Commands.h"

namespace tevorotalk {

using ScObjects::SoString;

namespace {

constexpr long kDefaultLimit = 2; // seconds

} // namespace

ExitCode runPing(const CommandLine& line)
{
    requireOneLine(line.target);
    requireOneLine(line.pingCommand);
    const BusSession session(ownName());
    const auto limit = static_cast<std::int32_t>(line.timeout.value_or(kDefaultLimit));
    const SoString answer = session.ask(line.target, line.pingCommand, limit, line.text);
    commandline::printLine(std::string(answer.view()));
    const bool hasNone = answer == "Timeout" || answer == "UNDEFINED";
    if (const std::string why = hasNone ? whyStuck(line.target) : ""; !why.empty())
        commandline::printMessage("tevorotalk", "'" + line.target + "' does not answer: " + why);
    return exitCodeForAnswer(answer);
}

} // namespace tevorotalk
