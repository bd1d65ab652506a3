#include "commandline/Output.h"
#include "messaging/TevoroTalkPing.h"
#include "tevorotalk/BusSession.h"
#include "tevorotalk/Commands.h"

namespace tevorotalk {

using ScObjects::SoString;
using ScObjects::TevoroTalk;

ExitCode runPing(const CommandLine& line)
{
    BusSession const session(ownName());
    SoString const body(std::string_view(line.text));
    SoString const answer = TevoroTalk::Thread::ping(line.target.c_str(),
        line.pingCommand.c_str(),
        static_cast<std::int32_t>(line.timeout),
        &body);
    commandline::printLine(std::string(answer.view()));
    return exitCodeForAnswer(answer);
}

} // namespace tevorotalk
