// A list of messages that wait, in order, each until its deadline: timestamp plus timeout, 600
// seconds unless the message says otherwise. Messages that run out go, and their senders are told
// if they asked for "Timeout".
//
// The queue owns what is in it: append() takes a message over, getNextMessage() hands it out. Any
// thread may call. Senders are told after the queue's lock was let go, so that two queues whose
// notices meet do not wait for each other.
//
// Watchers, messages of type "Ignore", stand among the others only to run out.
#pragma once

#include "messaging/Message.h"
#include "messaging/SoVector.h"

#include <atomic>
#include <functional>
#include <limits>

namespace Pt {
class WaitableFlag;
class WallTimer;
} // namespace Pt

namespace ScObjects::TevoroTalkData {

class MessageQueue final : public SoLockable {
public:
    MessageQueue() = default;
    // Tells the senders of all that is left, run out or not.
    ~MessageQueue() override;
    MessageQueue(const MessageQueue&) = delete;
    MessageQueue& operator=(const MessageQueue&) = delete;

    // From now on `flag` is up while a message other than a watcher is here, and `timer` runs out
    // at the nearest deadline or before. Borrowed; null for none.
    void setSignals(Pt::WaitableFlag* flag, Pt::WallTimer* timer);

    // Between these two the flag stays as it is; then it shows the state again. For whoever takes a
    // message out right after it was put in: the flag costs two calls of the system otherwise.
    void pauseSignals();
    void resumeSignals();

    bool isEmpty() const;
    // Whether there is a message that getNextMessage(QK_INVALID_MESSAGE_NUMBER) would hand out.
    bool hasMessage() const;
    long length() const;

    // False, and the message stays the caller's, when it is null or without sender or target.
    bool append(TevoroTalk::Message* message);
    // The first message that has not run out; null when there is none. Watchers are stepped over if
    // they match: the number is QK_INVALID_MESSAGE_NUMBER, or one of the message's three answer
    // numbers. The caller's to delete.
    TevoroTalk::Message* getNextMessage(std::uint32_t serialNumber);
    // Tries all messages but watchers in their order, and those too that come meanwhile. `attempt`
    // is called without the lock; a message that it answers true for goes. The others stay in their
    // places, after `postpone` changed them, which is called with the lock. One thread at a time:
    // for a second one there is nothing to do.
    void workOff(const std::function<bool(const TevoroTalk::Message&)>& attempt,
        const std::function<void(TevoroTalk::Message&)>& postpone);
    // To be tested for null only.
    const TevoroTalk::Message* findMessageForTarget(const SoString& target) const;
    // Deletes what getNextMessage gives, which may be a message with another number. False for
    // QK_INVALID_MESSAGE_NUMBER.
    bool removeMessage(std::uint32_t serialNumber);
    void removeExpiredMessages();
    // Deletes the watchers for an answer to that message. Always false.
    bool removeTimeoutMessage(std::uint32_t serialNumber);

    // The path of this queue in the diagnostics tree; while it is empty nothing is forwarded.
    void setDiagnosticsRoot(const SoString& path);
    // Appends each message and gives their number: only those of type "Log" if `out` begins with
    // "/log", else only the others.
    long appendDiagnostics(SoString& out, const SoString& path) const;

private:
    using Messages = SoVector<TevoroTalk::Message>;

    void added(const TevoroTalk::Message& message) TEVOROTALK_REQUIRES(this);
    void removed(const TevoroTalk::Message& message) TEVOROTALK_REQUIRES(this);
    void showState() TEVOROTALK_REQUIRES(this);
    void takeOut(long index, Messages& taken) TEVOROTALK_REQUIRES(this);
    void arm(std::int64_t deadline) TEVOROTALK_REQUIRES(this);
    void armForNearest() TEVOROTALK_REQUIRES(this);
    TevoroTalk::Message* nextAttempt(long& place) const;
    void takeDone(long place);
    void notifyAndDelete(Messages& expired) const TEVOROTALK_EXCLUDES(this);
    SoString diagnosticsRoot() const;

    Messages m_messages TEVOROTALK_GUARDED_BY(this);
    SoString m_diagnosticsRoot TEVOROTALK_GUARDED_BY(this);
    long m_watchers TEVOROTALK_GUARDED_BY(this) = 0;
    // At or before the nearest; the largest number when nothing runs out.
    std::atomic<std::int64_t> m_nearestDeadline{std::numeric_limits<std::int64_t>::max()};
    Pt::WaitableFlag* m_flag TEVOROTALK_GUARDED_BY(this) = nullptr;
    Pt::WallTimer* m_timer TEVOROTALK_GUARDED_BY(this) = nullptr;
    bool m_isFlagUp TEVOROTALK_GUARDED_BY(this) = false;
    std::atomic<bool> m_isWorkedOff{false};
    int m_pauses TEVOROTALK_GUARDED_BY(this) = 0;
};

// Whether the message's time is over. One without a timeout never runs out, but for watchers, which
// do at once.
bool hasTimedOut(const TevoroTalk::Message& message, std::int64_t now);

// Tells the sender of a message that left a queue, if it asked for `word`. True if it was sent.
bool notifySender(
    const TevoroTalk::Message& message, const SoString& word, const SoString& diagnosticsRoot);

} // namespace ScObjects::TevoroTalkData
