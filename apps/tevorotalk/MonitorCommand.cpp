#include "commandline/JsonLine.h"
#include "messaging/Message.h"
#include "messaging/TevoroTalkPing.h"
#include "platform/common/ports/LocalPort.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "tevorotalk/BusSession.h"
#include "tevorotalk/Commands.h"
#include "tevorotalk/InfoLines.h"
#include "tevorotalk/MessagePrinter.h"

#include <algorithm>
#include <cstdio>
#include <map>

namespace tevorotalk {

using ScObjects::SoString;
using ScObjects::TevoroTalk;

namespace {

// Seconds, for the target to take the subscription, and to say whose it is at the end.
constexpr std::int32_t kLimit = 5;
constexpr std::int32_t kEndLimit = 1;
constexpr std::chrono::seconds kLookAgain{1};

// "EVENT SENDER -> TARGET TYPE #SERIAL: FIRST LINE"
std::string summaryOf(const TevoroTalk::Message& message)
{
    std::map<std::string, std::string> fields;
    std::string event;
    forEachInfoLine(message.body.view(), [&](const InfoLine& line) {
        const std::string label(line.label.view());
        const std::string value(line.value.view());
        if (label.starts_with("msg["))
            event = value; // the last such line says what happened
        else
            fields[label] = value;
    });
    return event + " " + fields["Sender"] + " -> " + fields["Target"] + " " + fields["Type"] + " #"
        + fields["Serial-Number"] + ": " + fields["Text"];
}

class ForwardHandler final : public TevoroTalk::MsgHandler {
public:
    explicit ForwardHandler(bool json)
        : m_json(json)
    {
    }

    long handleMessage(int reason, TevoroTalk::Message& message, SoString*) override
    {
        if (m_json) {
            printMessage(message, reason, true);
        } else {
            commandline::printLine(Pt::terminalText(summaryOf(message)));
            std::fflush(stdout);
        }
        return 0;
    }
    const char* getMsgType() const override { return "Debug"; }

private:
    bool m_json;
};

// What is left of the command's own time, but at least one second: a question that may take none is
// not answered.
std::int32_t limitBefore(std::optional<SteadyTime> deadline)
{
    if (!deadline)
        return kLimit;
    const auto left =
        std::chrono::ceil<std::chrono::seconds>(*deadline - std::chrono::steady_clock::now());
    return static_cast<std::int32_t>(
        std::clamp(left, std::chrono::seconds(1), std::chrono::seconds(kLimit)).count());
}

// For as long as it lives, copies of what passes through the target come to this process.
class Subscription {
public:
    Subscription(const BusSession& session,
        const std::string& target,
        const char* key,
        std::optional<SteadyTime> deadline)
        : m_target(target)
        , m_key(key)
        , m_subscriber(session.name())
    {
        const SoString answer =
            session.ask(m_target, m_key + "=" + m_subscriber, limitBefore(deadline));
        // A subscription is confirmed by the name of the new subscriber.
        if (answer == m_subscriber.c_str())
            return;
        throw CommandError(exitCodeForAnswer(answer) == ExitCode::kNotThere ? ExitCode::kNotThere
                                                                            : ExitCode::kPartly,
            "'" + target + "' cannot be monitored: " + std::string(answer.view()));
    }
    ~Subscription()
    {
        // Another monitor may have taken its place. Nobody answers the second question, so nobody
        // waits for an answer.
        if (ask(m_key, kEndLimit) == m_subscriber.c_str())
            ask(m_key + "=", 0);
    }
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;

private:
    // Also after an interrupt.
    SoString ask(const std::string& command, std::int32_t limit) const
    {
        return TevoroTalk::Thread::ping(m_target.c_str(), command.c_str(), limit, nullptr);
    }

    std::string m_target;
    std::string m_key;
    std::string m_subscriber;
};

} // namespace

ExitCode runMonitor(const CommandLine& line)
{
    const auto deadline = deadlineAfter(line.seconds);
    BusSession session(ownName());
    // Before the subscription: copies come as soon as the target has answered.
    delete session.instance().changeHandler(new ForwardHandler(line.json));
    // After the session, so that they end while the bus can still be used.
    std::optional<Subscription> messages;
    std::optional<Subscription> logs;
    if (line.messages || !line.logs)
        messages.emplace(session, line.target, "FWDMESSAGES", deadline);
    if (line.logs)
        logs.emplace(session, line.target, "FWDLOGS", deadline);
    std::fprintf(stderr, "monitoring %s\n", Pt::terminalText(line.target).c_str());
    auto lookAgain = std::chrono::steady_clock::now() + kLookAgain;
    while (!hasPassed(deadline)) {
        if (Pt::wasInterrupted())
            return ExitCode::kInterrupted;
        session.pumpOnce(deadline);
        if (std::ferror(stdout) != 0) // nobody reads any more
            return ExitCode::kPlaceUnusable;
        if (!hasPassed(lookAgain))
            continue;
        // An application that ends tells nobody; its port is all that can be looked at.
        if (isPortFree(line.target, "thread"))
            throw CommandError(ExitCode::kPartly, "'" + line.target + "' has ended");
        lookAgain = std::chrono::steady_clock::now() + kLookAgain;
    }
    return ExitCode::kDone;
}

} // namespace tevorotalk
