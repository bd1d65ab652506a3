#include "messaging/mailbox/MessageQueue.h"

#include "messaging/runtime/OutOfMemory.h"
#include "platform/common/ports/Waiting.h"

namespace ScObjects::TevoroTalkData {

namespace {

using Message = TevoroTalk::Message;

// Lets a flag down at the end of a block.
class Lowered {
public:
    explicit Lowered(std::atomic<bool>& flag)
        : m_flag(flag)
    {
    }
    ~Lowered() { m_flag = false; }
    Lowered(const Lowered&) = delete;
    Lowered& operator=(const Lowered&) = delete;

private:
    std::atomic<bool>& m_flag;
};

} // namespace

MessageQueue::~MessageQueue()
{
    // Nobody else uses a queue that goes, and the flag may be gone already.
    // A notice may be answered at once, which looks for watchers.
    while (m_watchers.removeAt(0) != nullptr) { }
    notifyAndDelete(m_messages, Order::kAsTaken);
}

void MessageQueue::setSignals(Pt::WaitableFlag* flag, Pt::WallTimer* timer)
{
    const ObjectLock lock(*this);
    m_flag = flag;
    m_timer = timer;
    m_isFlagUp = false;
    showState();
    // The new timer knows nothing of the deadlines that are here already.
    arm(m_nearestDeadline);
}

void MessageQueue::pauseSignals()
{
    const ObjectLock lock(*this);
    ++m_pauses;
}

void MessageQueue::resumeSignals()
{
    const ObjectLock lock(*this);
    --m_pauses;
    showState();
}

bool MessageQueue::isEmpty() const
{
    const ObjectLock lock(*this);
    return m_messages.length() == 0;
}

bool MessageQueue::hasMessage() const
{
    const ObjectLock lock(*this);
    return m_messages.length() > m_watchers.length();
}

long MessageQueue::length() const
{
    const ObjectLock lock(*this);
    return m_messages.length();
}

std::size_t MessageQueue::bytes() const
{
    const ObjectLock lock(*this);
    return m_bytes;
}

bool MessageQueue::append(Message* message)
{
    if (message == nullptr || message->sender.isEmpty() || message->target.isEmpty())
        return false;
    if (!message->isWhole()) {
        tellOutOfMemory(message->body.length());
        return false;
    }
    completeTimes(*message);
    // While it is still nobody else's: a reader of the queue may delete it at any moment.
    forwardStep(
        *message, [this] { return diagnosticsRoot(); }, "added");
    const ObjectLock lock(*this);
    if (isWatcher(*message) && !add(m_watchers, message))
        return false;
    if (!add(m_messages, message)) {
        m_watchers.remove(message);
        return false;
    }
    added(*message);
    return true;
}

Message* MessageQueue::getNextMessage(std::uint32_t serialNumber)
{
    const Moment now = momentNow();
    // Collected under the lock and notified after it: a notice is a send, which may need the lock
    // of another queue.
    Messages expired;
    Message* result = nullptr;
    {
        const ObjectLock lock(*this);
        result = takeNext(serialNumber, now, expired);
        if (expired.length() != 0 && mayWalk(now))
            armForNearest(now);
        showState();
    }
    notifyAndDelete(expired, Order::kAsTaken);
    if (result != nullptr)
        forwardStep(
            *result, [this] { return diagnosticsRoot(); }, "picked");
    return result;
}

const Message* MessageQueue::findMessageForTarget(const SoString& target) const
{
    const ObjectLock lock(*this);
    for (long i = 0; i < m_messages.length(); ++i)
        if (m_messages[i]->target == target)
            return m_messages[i];
    return nullptr;
}

bool MessageQueue::removeMessage(std::uint32_t serialNumber)
{
    if (serialNumber == QK_INVALID_MESSAGE_NUMBER)
        return false;
    const Message* const message = getNextMessage(serialNumber);
    delete message;
    return message != nullptr;
}

void MessageQueue::workOff(const std::function<bool(const Message&)>& attempt,
    const std::function<void(Message&)>& postpone)
{
    // Two threads at once would send messages to one target out of order.
    if (m_isWorkedOff.exchange(true))
        return;
    const Lowered atTheEnd(m_isWorkedOff);
    // Nobody else takes from this queue meanwhile, so that a message stays at its place.
    removeExpiredMessages();
    long place = 0;
    while (Message* const message = nextAttempt(place)) {
        // Without the lock: an attempt is a send, which may block for ten seconds.
        if (attempt(*message)) {
            takeDone(place);
            continue;
        }
        const ObjectLock lock(*this);
        m_bytes -= message->m_note.bytes;
        catchUp(*message);
        postpone(*message);
        noteSize(*message);
        if (deadlineOf(*message) < m_nearestDeadline)
            arm(deadlineOf(*message));
        ++place;
    }
}

// Steps over watchers.
Message* MessageQueue::nextAttempt(long& place) const
{
    const ObjectLock lock(*this);
    while (place < m_messages.length() && isWatcher(*m_messages[place]))
        ++place;
    return place < m_messages.length() ? m_messages[place] : nullptr;
}

void MessageQueue::takeDone(long place)
{
    Message* message = nullptr;
    {
        const ObjectLock lock(*this);
        message = m_messages.removeAt(place);
        removed(*message);
        showState();
    }
    forwardStep(
        *message, [this] { return diagnosticsRoot(); }, "picked");
    delete message;
}

bool MessageQueue::removeTimeoutMessage(std::uint32_t serialNumber)
{
    if (serialNumber == QK_INVALID_MESSAGE_NUMBER)
        return false;
    const ObjectLock lock(*this);
    // Every answer asks, and hardly ever is there such a watcher among many messages.
    if (!isWatched(serialNumber))
        return false;
    for (long i = m_messages.length() - 1; i >= 0; --i) {
        const Message* const message = m_messages[i];
        if (!watchesFor(*message, serialNumber))
            continue;
        m_messages.removeAt(i);
        removed(*message);
        delete message;
    }
    return false;
}

SoString MessageQueue::diagnosticsRoot() const
{
    const ObjectLock lock(*this);
    return m_diagnosticsRoot;
}

void MessageQueue::setDiagnosticsRoot(const SoString& path)
{
    const ObjectLock lock(*this);
    m_diagnosticsRoot = path;
}

long MessageQueue::appendDiagnostics(SoString& out, const SoString& path) const
{
    const ObjectLock lock(*this);
    const bool wantsLog = out.view().starts_with("/log");
    long count = 0;
    for (long i = 0; i < m_messages.length(); ++i) {
        if ((m_messages[i]->type == kLog) != wantsLog)
            continue;
        m_messages[i]->appendDiagnostics(out, path);
        ++count;
    }
    return count;
}

void MessageQueue::noteSize(Message& message)
{
    // Noted in the message: whoever changes it while it waits does not change what it counted for.
    message.m_note.bytes = bytesOf(message);
    m_bytes += message.m_note.bytes;
}

void MessageQueue::added(Message& message)
{
    noteSize(message);
    message.m_note.shift = clockWatch().shift();
    ++m_addedSinceWalk;
    if (deadlineOf(message) < m_nearestDeadline)
        arm(deadlineOf(message));
    showState();
}

void MessageQueue::removed(const Message& message)
{
    if (isWatcher(message))
        m_watchers.remove(&message);
    m_bytes -= message.m_note.bytes;
}

void MessageQueue::showState()
{
    const bool isUp = m_messages.length() > m_watchers.length();
    if (m_flag == nullptr || m_pauses != 0 || isUp == m_isFlagUp)
        return;
    // Known here, so that the descriptor is touched only when the state changes.
    m_isFlagUp = isUp;
    if (isUp)
        m_flag->raise();
    else
        m_flag->lower();
}

bool MessageQueue::isWatched(std::uint32_t serialNumber) const
{
    for (long i = 0; i < m_watchers.length(); ++i)
        if (watchesFor(*m_watchers[i], serialNumber))
            return true;
    return false;
}

} // namespace ScObjects::TevoroTalkData
