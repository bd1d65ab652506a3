#include "commandline/Output.h"
#include "messaging/BusWords.h"
#include "messaging/Message.h"
#include "messaging/Specifier.h"
#include "messaging/TevoroTalkContext.h"
#include "platform/common/ports/LocalPort.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "tevorotalk/BusSession.h"
#include "tevorotalk/Commands.h"
#include "tevorotalk/LaunchedTarget.h"
#include "tevorotalk/MessagePrinter.h"

#include <array>
#include <cstdio>
#include <iostream>

namespace tevorotalk {

using ScObjects::SoString;
using ScObjects::TevoroTalk;

namespace {

// As long as the bus itself waits for an answer when nobody says how long.
constexpr unsigned long kDefaultWait = 60; // seconds

// What came back for the message.
struct Answers {
    bool hasResult = false;
    bool hasFailed = false;
};

// What the bus itself answers to a message whose digest does not match.
constexpr const char* kRejected = "53";

std::string failureText(int reason, const TevoroTalk::Message& message)
{
    if (reason == TevoroTalk::MsgHandler::kTimeout)
        return "the message timed out";
    std::string text = "the target answers with an error: " + std::string(message.body.view());
    if (message.getUserHeaderValue("Error-Code") == kRejected)
        text += " (error 53). Probably it has another salt for digests: both have to have the same"
                " home folder, with a file .velmo/md5 in it that they can read, or a place for it";
    return text;
}

// Takes the answers of one type to one message.
class AnswerHandler final : public TevoroTalk::MsgHandler {
public:
    AnswerHandler(const char* type, std::uint32_t serial, bool json, Answers& answers)
        : m_type(type)
        , m_serial(serial)
        , m_json(json)
        , m_answers(answers)
    {
    }

    long handleMessage(int reason, TevoroTalk::Message& message, SoString*) override
    {
        const bool isError = reason == kError || reason == kTimeout;
        if (m_json)
            printMessage(message, reason, true);
        else if (reason == kResult)
            commandline::printLine(std::string(message.body.view()));
        else if (isError)
            commandline::printMessage("tevorotalk", failureText(reason, message));
        m_answers.hasResult |= reason == kResult;
        m_answers.hasFailed |= isError;
        return 0;
    }
    const char* getMsgType() const override { return m_type.c_str(); }
    std::uint32_t getSerialNumber() const override { return m_serial; }

private:
    std::string m_type;
    std::uint32_t m_serial;
    bool m_json;
    Answers& m_answers;
};

bool asksFor(const std::string& request, const char* word)
{
    return request.find(word) != std::string::npos;
}

std::string requestOf(const CommandLine& line)
{
    std::string request = line.request;
    if (!line.wait)
        return request;
    // A failure is an answer as well: without it, the wait would go on to its end.
    for (const char* word : {"Result", "Error"})
        if (!asksFor(request, word))
            request += (request.empty() ? "" : " ") + std::string(word);
    return request;
}

void setHeaders(TevoroTalk::Message& message, const CommandLine& line)
{
    for (const std::string& header : line.headers) {
        const std::size_t mark = header.find('=');
        if (mark == std::string::npos || mark == 0 || header.find('\n') != std::string::npos
            || header.find(':') < mark)
            throw CommandError(ExitCode::kUsage,
                "'" + header
                    + "' is no header; write NAME=VALUE, without a colon in the name and without "
                      "line feeds");
        message.setHeader(header.substr(0, mark).c_str(), header.substr(mark + 1).c_str());
    }
}

std::string bodyOf(const CommandLine& line)
{
    if (line.text != "-")
        return line.text;
    std::string body;
    std::array<char, std::size_t{64} * 1024> piece{};
    while (!Pt::wasInterrupted() && body.size() <= Pt::LocalPort::kMaxText
        && std::cin.read(piece.data(), piece.size()).gcount() > 0)
        body.append(piece.data(), static_cast<std::size_t>(std::cin.gcount()));
    if (body.size() > Pt::LocalPort::kMaxText)
        throw CommandError(ExitCode::kUsage, "the text is longer than 256 MiB");
    // Half a body is none.
    if (Pt::wasInterrupted())
        throw Interrupted();
    if (std::ferror(stdin) != 0)
        throw CommandError(ExitCode::kPlaceUnusable, "standard input cannot be read");
    // The wire ends at a NUL or changes it; either way the receiver would get something else.
    if (body.find('\0') != std::string::npos)
        throw CommandError(
            ExitCode::kUsage, "the text has NUL bytes, which do not go over the bus; encode it");
    return body;
}

void requireName(const std::string& target)
{
    if (TevoroTalk::Specifier(target.c_str(), false).isEmpty())
        throw CommandError(ExitCode::kUsage, "'" + target + "' is no name on the bus");
}

void requireOneLineEach(const CommandLine& line)
{
    requireOneLine(line.target);
    requireOneLine(line.sender);
    requireOneLine(line.request);
    for (const std::string& type : line.types)
        requireOneLine(type);
}

void fill(TevoroTalk::Message& message, const CommandLine& line)
{
    requireOneLineEach(line);
    requireName(line.target);
    message.target = line.target.c_str();
    message.body = SoString(std::string_view(bodyOf(line)));
    message.responseRequest = requestOf(line).c_str();
    if (!line.types.empty())
        message.type = line.types.front().c_str();
    if (line.wait)
        // The wire has whole seconds, rounded down: a message that is written late in a second
        // would have one less.
        message.timeout = static_cast<std::int32_t>(*line.wait) + 1;
    setHeaders(message, line);
    if (message.type == "Quillscriber" && message.body.isEmpty())
        throw CommandError(
            ExitCode::kUsage, "a message without a text does not go out; give a TEXT or a --type");
}

void awaitAnswers(
    TevoroTalk& instance, const TevoroTalk::Message& message, bool json, Answers& answers)
{
    // Before the message goes out: send looks for handlers of its number, and asks for "Processed"
    // if there are any.
    for (const char* type : {"Received", "Result", "Error", "Timeout"})
        delete instance.changeHandler(new AnswerHandler(type, message.serialNumber, json, answers));
}

CommandError notStarted(const CommandLine& line, const std::string& path)
{
    if (isWebAddress(path))
        return {ExitCode::kSystemPart,
            "'" + line.target + "' stands for " + path + ", which xdg-open cannot open"};
    const std::string why = whyNotStartable(path);
    return {ExitCode::kNotThere,
        "'" + line.target + "' does not run and cannot be started from " + path
            + (why.empty() ? "" : ": " + why)};
}

// Who holds the name is not asked: if it is silent, that takes long.
bool isRunning(const SoString& target)
{
    return !isPortFree(target.get(), "") || TevoroTalk::Specifier(target, false).isRunning();
}

// Why a message did not go out.
CommandError undeliverable(const CommandLine& line, const TevoroTalk::Message& message)
{
    if (isRunning(message.target))
        return {ExitCode::kPartly, "'" + line.target + "' runs and does not take messages"};
    if (!line.launch)
        return {ExitCode::kNotThere,
            "'" + line.target + "' does not run; --launch starts it if it is installed"};
    const std::string path = installedPath(message.target);
    if (!path.empty())
        return notStarted(line, path);
    return {ExitCode::kNotThere,
        "'" + line.target + "' does not run and cannot be started: "
            + (hasRegistry() ? "it is not installed" : kNoRegistry)};
}

// The completion takes away the handlers of its message; answers come before it.
bool isOver(TevoroTalk& instance, const TevoroTalk::Message& message)
{
    return instance.findHandler("", message.serialNumber) == nullptr;
}

ExitCode waitForAnswers(BusSession& session,
    const CommandLine& line,
    const TevoroTalk::Message& message,
    const Answers& answers,
    LaunchedTarget& target)
{
    const unsigned long seconds = line.wait.value_or(kDefaultWait);
    const auto deadline = deadlineAfter(seconds);
    while (!answers.hasResult && !answers.hasFailed && !hasPassed(deadline)) {
        if (Pt::wasInterrupted())
            return ExitCode::kInterrupted;
        if (isOver(session.instance(), message))
            throw CommandError(ExitCode::kPartly,
                "'" + line.target + "' has no handler for messages of the type "
                    + std::string(message.type.view()) + ": it answers nothing");
        if (target.isGone())
            throw CommandError(
                ExitCode::kPartly, "no answer from '" + line.target + "'" + target.state());
        session.pumpOnce(deadline);
    }
    if (answers.hasFailed)
        return ExitCode::kPartly;
    if (answers.hasResult)
        return ExitCode::kDone;
    throw CommandError(ExitCode::kPartly,
        "no answer from '" + line.target + "' within " + std::to_string(seconds) + " seconds"
            + target.state());
}

// A queued message leaves with the process, and so do the parameters of a target that is being
// started: it stays until the target has come up, which is after it has taken them.
ExitCode waitForDelivery(BusSession& session,
    const CommandLine& line,
    const TevoroTalk::Message& message,
    LaunchedTarget& target)
{
    const auto expiry = deadlineAfter(ScObjects::TevoroTalkData::kQueueLifetime);
    while (session.instance().outgoingMessagePending(message.target)) {
        if (Pt::wasInterrupted())
            return ExitCode::kInterrupted;
        if (target.isGone())
            throw CommandError(ExitCode::kPartly,
                "'" + line.target + "' has not taken the message and its parameters"
                    + target.state());
        session.pumpOnce(std::nullopt);
    }
    if (hasPassed(expiry)) // the queue has dropped it
        throw CommandError(ExitCode::kPartly,
            "'" + line.target + "' has not taken the message in ten minutes" + target.state());
    return ExitCode::kDone;
}

} // namespace

ExitCode runSend(const CommandLine& line)
{
    TevoroTalk::Message message;
    fill(message, line);
    Answers answers; // outlives the handlers
    BusSession session(line.sender.empty() ? ownName() : line.sender);
    TevoroTalk& instance = session.instance();
    message.serialNumber = TevoroTalk::Message::getNextSerialNumber(nullptr);
    const bool waits = line.wait || asksFor(line.request, "Result");
    if (waits) {
        awaitAnswers(instance, message, line.json, answers);
        // Whoever rejects the message has another salt, and says so with a digest that is wrong to
        // us. Answers need none, so this lets nobody in.
        TevoroTalk::Message::setAuthentication(false);
    }
    const bool isDelivered = instance.send(message, line.launch, 0, nullptr);
    if (!isDelivered && Pt::wasInterrupted())
        return ExitCode::kInterrupted;
    // Parameters may be left in the queue for a target that could not be started.
    if (!isDelivered && !instance.outgoingMessagePending(message.target))
        throw undeliverable(line, message);
    LaunchedTarget target(message.target);
    if (!isDelivered && isWebAddress(target.path()))
        throw CommandError(ExitCode::kPartly,
            "'" + line.target + "' stands for " + target.path()
                + ", which was opened and takes no messages");
    if (!isDelivered && target.hasFailedToStart())
        throw notStarted(line, target.path());
    return waits ? waitForAnswers(session, line, message, answers, target)
                 : waitForDelivery(session, line, message, target);
}

} // namespace tevorotalk
