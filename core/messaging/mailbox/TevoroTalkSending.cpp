// How a message leaves: to an instance in this process, to another process, or into the queue of
// those that wait for their target. Answers are made in TevoroTalkAnswers.cpp.
#include "messaging/Specifier.h"
#include "messaging/TevoroTalk.h"
#include "messaging/TevoroTalkContext.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/mailbox/PrivateData.h"
#include "messaging/process/TevoroTalkThread.h"
#include "platform/common/ports/PortWatch.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>

namespace ScObjects {

using namespace TevoroTalkData;
using TevoroTalkUtils::logMessage;

namespace {

using Message = TevoroTalk::Message;
using SteadyClock = std::chrono::steady_clock;

// The code that docs/bus.md gives for a send that fails.
constexpr long kSendFailed = 59;
constexpr std::chrono::milliseconds kPoll{100};
// An application may take that long to start before its name is held.
constexpr std::chrono::seconds kMaxLaunch{300};
constexpr std::int32_t kDefaultWatch = 60; // seconds
constexpr std::int32_t kMaxTimeout = std::numeric_limits<std::int32_t>::max();
// More seconds than this count as this many: points in time stay numbers.
constexpr unsigned long kMaxWait = 1'000'000'000;

bool asksFor(const Message& message, const char* word)
{
    return std::strstr(message.responseRequest, word) != nullptr;
}

// Nothing to run and no answer.
bool isEmptyRequest(const Message& message)
{
    return message.type == kQuillscriber && message.body.isEmpty()
        && message.received == QK_INVALID_MESSAGE_NUMBER
        && message.result == QK_INVALID_MESSAGE_NUMBER
        && message.error == QK_INVALID_MESSAGE_NUMBER;
}

// The queue refuses what has no target or no sender.
bool enqueue(MessageQueue& queue, Message* message)
{
    if (queue.append(message))
        return true;
    delete message;
    return false;
}

// The receipt of a message that does not leave the process.
Message* makeReceipt(const Message& message)
{
    auto* const receipt = new Message(message);
    if (receipt == nullptr)
        return nullptr;
    receipt->target = message.sender;
    receipt->sender = message.target;
    receipt->responseRequest = "";
    receipt->timeout = 0;
    receipt->type = QK_RECEIVED;
    receipt->received = receipt->serialNumber = message.serialNumber;
    return receipt;
}

// The message whose running out tells the sender that no answer has come.
Message* makeWatcher(const Message& message)
{
    auto* const watcher = new Message;
    if (watcher == nullptr)
        return nullptr;
    // From the sender to itself: when the watcher expires, the notice goes to the one who asked.
    watcher->target = message.sender;
    watcher->sender = message.sender;
    watcher->type = kIgnore;
    watcher->responseRequest = QK_TIMEOUT;
    // One second more than the receiver has: it compares whole seconds, and its own notice comes
    // first.
    watcher->timeout =
        message.timeout > 0 ? std::min(message.timeout, kMaxTimeout - 1) + 1 : kDefaultWatch;
    watcher->serialNumber = message.serialNumber;
    return watcher;
}

// The sender watches by itself; its notice is not for others.
bool isNoticeOfSender(const Message& message)
{
    return message.type == QK_TIMEOUT && message.target != message.sender
        && message.getUserHeaderValue(kTimeoutDetector) == "SENDER";
}

// An undeliverable message stays alive until 600 seconds after it was first queued; then its
// timeout is what lets it run out.
void restamp(Message& message)
{
    const std::int64_t now = TevoroTalkUtils::getTimeSeconds();
    std::int64_t stamp = std::strtoll(message.getUserHeaderValue(kQueueStamp), nullptr, 10);
    if (stamp <= 0 || stamp > now) { // none yet, or no time in which it was queued
        // The first time that it was queued; it travels with the message, as later attempts change
        // the timestamp.
        stamp = message.timestamp;
        message.setHeader(kQueueStamp, static_cast<long>(stamp));
    }
    // Still within its time: the new timestamp keeps its own timeout from counting while the target
    // is not there.
    if (stamp + kQueueLifetime > now) {
        message.timestamp = now;
        return;
    }
    message.timestamp = stamp;
    // A timeout of 0 would never expire.
    if (message.timeout == 0)
        message.timeout = 1;
    else if (message.timeout > kQueueLifetime - 1)
        message.timeout = kQueueLifetime - 1;
}

bool holds(const SoVector<SoString>& texts, const SoString& wanted)
{
    for (long i = 0; i < texts.length(); ++i)
        if (*texts[i] == wanted)
            return true;
    return false;
}

// What a message has from its way: number, sender, whole target, time.
void stamp(Message& message, const TevoroTalk::Specifier& target, const TevoroTalk& sender)
{
    TevoroTalkContext* const context = sender.getContext();
    // A caller that has installed handlers for the message has numbered it already.
    if (message.serialNumber == 0 && context != nullptr)
        message.serialNumber = context->getNextSerialNumber();
    if (message.sender.isEmpty())
        message.sender = sender.getAppName();
    message.target.assign(target.view());
    message.timestamp = TevoroTalkUtils::getTimeSeconds();
}

void askForProcessed(Message& message)
{
    if (message.type != kIgnore && message.type != kDebug && !asksFor(message, kProcessed))
        message.responseRequest << " " << kProcessed;
}

} // namespace

bool TevoroTalk::send(
    Message& message, bool launch, unsigned long waitSeconds, const SoString* launchOptions) const
{
    return sendFrom(message, launch, waitSeconds, launchOptions, Kind::kMessage);
}

bool TevoroTalk::sendCopy(Message& message) const
{
    return sendFrom(message, false, 0, nullptr, Kind::kCopy);
}

bool TevoroTalk::sendFrom(Message& message,
    bool launch,
    unsigned long waitSeconds,
    const SoString* launchOptions,
    Kind kind) const
{
    // An empty script is the probe whether somebody runs, and handlers never see it.
    if (isEmptyRequest(message))
        return false;
    const Specifier target(message.target, true);
    if (target.isEmpty())
        return sendError(message, "ERROR: INVALID SPECIFIER", kSendFailed, waitSeconds);
    if (isNoticeOfSender(message))
        return false;
    stamp(message, target, *this);
    // A handler of an answer's number is one of another message: numbers are each process's own.
    const bool isAwaited = !message.responseRequest.isEmpty()
        || (kind != Kind::kAnswer && m_data->findHandler("", message.serialNumber) != nullptr);
    if (isAwaited)
        askForProcessed(message);
    if (message.sender.isEmpty())
        return sendError(
            message, "ERROR: CAN'T STREAM MESSAGE TO STRING", kSendFailed, waitSeconds);
    // A target in this process first: it needs no port, and no text.
    bool delivered = deliverHere(message);
    if (!delivered) {
        const char* failure = nullptr;
        delivered = deliverThere(message, launch, launchOptions, kind, failure);
        if (failure != nullptr)
            return sendError(message, failure, kSendFailed, waitSeconds);
    }
    // Even for a message that waits for its target: its sender has asked how long.
    watchForTimeout(message);
    if (waitSeconds == 0)
        return delivered;
    if (!delivered)
        waitForTarget(message.target);
    return waitForResponse(message, waitSeconds);
}

// To an instance of this process: into its queue, without a text.
bool TevoroTalk::deliverHere(const Message& message) const
{
    const TevoroTalkContext* const context = getContext();
    const TevoroTalk* const instance =
        context != nullptr ? context->findInstance(message.target) : nullptr;
    if (instance == nullptr)
        return false;
    // The receipt goes in front of the message, as it does when it comes from another process.
    if (asksFor(message, QK_RECEIVED))
        enqueue(instance->m_data->incoming, makeReceipt(message));
    logMessage("RECEIVED", message, true);
    return enqueue(instance->m_data->incoming, new Message(message));
}

// To another process, or into the outgoing queue. With a failure the message is in neither.
bool TevoroTalk::deliverThere(const Message& message,
    bool launch,
    const SoString* launchOptions,
    Kind kind,
    const char*& failure) const
{
    // What waits for this target goes first.
    if (m_data->outgoing.findMessageForTarget(message.target) == nullptr
        && transmit(message, kind)) {
        logMessage("SEND", message, true);
        return true;
    }
    if (!launch) {
        failure = "ERROR: LAUNCHING IS SUPPRESSED";
        return false;
    }
    // Who holds the name and does not read is there, and is not started a second time; the test
    // would only wait for room once more.
    const bool isHeld =
        m_data->stream != nullptr && !m_data->stream->canOpen(message.target, false);
    if (!isHeld && !Specifier(message.target, false).isRunning()) {
        logMessage("TARGET IS NOT RUNNING", message, false);
        const char* const options = launchOptions != nullptr ? launchOptions->get() : "";
        if (!launchTarget(message.target, options, kTakeFocus, getContext())) {
            failure = "ERROR: TARGET COULD NOT BE LAUNCHED";
            return false;
        }
        logMessage("LAUNCHING TARGET", message, false);
    }
    logMessage("ENQUEUED OUTGOING MESSAGE", message, true);
    m_data->queueOutgoing(new Message(message));
    return false;
}

bool TevoroTalk::isOnBusThread() const
{
    const TevoroTalkContext* const context = getContext();
    return context != nullptr && context->getThread() != nullptr
        && context->getThread()->isCurrent();
}

// The text of a message, to its target. The thread of the bus waits for nobody, as questions of
// other processes wait for it.
bool TevoroTalk::transmit(const Message& message, Kind kind) const
{
    const InterAppStream* const stream = m_data->stream;
    SoString head;
    if (stream == nullptr || !message.writeHeadToString(head))
        return false;
    const bool mayWait = !isOnBusThread();
    // The body, which may be large, goes as it lies there.
    const auto sendUnlessSilent = [&](std::chrono::milliseconds patience) {
        return stream->sendUnlessSilent(patience, message.target, head, message.body);
    };
    switch (kind) {
    case Kind::kMessage:
        // A notice that an answer has not come is an answer itself.
        if (message.type == QK_TIMEOUT)
            break;
        return stream->sendWithin(
            mayWait ? kSendPatience : kBriefPatience, message.target, head, message.body);
    case Kind::kRetry:
        return sendUnlessSilent(mayWait ? kSendPatience : std::chrono::milliseconds(0));
    case Kind::kCopy:
        return sendUnlessSilent(kBriefPatience);
    case Kind::kAnswer:
        break;
    }
    return m_data->sendAnswer(message, head, mayWait);
}

void TevoroTalk::watchForTimeout(const Message& message) const
{
    if (!asksFor(message, QK_TIMEOUT) || message.getUserHeaderValue(kTimeoutDetector) == "TARGET")
        return;
    enqueue(m_data->incoming, makeWatcher(message));
}

void TevoroTalk::waitForTarget(const SoString& target) const
{
    const auto deadline = SteadyClock::now() + kMaxLaunch;
    // Not by the instance's own wait, which ends for messages that nobody takes meanwhile.
    const Pt::PortWatch watch;
    while (!Specifier(target, false).isRunning() && SteadyClock::now() < deadline
        && TevoroTalkUtils::waitsForOthers()) {
        watch.wait(kPoll);
        watch.clear();
    }
}

bool TevoroTalk::waitForResponse(const Message& message, unsigned long seconds) const
{
    if (seconds == 0)
        return false;
    using std::chrono::milliseconds;
    const auto deadline = SteadyClock::now() + std::chrono::seconds(std::min(seconds, kMaxWait));
    TevoroTalkContext* const context = getContext();
    for (auto now = SteadyClock::now(); now < deadline; now = SteadyClock::now()) {
        pump(kBoth, context);
        // The completion, an error or a time-out has removed the handlers of this number: the
        // exchange is over.
        if (m_data->findHandler("", message.serialNumber) == nullptr)
            return true;
        if (!TevoroTalkUtils::waitsForOthers())
            return false;
        // Short waits, as another thread may pump and take what would end this one.
        const auto pause = std::min(std::chrono::ceil<milliseconds>(deadline - now), kPoll);
        if (context != nullptr)
            m_data->waitForMessage(pause);
        else // nothing takes in what arrives
            TevoroTalkUtils::sleep(static_cast<unsigned int>(pause.count()));
    }
    return false;
}

bool TevoroTalk::processOutgoingMessage()
{
    // Targets that failed in this pass: what else waits for them would fail, too.
    SoVector<SoString> failedTargets;
    const auto attempt = [&](const Message& message) {
        // A later message does not overtake an earlier one.
        const bool isHeldUp = holds(failedTargets, message.target);
        if (m_data->stream == nullptr || message.target.isEmpty() || message.sender.isEmpty())
            return true; // it can never be sent
        if (!isHeldUp && transmit(message, Kind::kRetry)) {
            logMessage("SEND ENQUEUED MESSAGE", message, true);
            return true;
        }
        if (!isHeldUp)
            failedTargets.append(new SoString(message.target));
        logMessage("REQUEUED MESSAGE ", message, true);
        return false;
    };
    // Before the attempts: a port that comes up meanwhile is reason for others.
    m_data->awaitNextPort();
    if (!m_data->outgoing.isEmpty())
        m_data->outgoing.workOff(attempt, restamp);
    while (const SoString* const target = failedTargets.removeAt(0))
        delete target;
    return false;
}

} // namespace ScObjects
