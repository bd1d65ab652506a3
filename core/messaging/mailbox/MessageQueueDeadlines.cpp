// How long messages wait in a queue: what has expired, when the next one does, and what becomes of
// those that have.
#include "messaging/mailbox/MessageQueue.h"
#include "platform/common/ports/Waiting.h"

#include <algorithm>
#include <cstdlib>

namespace ScObjects::TevoroTalkData {

namespace {

using Message = TevoroTalk::Message;

// Up to this length a queue is walked whenever something may have expired.
constexpr long kShortQueue = 1024;

} // namespace

// The array itself would grow by a constant, and take ever longer for a long queue.
bool MessageQueue::add(Messages& messages, Message* message)
{
    const long capacity = messages.capacity();
    if (messages.length() == capacity)
        messages.reserve(2 * capacity); // without the memory for it, one by one
    return messages.append(message);
}

// Without the memory to remember it, its sender is not told.
void MessageQueue::release(Messages& expired, Message* message)
{
    if (!add(expired, message))
        delete message;
}

// Only ever takes from the front, so that no message behind it is moved.
Message* MessageQueue::takeNext(std::uint32_t serialNumber, const Moment& now, Messages& expired)
{
    for (long left = m_messages.length(); left > 0; --left) {
        Message* const message = m_messages.removeAt(0);
        const bool isExpired = hasExpired(*message, now);
        if (!isExpired && matches(*message, serialNumber) && isWatcher(*message)) {
            // Behind the others, so that the next call does not meet it first. There is room, as a
            // place has just become free.
            m_messages.append(message);
            continue;
        }
        removed(*message);
        if (!isExpired)
            return message;
        release(expired, message);
    }
    return nullptr;
}

void MessageQueue::removeExpiredMessages()
{
    // m_nearestDeadline is a lower bound; concurrent additions wait for the next pass.
    if (m_nearestDeadline == kNever)
        return;
    const Moment now = momentNow();
    // A clock that was set has moved all deadlines.
    if (now.seconds < m_nearestDeadline && now.shift == m_shift)
        return;
    Messages expired;
    {
        const ObjectLock lock(*this);
        if (!mayWalk(now))
            return;
        takeExpired(now, expired);
        showState();
    }
    notifyAndDelete(expired, Order::kReverse);
}

// Each message in turn goes from the front to the end, or out.
void MessageQueue::takeExpired(const Moment& now, Messages& expired)
{
    std::int64_t nearest = kNever;
    for (long left = m_messages.length(); left > 0; --left) {
        Message* const message = m_messages.removeAt(0);
        if (hasExpired(*message, now)) {
            removed(*message);
            release(expired, message);
        } else {
            m_messages.append(message); // in the place that has just become free
            nearest = std::min(nearest, deadlineAt(now, *message));
        }
    }
    m_shift = now.shift;
    arm(nearest);
}

// Whether it may take the time to look at each message. A long queue is walked once a second, or
// when most of it is new: what has expired meanwhile is found when its turn comes.
bool MessageQueue::mayWalk(const Moment& now)
{
    if (m_messages.length() > kShortQueue && now.seconds == m_lastWalk && now.shift == m_shift
        && m_addedSinceWalk < m_messages.length() / 2)
        return false;
    m_lastWalk = now.seconds;
    m_addedSinceWalk = 0;
    return true;
}

// Whether the message has waited its time, whatever the clock was set to meanwhile.
bool MessageQueue::hasExpired(const Message& message, const Moment& now)
{
    return hasTimedOut(message, now.seconds - now.secondsSetSince(message.m_note.shift));
}

std::int64_t MessageQueue::deadlineAt(const Moment& now, const Message& message)
{
    const std::int64_t deadline = deadlineOf(message);
    return deadline == kNever ? kNever : deadline + now.secondsSetSince(message.m_note.shift);
}

// Puts its times in terms of the clock as it goes now, for whoever compares them with that.
void MessageQueue::catchUp(Message& message)
{
    const Moment now = momentNow();
    const std::int64_t seconds = now.secondsSetSince(message.m_note.shift);
    message.m_note.shift = now.shift;
    if (seconds == 0)
        return;
    message.timestamp = std::max<std::int64_t>(1, message.timestamp + seconds);
    const long stamp = std::strtol(message.getUserHeaderValue(kQueueStamp), nullptr, 10);
    if (stamp > 0)
        message.setHeader(kQueueStamp, static_cast<long>(stamp + seconds));
}

void MessageQueue::armForNearest(const Moment& now)
{
    std::int64_t nearest = kNever;
    for (long i = 0; i < m_messages.length(); ++i)
        nearest = std::min(nearest, deadlineAt(now, *m_messages[i]));
    m_shift = now.shift;
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

void MessageQueue::notifyAndDelete(Messages& expired, Order order) const
{
    if (expired.length() == 0)
        return;
    const SoString root = diagnosticsRoot();
    const auto take = [&] {
        return expired.removeAt(order == Order::kReverse ? expired.length() - 1 : 0);
    };
    while (const Message* const message = take()) {
        notifySender(*message, QK_TIMEOUT, root);
        delete message;
    }
}

} // namespace ScObjects::TevoroTalkData
