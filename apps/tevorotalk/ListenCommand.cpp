#include "commandline/Output.h"
#include "messaging/Message.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "tevorotalk/BusSession.h"
#include "tevorotalk/Commands.h"
#include "tevorotalk/MessagePrinter.h"

#include <cstdio>

namespace tevorotalk {

using ScObjects::SoString;
using ScObjects::TevoroTalk;

namespace {

class Listener final : public TevoroTalk::MsgHandler {
public:
    Listener(const CommandLine& line, std::string type, unsigned long& count)
        : m_line(line)
        , m_type(std::move(type))
        , m_count(count)
    {
    }

    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override
    {
        printMessage(message, reason, m_line.json);
        ++m_count;
        // There is no result to fill in for messages that no answer can go to.
        if (result != nullptr && m_line.reply)
            *result = SoString(std::string_view(*m_line.reply));
        return m_line.error.value_or(0);
    }
    const char* getMsgType() const override { return m_type.c_str(); }

private:
    const CommandLine& m_line;
    std::string m_type;
    unsigned long& m_count;
};

} // namespace

ExitCode runListen(const CommandLine& line)
{
    unsigned long count = 0;
    requireOneLine(line.target);
    for (const std::string& type : line.types)
        requireOneLine(type); // no message has such a type
    BusSession session(line.target);
    std::vector<std::string> types = line.types;
    if (types.empty())
        types.emplace_back("Quillscriber");
    // The instance owns the new handler, and hands back the one that was there for the type.
    for (const std::string& type : types)
        delete session.instance().changeHandler(new Listener(line, type, count));
    // Whoever reads the line below may ping this process at once.
    session.waitUntilReachable();
    std::fprintf(stderr, "listening as %s\n", session.name().c_str());
    const auto deadline = deadlineAfter(line.seconds);
    while (!hasPassed(deadline) && (!line.count || count < *line.count)) {
        if (Pt::wasInterrupted())
            return ExitCode::kInterrupted;
        // With a count, one message at a time: those beyond it have to stay unanswered.
        if (line.count)
            session.takeOne(deadline);
        else
            session.pumpOnce(deadline);
        if (std::ferror(stdout) != 0) // nobody reads any more
            return ExitCode::kPlaceUnusable;
    }
    return line.count && count < *line.count ? ExitCode::kPartly : ExitCode::kDone;
}

} // namespace tevorotalk
