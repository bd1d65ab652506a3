#include "messaging/mailbox/MessageQueue.h"

#include "messaging/TevoroTalkUtils.h"
#include "messaging/wire/Forwarding.h"
#include "platform/common/ports/Waiting.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace ScObjects::TevoroTalkData {

namespace {

using Message = TevoroTalk::Message;

bool isWatcher(const Message& message)
{
    return message.type == kIgnore;
}

bool matches(const Message& message, std::uint32_t number)
{
    return number == QK_INVALID_MESSAGE_NUMBER || message.received == number
        || message.result == number || message.error == number;
}

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

constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

// Times and timeouts of messages are whatever their senders wrote.
std::int64_t deadlineOf(const Message& message)
{
    if (message.timeout <= 0 || message.timestamp <= 0
        || message.timestamp > kNever - message.timeout)
        return kNever;
    return message.timestamp + message.timeout;
}

// The root is asked for only when somebody subscribed: this is passed several times by every
// message.
template <typename Root>
void forward(const Message& message, const Root& rootOf, const char* label)
{
    if (!hasSubscriber("FWDMESSAGES"))
        return;
    const SoString root = rootOf();
    if (!root.isEmpty() && message.type != kDebug)
        TevoroTalkUtils::forwardMessage(message, "FWDMESSAGES", root, label);
}

// What the sender has left open: when the message came about and how long it may wait.
void completeTimes(Message& message)
{
    if (message.timestamp == 0)
        message.timestamp = TevoroTalkUtils::getTimeSeconds();
    if (message.timeout == 0)
        message.timeout = kQueueLifetime;
}

// All texts that the message keeps.
std::size_t bytesOf(const Message& message)
{
    std::size_t bytes = 0;
    for (const SoString* text : {&message.target,
             &message.sender,
             &message.type,
             &message.responseRequest,
             &message.version,
             &message.body})
        bytes += text->view().size();
    for (const auto* header = message.headers; header != nullptr; header = header->next)
        bytes += header->name.view().size() + header->value.view().size();
    return bytes;
}

// From a sender to itself, to tell it that no answer to this number has come.
bool watchesFor(const Message& message, std::uint32_t serialNumber)
{
    return message.serialNumber == serialNumber && message.timeout > 0 && isWatcher(message)
        && message.responseRequest == QK_TIMEOUT && message.target == message.sender;
}

} // namespace

bool hasTimedOut(const Message& message, std::int64_t now)
{
    return message.timeout == 0 ? isWatcher(message) : now >= deadlineOf(message);
}

bool notifySender(const Message& message, const SoString& word, const SoString& diagnosticsRoot)
{
    // Words are searched for: what is between them does not matter.
    if (std::strstr(message.responseRequest, word) == nullptr)
        return false;
    if (message.getUserHeaderValue(kTimeoutDetector) == "SENDER")
        return false;
    Message notice;
    notice.target = message.sender;
    notice.sender = message.target;
    if (message.version.isEmpty() || message.version == "1.0") {
        notice.type = message.type;
        notice.serialNumber = Message::getNextSerialNumber(nullptr);
    } else {
        notice.serialNumber = message.serialNumber;
        notice.type = word;
        if (notice.isUserType())
            notice.type << message.type;
    }
    TevoroTalkUtils::logMessage("REMOVING MSG - NOTIFYING SENDER", notice, false);
    forward(
        message, [&] { return diagnosticsRoot; }, "timed out");
    const TevoroTalk* const instance = TevoroTalk::get(nullptr);
    return instance != nullptr && instance->send(notice, false, 0, nullptr);
}

MessageQueue::~MessageQueue()
{
    // Nobody else uses a queue that goes, and the flag may be gone already.
    notifyAndDelete(m_messages);
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
    return m_messages.length() > m_watchers;
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
    completeTimes(*message);
    // While it is still nobody else's: a reader of the queue may delete it at any moment.
    forward(
        *message, [this] { return diagnosticsRoot(); }, "added");
    const ObjectLock lock(*this);
    m_messages.append(message);
    added(*message);
    return true;
}

Message* MessageQueue::getNextMessage(std::uint32_t serialNumber)
{
    const std::int64_t now = TevoroTalkUtils::getTimeSeconds();
    // Collected under the lock and notified after it: a notice is a send, which may need the lock
    // of another queue.
    Messages expired;
    Message* result = nullptr;
    {
        const ObjectLock lock(*this);
        long deferred = 0;
        while (result == nullptr && deferred < m_messages.length()) {
            Message& message = *m_messages[deferred];
            if (hasTimedOut(message, now)) {
                takeOut(deferred, expired);
            } else if (matches(message, serialNumber) && isWatcher(message)) {
                ++deferred;
            } else {
                result = m_messages.removeAt(deferred);
                removed(message);
            }
        }
        // Watchers that were stepped over go behind the others, so that the next call does not meet
        // them first.
        m_messages.rotate(deferred);
        if (expired.length() != 0)
            armForNearest();
        showState();
    }
    notifyAndDelete(expired);
    if (result != nullptr)
        forward(
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

void MessageQueue::removeExpiredMessages()
{
    // m_nearestDeadline is a lower bound; concurrent additions wait for the next pass.
    if (m_nearestDeadline == kNever)
        return;
    const std::int64_t now = TevoroTalkUtils::getTimeSeconds();
    if (now < m_nearestDeadline)
        return;
    Messages expired;
    {
        const ObjectLock lock(*this);
        for (long i = m_messages.length() - 1; i >= 0; --i)
            if (hasTimedOut(*m_messages[i], now))
                takeOut(i, expired);
        armForNearest();
        showState();
    }
    notifyAndDelete(expired);
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
    forward(
        *message, [this] { return diagnosticsRoot(); }, "picked");
    delete message;
}

bool MessageQueue::removeTimeoutMessage(std::uint32_t serialNumber)
{
    if (serialNumber == QK_INVALID_MESSAGE_NUMBER)
        return false;
    const ObjectLock lock(*this);
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
    if (isWatcher(message))
        ++m_watchers;
    if (deadlineOf(message) < m_nearestDeadline)
        arm(deadlineOf(message));
    showState();
}

void MessageQueue::removed(const Message& message)
{
    if (isWatcher(message))
        --m_watchers;
    m_bytes -= message.m_note.bytes;
}

void MessageQueue::showState()
{
    const bool isUp = m_messages.length() > m_watchers;
    if (m_flag == nullptr || m_pauses != 0 || isUp == m_isFlagUp)
        return;
    // Known here, so that the descriptor is touched only when the state changes.
    m_isFlagUp = isUp;
    if (isUp)
        m_flag->raise();
    else
        m_flag->lower();
}

void MessageQueue::takeOut(long index, Messages& taken)
{
    removed(*m_messages[index]);
    taken.append(m_messages.removeAt(index));
}

void MessageQueue::armForNearest()
{
    std::int64_t nearest = kNever;
    for (long i = 0; i < m_messages.length(); ++i)
        nearest = std::min(nearest, deadlineOf(*m_messages[i]));
    arm(nearest);
}

void MessageQueue::arm(std::int64_t deadline)
{
    m_nearestDeadline = deadline;
    if (m_timer == nullptr)
        return;
    if (deadline == kNever)
        m_timer->clear();
    else
        m_timer->set(deadline);
}

void MessageQueue::notifyAndDelete(Messages& expired) const
{
    if (expired.length() == 0)
        return;
    const SoString root = diagnosticsRoot();
    while (const Message* const message = expired.removeAt(0)) {
        notifySender(*message, QK_TIMEOUT, root);
        delete message;
    }
}

} // namespace ScObjects::TevoroTalkData
