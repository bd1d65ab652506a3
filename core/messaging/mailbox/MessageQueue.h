// A queue of messages, in order, each with a deadline: timestamp plus timeout, which is 600 seconds
// unless the message says otherwise. Setting the clock does not change how long a message may wait
// here. Expired messages are removed, and their senders are notified if they asked for "Timeout".
//
// The queue owns its messages: append() takes ownership, getNextMessage() gives it up. Any thread
// may call. Senders are notified after the queue's lock was released, so that two queues that
// notify each other cannot deadlock.
//
// Watchers, messages of type "Ignore", are in the queue only to expire.
#pragma once

#include "messaging/Message.h"
#include "messaging/SoVector.h"
#include "messaging/mailbox/QueuedMessage.h"
#include "messaging/runtime/ClockWatch.h"

#include <atomic>
#include <functional>
#include <limits>
#include <utility>

namespace Pt {
class WaitableFlag;
class WallTimer;
} // namespace Pt

namespace ScObjects::TevoroTalkData {

class MessageQueue final : public SoLockable {
public:
    MessageQueue() = default;
    // Notifies the senders of all remaining messages, expired or not.
    ~MessageQueue() override;
    MessageQueue(const MessageQueue&) = delete;
    MessageQueue& operator=(const MessageQueue&) = delete;

    // From now on `flag` is up while there is a message other than a watcher, and `timer` expires
    // at the nearest deadline or before. Borrowed; null for none.
    void setSignals(Pt::WaitableFlag* flag, Pt::WallTimer* timer);

    // Between these two calls the flag is not updated. For a caller that takes a message out right
    // after it was put in: saves two system calls.
    void pauseSignals();
    void resumeSignals();

    // The same for a block, which may end by an exception.
    class PausedSignals {
    public:
        explicit PausedSignals(MessageQueue& queue)
            : m_queue(&queue)
        {
            queue.pauseSignals();
        }
        ~PausedSignals() { end(); }
        PausedSignals(const PausedSignals&) = delete;
        PausedSignals& operator=(const PausedSignals&) = delete;
        void end()
        {
            if (MessageQueue* const queue = std::exchange(m_queue, nullptr))
                queue->resumeSignals();
        }

    private:
        MessageQueue* m_queue; // null when they are on again
    };

    bool isEmpty() const;
    // Whether there is a message that getNextMessage(QK_INVALID_MESSAGE_NUMBER) would return.
    bool hasMessage() const;
    long length() const;
    // Of all texts of the messages that wait here: bodies, heads and custom headers.
    std::size_t bytes() const;

    // Takes ownership. False, and no change, if the message is null or has no sender or target, or
    // if there was no memory for it or for its place.
    bool append(TevoroTalk::Message* message);
    // Removes and returns the first message that has not expired, for the caller to delete; null if
    // there is none. Skips watchers that match: the number is QK_INVALID_MESSAGE_NUMBER, or one of
    // the message's three answer numbers.
    TevoroTalk::Message* getNextMessage(std::uint32_t serialNumber);
    // Tries all messages but watchers in order, also those that are added meanwhile. Calls
    // `attempt` without the lock; true removes the message. The others keep their places and are
    // changed by `postpone`, which is called with the lock. One thread at a time: a second caller
    // returns at once.
    void workOff(const std::function<bool(const TevoroTalk::Message&)>& attempt,
        const std::function<void(TevoroTalk::Message&)>& postpone);
    // Only compare the result with null: another thread may delete the message.
    const TevoroTalk::Message* findMessageForTarget(const SoString& target) const;
    // Deletes what getNextMessage returns, which may be a message with another number. False for
    // QK_INVALID_MESSAGE_NUMBER.
    bool removeMessage(std::uint32_t serialNumber);
    void removeExpiredMessages();
    // Deletes the watchers for an answer to that message. Always false.
    bool removeTimeoutMessage(std::uint32_t serialNumber);

    // Sets the path of this queue in the diagnostics tree. While it is empty, nothing is forwarded.
    void setDiagnosticsRoot(const SoString& path);
    // Appends each message and returns their number: only those of type "Log" if `out` begins with
    // "/log", else only the others.
    long appendDiagnostics(SoString& out, const SoString& path) const;

private:
    using Messages = SoVector<TevoroTalk::Message>;

    void noteSize(TevoroTalk::Message& message) TEVOROTALK_REQUIRES(this);
    void added(TevoroTalk::Message& message) TEVOROTALK_REQUIRES(this);
    void removed(const TevoroTalk::Message& message) TEVOROTALK_REQUIRES(this);
    void showState() TEVOROTALK_REQUIRES(this);
    bool isWatched(std::uint32_t serialNumber) const TEVOROTALK_REQUIRES(this);
    static bool add(Messages& messages, TevoroTalk::Message* message);
    static void release(Messages& expired, TevoroTalk::Message* message);
    static bool hasExpired(const TevoroTalk::Message& message, const Moment& now);
    static std::int64_t deadlineAt(const Moment& now, const TevoroTalk::Message& message);
    static void catchUp(TevoroTalk::Message& message);
    TevoroTalk::Message* takeNext(std::uint32_t serialNumber, const Moment& now, Messages& expired)
        TEVOROTALK_REQUIRES(this);
    void takeExpired(const Moment& now, Messages& expired) TEVOROTALK_REQUIRES(this);
    bool mayWalk(const Moment& now) TEVOROTALK_REQUIRES(this);
    void arm(std::int64_t deadline) TEVOROTALK_REQUIRES(this);
    void armForNearest(const Moment& now) TEVOROTALK_REQUIRES(this);
    TevoroTalk::Message* nextAttempt(long& place) const;
    void takeDone(long place);
    enum class Order { kAsTaken, kReverse };
    void notifyAndDelete(Messages& expired, Order order) const TEVOROTALK_EXCLUDES(this);
    SoString diagnosticsRoot() const;

    Messages m_messages TEVOROTALK_GUARDED_BY(this);
    SoString m_diagnosticsRoot TEVOROTALK_GUARDED_BY(this);
    Messages m_watchers TEVOROTALK_GUARDED_BY(this); // those of the messages; not owned
    std::size_t m_bytes TEVOROTALK_GUARDED_BY(this) = 0;
    // A lower bound of all deadlines; the largest number if nothing expires.
    std::atomic<std::int64_t> m_nearestDeadline{std::numeric_limits<std::int64_t>::max()};
    // Of the clock when all deadlines were last looked at.
    std::atomic<std::int64_t> m_shift{0};
    Pt::WaitableFlag* m_flag TEVOROTALK_GUARDED_BY(this) = nullptr;
    Pt::WallTimer* m_timer TEVOROTALK_GUARDED_BY(this) = nullptr;
    std::int64_t m_lastWalk TEVOROTALK_GUARDED_BY(this) = 0; // seconds since 1970
    long m_addedSinceWalk TEVOROTALK_GUARDED_BY(this) = 0;
    bool m_isFlagUp TEVOROTALK_GUARDED_BY(this) = false;
    std::atomic<bool> m_isWorkedOff{false};
    int m_pauses TEVOROTALK_GUARDED_BY(this) = 0;
};

} // namespace ScObjects::TevoroTalkData
