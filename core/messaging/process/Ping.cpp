// One question and its answer, without a queue in between; and the cheap tests whether somebody
// runs. Both go over the process's own stream.
#include "messaging/Message.h"
#include "messaging/Specifier.h"
#include "messaging/TevoroTalkContext.h"
#include "messaging/TevoroTalkPing.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/mailbox/InterAppStream.h"
#include "messaging/process/Launcher.h"
#include "messaging/process/RunningState.h"
#include "messaging/process/TevoroTalkSetupThread.h"
#include "messaging/process/TevoroTalkThread.h"
#include "messaging/runtime/OutOfMemory.h"
#include "platform/common/ports/LocalPort.h"
#include "platform/common/ports/Waiting.h"
#include "registry/TevoroTalkConnector.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <initializer_list>
#include <mutex>
#include <optional>
#include <system_error>
#include <utility>

namespace ScObjects {

namespace {

using Message = TevoroTalk::Message;
using Specifier = TevoroTalk::Specifier;
using Words = TevoroTalkThread;
using SteadyClock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr const char* kAllRunningApps = "allRunningApps";
constexpr int kMaxSenderNames = 10;
constexpr milliseconds kRetry{10};

// Answers are told apart only by when they come: one question at a time.
constinit std::mutex gPingLock;

bool isOneOf(const SoString& word, std::initializer_list<const char*> words)
{
    return std::any_of(words.begin(), words.end(), [&](const char* w) { return word == w; });
}

bool takeAnswer(InterAppStream& stream)
{
    return stream.messagePending() && stream.receive();
}

// Answers to questions that were given up: what was there when this began. Whoever goes on writing
// to the port does not hold a question up.
void dropLateAnswers(InterAppStream& stream)
{
    const auto deadline = SteadyClock::now() + kRetry;
    for (bool more = stream.messagePending(); more;) {
        while (stream.hasUnreadTexts() && stream.receive())
            stream.getMessages();
        more = stream.hasMore() && SteadyClock::now() < deadline && stream.messagePending();
    }
    stream.getMessages();
}

// Waits for the stream; for a moment where there is no descriptor left to wait with.
class AnswerWait {
public:
    explicit AnswerWait(const InterAppStream& stream)
    {
        try {
            m_ports.emplace();
            m_ports->add(stream.waitDescriptor());
        } catch (const std::system_error&) {
            m_ports.reset();
        }
    }

    void wait(milliseconds limit) const
    {
        if (m_ports)
            m_ports->wait(limit);
        else
            TevoroTalkUtils::sleep(static_cast<unsigned int>(std::min(limit, kRetry).count()));
    }

private:
    std::optional<Pt::DescriptorSet> m_ports;
};

// What the process that was asked says; nothing when no text of its own is there. Serial numbers
// say nothing about answers, and a sender may leave its name out.
std::optional<SoString> answerFrom(
    const SoString& asked, InterAppStream& stream, SteadyClock::time_point deadline)
{
    // At least one look; not for ever, when others keep writing.
    for (bool isFirst = true; takeAnswer(stream); isFirst = false) {
        if (!isFirst && SteadyClock::now() >= deadline + kRetry)
            break;
        // Without memory for the text the stream stays empty.
        SoString text = stream.getMessages();
        const bool isEmpty = text.isEmpty();
        Message message;
        message.readFrom(text, 0);
        if (!message.isWhole()) {
            tellOutOfMemory(message.contentLength);
            continue;
        }
        if (message.type == TevoroTalkData::kIgnore)
            return SoString(); // the process itself gives the question up
        if (isEmpty || (!message.sender.isEmpty() && message.sender != asked))
            continue; // a late answer of somebody else
        // Question and answer stand in the same header.
        const SoString answer = message.getUserHeaderValue(Words::QK_ECHO_REQUEST);
        if (answer == Words::QK_SEEBODY)
            return std::move(message.body);
        return answer;
    }
    return std::nullopt;
}

SoString waitForAnswer(
    const SoString& asked, InterAppStream& stream, SteadyClock::time_point deadline)
{
    const AnswerWait arrival(stream);
    for (auto now = SteadyClock::now(); now < deadline; now = SteadyClock::now()) {
        // Rounded up: rounded down, the last fraction of a millisecond would be spent in a loop
        // without any waiting.
        arrival.wait(std::chrono::ceil<milliseconds>(deadline - now));
        if (const std::optional<SoString> answer = answerFrom(asked, stream, deadline))
            return *answer;
    }
    // Once more after the deadline, which sending may have used up.
    return answerFrom(asked, stream, deadline).value_or(TevoroTalkData::QK_TIMEOUT);
}

// Within the question's own time, and no longer than any other send.
bool sendQuestion(const InterAppStream& stream,
    const Message& message,
    const SoString& head,
    SteadyClock::time_point deadline)
{
    if (message.timeout <= 0)
        return stream.send(message.target, head, message.body);
    for (;;) {
        const auto left = std::chrono::ceil<milliseconds>(deadline - SteadyClock::now());
        const auto patience = std::clamp(left, milliseconds(0), kSendPatience);
        if (stream.sendWithin(patience, message.target, head, message.body))
            return true;
        if (SteadyClock::now() >= deadline || !Pt::waitsForOthers())
            return false;
        TevoroTalkUtils::sleep(static_cast<unsigned int>(kRetry.count()));
    }
}

SoString pingMsg(const Message& message, InterAppStream& stream)
{
    // The question would arrive at the port that waits for the answer.
    if (message.sender == message.target)
        return Words::QK_UNDEFINED;
    // The body, which may be large, goes as it lies there.
    SoString head;
    if (!message.writeHeadToString(head))
        return Words::QK_MSGTOSTRINGERROR;
    // Asked before sending, so that "nobody there" is told from "does not answer" without waiting.
    if (stream.canOpen(message.target, stream.usesNX2Name())) {
        Specifier owner(message.target, true);
        owner.setSuffix("");
        return owner.isInstalled() ? Words::QK_ISNOTRUNNING : Words::QK_ISNOTINSTALLED;
    }
    // Not before the cheap tests above: a question that waits holds this for its whole timeout.
    const std::lock_guard lock(gPingLock);
    dropLateAnswers(stream);
    const auto deadline = SteadyClock::now() + std::chrono::seconds(message.timeout);
    if (!sendQuestion(stream, message, head, deadline))
        return Words::QK_UNDEFINED;
    return message.timeout > 0 ? waitForAnswer(message.target, stream, deadline)
                               : SoString(Words::QK_NOERROR);
}

SoString withSuffix(const SoString& name, const SoString& suffix)
{
    SoString result(name);
    result << "#" << suffix;
    return result;
}

// A sender's name that nobody holds, so that no real port gets an answer.
SoString unusedSender(const InterAppStream& stream, const SoString& self, const char* type)
{
    SoString sender = withSuffix(self, type);
    for (int i = 0; i < kMaxSenderNames && !stream.canOpen(sender, false); ++i) {
        SoString numbered(self);
        numbered << "_" << static_cast<std::uint32_t>(std::rand());
        sender = withSuffix(numbered, type);
    }
    return sender;
}

// Whether a port has an owner who takes a message.
bool testTarget(const SoString& self,
    const SoString& port,
    const char* type,
    std::uint32_t serial,
    milliseconds patience)
{
    // Whoever asks is there, and must not be sent a message.
    if (self == port)
        return true;
    const InterAppStream* const stream = InterAppStream::get();
    if (stream == nullptr || stream->canOpen(port, false))
        return false;
    Message message;
    message.sender = unusedSender(*stream, self, type);
    message.target = port;
    message.type = type;
    message.serialNumber = serial;
    return stream->sendMessageUnlessSilent(patience, message);
}

bool launchedProcessRuns(const SoString& specifier)
{
    // Asking for the context would wait for the end of the set-up.
    const TevoroTalkContext* const context =
        TevoroTalkSetupThread::isSetupThreadRunning() ? nullptr : TevoroTalk::getSharedContext();
    TevoroTalkConnector* const connector = context != nullptr ? context->getConnector() : nullptr;
    return connector != nullptr
        && TevoroTalkUtils::Launcher::isProcessRunning(connector->getProcessID(specifier));
}

} // namespace

SoString TevoroTalkUtils::ping(const SoString& target,
    bool isRequest,
    const SoString& command,
    std::uint32_t serial,
    std::int32_t timeout,
    const SoString* body,
    int* answered)
{
    if (answered != nullptr)
        *answered = 0;
    SoString result;
    InterAppStream* const stream = InterAppStream::get();
    if (stream == nullptr || !stream->isGood())
        return result;
    Message message;
    message.sender = stream->getSpecifier();
    message.type = Words::QK_PINGTYPE;
    message.serialNumber = serial;
    message.timeout = timeout;
    message.setHeader(isRequest ? Words::QK_ECHO_REQUEST : Words::QK_ECHO_RESPONSE,
        command.isEmpty() ? Words::QK_ECHO_REQUEST : command.get());
    if (body != nullptr)
        message.body = *body;
    const bool asksAll = target == kAllRunningApps;
    const int count = asksAll ? TevoroTalk::getNumberOfRegisteredApplications() : 1;
    for (int i = 0; i < count; ++i) {
        message.target =
            Words::createThreadSpecifier(asksAll ? TevoroTalk::getApplicationSpecifier(i) : target);
        result =
            message.target.isEmpty() ? SoString(Words::QK_INVALIDSPEC) : pingMsg(message, *stream);
        if (answered != nullptr
            && !isOneOf(result,
                {Words::QK_UNDEFINED,
                    Words::QK_ISNOTINSTALLED,
                    Words::QK_ISNOTRUNNING,
                    Words::QK_MSGTOSTRINGERROR}))
            ++*answered;
    }
    return result;
}

bool TevoroTalkData::isRunningWithin(std::chrono::milliseconds patience, const Specifier& specifier)
{
    if (specifier.isEmpty())
        return false;
    SoString self;
    std::uint32_t serial = 0;
    if (!TevoroTalkSetupThread::isSetupThreadRunning()) {
        if (TevoroTalkContext* const context = TevoroTalk::getSharedContext()) {
            self = context->getAppSpecifier();
            serial = context->getNextSerialNumber();
        } else {
            // Without a context there is no name; the time makes one that nobody holds.
            self << "Unknown" << TevoroTalkUtils::getUTCTimeMilliSeconds();
        }
    }
    if (self == specifier)
        return true;
    const auto takes = [&](const SoString& port, const char* type) {
        return testTarget(self, port, type, serial, patience);
    };
    // An application is running if its bus thread is, also when it does not pump. An address with a
    // suffix means just that port.
    if (specifier.suffix().isEmpty()
        && (launchedProcessRuns(specifier)
            || takes(Words::createThreadSpecifier(specifier), Words::QK_PINGTYPE)))
        return true;
    return takes(specifier, TevoroTalkData::kQuillscriber);
}

bool TevoroTalk::Specifier::isRunning() const
{
    // The thread of the bus waits for nobody for long.
    const TevoroTalkThread* const thread =
        TevoroTalkSetupThread::isSetupThreadRunning() ? nullptr : TevoroTalkThread::getMainThread();
    const bool mayWait = thread == nullptr || !thread->isCurrent();
    return TevoroTalkData::isRunningWithin(mayWait ? kSendPatience : kBriefPatience, *this);
}

bool TevoroTalk::Specifier::isBusy() const
{
    constexpr std::int32_t kSeconds = 1;
    const InterAppStream* const stream = InterAppStream::get();
    if (isEmpty() || stream == nullptr || !stream->isGood())
        return false;
    return TevoroTalkUtils::ping(*this,
               true,
               Words::QK_STATUS,
               static_cast<std::uint32_t>(std::rand()),
               kSeconds,
               nullptr,
               nullptr)
        == Words::QK_BUSY;
}

SoString TevoroTalk::Specifier::status() const
{
    constexpr std::int32_t kSeconds = 2;
    return Thread::ping(get(), "STATUS", kSeconds, nullptr);
}

} // namespace ScObjects
