// How a message comes in: from the port into the queue, from the queue to its handler, and what its
// sender is told.
#include "messaging/TevoroTalk.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/mailbox/PrivateData.h"
#include "messaging/runtime/OutOfMemory.h"
#include "messaging/wire/Forwarding.h"

#include <chrono>
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>

namespace ScObjects {

using namespace TevoroTalkData;
using TevoroTalkUtils::logMessage;

namespace {

using Message = TevoroTalk::Message;
using MsgHandler = TevoroTalk::MsgHandler;

// The code that docs/bus.md gives for a wrong digest.
constexpr long kRejected = 53;

// Of one pump, at a port whose texts are large, or hold nothing for anybody.
constexpr int kMaxLooks = 64;

bool isValid(std::uint32_t number)
{
    return number != QK_INVALID_MESSAGE_NUMBER;
}

int getReason(const Message& message)
{
    const bool isScript = message.type == kQuillscriber || message.type == kDebug;
    if (message.type == QK_RECEIVED || (isScript && isValid(message.received)))
        return MsgHandler::kReceived;
    if (message.type == QK_RESULT || (isScript && isValid(message.result)))
        return MsgHandler::kResult;
    if (message.type == QK_ERROR || (isScript && isValid(message.error)))
        return MsgHandler::kError;
    if (isScript)
        return MsgHandler::kRequest;
    if (message.type == QK_TIMEOUT)
        return MsgHandler::kTimeout;
    if (message.type == kLog)
        return MsgHandler::kLog;
    return message.type == kIdleType ? MsgHandler::kIdle : MsgHandler::kOther;
}

bool hasAnswerNumber(const Message& message)
{
    return isValid(message.received) || isValid(message.result) || isValid(message.error);
}

// Handlers see all answers as messages of the script type, told apart by the reason.
void turnAnswerIntoScript(Message& message)
{
    if (message.type == QK_RECEIVED)
        message.received = MsgHandler::kReceived;
    else if (message.type == QK_RESULT)
        message.result = MsgHandler::kResult;
    else if (message.type == QK_ERROR)
        message.error = MsgHandler::kError;
    else
        return;
    message.type = kQuillscriber;
}

// What a handler said of a message.
struct Outcome {
    bool wasHandled = false;
    long code = 0;
    SoString text;
};

Outcome callOne(TevoroTalk& instance, MsgHandler& handler, const Message& message, Message& copy)
{
    turnAnswerIntoScript(copy);
    // Noted before the call, in which the handler may remove itself.
    const SoString handlerType = handler.getMsgType();
    const std::uint32_t handlerNumber = handler.getSerialNumber();
    Outcome outcome;
    outcome.wasHandled = true;
    outcome.code = callHandler(handler, getReason(message), copy, &outcome.text);
    // A handler for one message does not outlive it.
    if (isValid(message.serialNumber) && message.serialNumber == handlerNumber)
        delete instance.removeHandler(handlerType, handlerNumber);
    return outcome;
}

// A message whose type is a key of the forwarding goes to that subscriber, which a ping may replace
// meanwhile. The lock ends before answers are sent, and is not held for anybody else's handler:
// that one may need the thread of the bus, which may be waiting for this lock.
Outcome callSubscriber(TevoroTalk& instance, const Message& message, Message& copy)
{
    const std::lock_guard lock(forwardingLock());
    MsgHandler* const handler = instance.findHandler(copy.type, copy.serialNumber);
    return handler != nullptr ? callOne(instance, *handler, message, copy) : Outcome();
}

Outcome callHandlerFor(TevoroTalk& instance, const Message& message, Message& copy)
{
    MsgHandler* handler = nullptr;
    if (isForwardingKey(copy.type.view())) {
        Outcome outcome = callSubscriber(instance, message, copy);
        if (outcome.wasHandled)
            return outcome;
    } else {
        handler = instance.findHandler(copy.type, copy.serialNumber);
    }
    // The handler for scripts takes what nobody else does.
    if (handler == nullptr)
        handler = instance.findHandler(kQuillscriber, QK_INVALID_MESSAGE_NUMBER);
    return handler != nullptr ? callOne(instance, *handler, message, copy) : Outcome();
}

} // namespace

// Of one pump. Others, and the thread of the bus for them, go on putting in what arrives, which
// may be more than the handlers work off: beyond what was there at its start, a pump takes a
// second.
class TevoroTalk::PumpLimit {
public:
    // Counts once; the first look says what was there.
    void begin(long there)
    {
        if (m_left < 0)
            m_left = there;
    }
    void count()
    {
        if (m_left > 0)
            --m_left;
    }
    bool isOver() const { return m_left == 0 && SteadyClock::now() >= m_end; }

private:
    using SteadyClock = std::chrono::steady_clock;

    long m_left = -1; // of what was there; unknown at first
    const SteadyClock::time_point m_end = SteadyClock::now() + std::chrono::seconds(1);
};

bool TevoroTalk::processIncomingMessage(std::uint32_t serialNumber, bool dispatch)
{
    MessageQueue& incoming = m_data->incoming;
    m_data->retryLateAnswers();
    // Here as well, for those who never try the outgoing queue: their waits would not end.
    m_data->awaitNextPort();
    incoming.removeExpiredMessages();
    // A message that is put in and taken out at once would raise and lower the flag, which costs
    // two calls of the system.
    std::optional<MessageQueue::PausedSignals> paused;
    if (dispatch)
        paused.emplace(incoming);
    // The thread of the bus takes nothing in for a queue that is full, and looks all the same: a
    // text that waits in the stream leaves room in the port.
    if (incomingMessagePending() && (dispatch || !isOnBusThread() || canTakeIn()))
        takeIn(dispatch);
    if (!dispatch)
        return false;
    const autoPtr<Message> next(incoming.getNextMessage(serialNumber));
    // Before the handler runs: it may wait for messages itself.
    paused.reset();
    return dispatchMessage(next.get());
}

bool TevoroTalk::dispatchMessage(Message* message)
{
    if (message == nullptr || message->target.isEmpty())
        return false;
    handleMessage(*message);
    finishMessage(*message);
    return true;
}

// All that was there at its start, also behind a text that held nothing for anybody, and what its
// handlers put in. What arrives meanwhile is for the next pump: whoever waits for an answer has it
// before the notices that follow it are read, and no sender holds a pump for ever.
bool TevoroTalk::dispatchIncoming()
{
    PumpLimit limit;
    bool dispatched = false;
    for (int looks = 0; looks < kMaxLooks && !limit.isOver(); ++looks) {
        const bool arrived = dispatchArrived(limit, dispatched);
        // The port hands out one sender's texts in portions; those that were there are read to
        // their end.
        if (!arrived || (dispatched && !m_data->stream->hasMore()))
            return dispatched;
    }
    return true; // as far as it can tell
}

// One look at the port, and all that it showed. Whether a text was there.
bool TevoroTalk::dispatchArrived(PumpLimit& limit, bool& dispatched)
{
    MessageQueue& incoming = m_data->incoming;
    m_data->retryLateAnswers();
    m_data->awaitNextPort();
    bool arrived = false;
    for (bool isFirst = true;
         isFirst || ((hasUnreadTexts() || incoming.hasMessage()) && !limit.isOver());
         isFirst = false) {
        incoming.removeExpiredMessages();
        MessageQueue::PausedSignals paused(incoming);
        if (isFirst) {
            arrived = textPending();
            limit.begin(unreadTexts() + incoming.length());
        }
        if (isFirst ? arrived : hasUnreadTexts())
            takeIn(true);
        const autoPtr<Message> next(incoming.getNextMessage(QK_INVALID_MESSAGE_NUMBER));
        // Before the handler runs, as above.
        paused.end();
        limit.count();
        if (dispatchMessage(next.get()))
            dispatched = true;
    }
    return arrived;
}

// One text. With `mustWait` not before another thread has taken in its own.
void TevoroTalk::takeIn(bool mustWait)
{
    std::unique_lock lock(m_data->intake, std::defer_lock);
    // A text that another thread is taking in came first, and has to be in the queue first.
    if (mustWait)
        lock.lock();
    else if (!lock.try_lock())
        return;
    if (m_data->stream != nullptr)
        m_data->stream->receive();
    while (putOneIncomingMessageInQueue()) { }
}

bool TevoroTalk::putOneIncomingMessageInQueue()
{
    if (m_data->stream == nullptr)
        return false;
    SoString text = m_data->stream->getMessages();
    const long end = text.length();
    if (end == 0)
        return false;
    for (long at = 0; at != end && text.get()[at] != '\0';) {
        std::unique_ptr<Message> message(new Message);
        if (message == nullptr) {
            tellOutOfMemory(end - at);
            break;
        }
        const long next = message->readFrom(text, at);
        const bool isWhole = message->isWhole();
        if (!isWhole)
            tellOutOfMemory(next - at);
        const bool isTaken = message->type != kIgnore && next != at && isWhole;
        if (isTaken) {
            sendReceipt(*message);
            logMessage("RECEIVE", *message, true);
        }
        if (isTaken && m_data->incoming.append(message.get()))
            static_cast<void>(message.release()); // the queue's now
        if (next == at)
            break;
        at = next;
    }
    return true;
}

void TevoroTalk::sendReceipt(const Message& message) const
{
    if (std::strstr(message.responseRequest, QK_RECEIVED) == nullptr)
        return;
    Message receipt;
    receipt.received = message.serialNumber;
    sendResponse(message, QK_RECEIVED, &receipt);
}

void TevoroTalk::handleMessage(Message& message)
{
    // The handler's own copy; of the body, which may be large, there is only one, lent to it.
    SoString body;
    body.swap(message.body);
    Message copy(message);
    copy.body.swap(body);
    handleCopy(message, copy);
    message.body.swap(copy.body);
}

void TevoroTalk::handleCopy(const Message& message, Message& copy)
{
    // Only the question whether somebody runs; finishMessage still sends the completion, if it was
    // asked for.
    if (copy.type == kQuillscriber && copy.body.isEmpty() && !hasAnswerNumber(copy))
        return;
    if (Message::getAuthentication() && copy.isRejected()) {
        sendError(copy, "ERROR: MESSAGE REJECTED", kRejected, 0);
        return;
    }
    const Outcome outcome = callHandlerFor(*this, message, copy);
    if (!outcome.wasHandled)
        return;
    // A result or an error, never both, and before the completion that finishMessage sends: a
    // sender stops waiting at that.
    if (outcome.code == 0) {
        // A result is a copy of the message but for its body, which may be large.
        SoString body;
        body.swap(copy.body);
        sendResult(copy, outcome.text);
        body.swap(copy.body);
    } else if (std::strstr(copy.responseRequest, QK_ERROR) != nullptr) {
        sendError(copy, outcome.text, outcome.code, 0);
    }
}

void TevoroTalk::finishMessage(const Message& message)
{
    const auto forward = [&](const char* word) {
        if (hasSubscriber("FWDMESSAGES"))
            TevoroTalkUtils::forwardMessage(message, "FWDMESSAGES", getInfoRoot("in"), word);
    };
    const auto clean = [&](const char* logWord, const char* forwardWord) {
        deleteHandlers(message.serialNumber);
        logMessage(logWord, message, false);
        forward(forwardWord);
    };
    if (message.type == kProcessed) {
        clean("PROCESSED CLEANUP", "handled: Processed");
    } else if (message.type == QK_ERROR) {
        clean("PROCESSED ERROR", "handled: error");
    } else if (message.type == QK_TIMEOUT) {
        clean("PROCESSED TIMEOUT", "handled: time out");
    } else if (message.type != kIgnore) {
        sendResponse(message, kProcessed, nullptr);
        logMessage("PROCESSED INCOMING MESSAGE", message, false);
        forward("processed");
    }
}

} // namespace ScObjects
