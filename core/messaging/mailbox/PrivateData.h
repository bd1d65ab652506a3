// The parts of an instance of the bus: its stream, its two queues, its handlers, and the descriptor
// that an application waits on.
//
// The handlers are guarded by this object's lock. The stream is replaced only by the thread that
// owns the instance, while the thread of the bus is paused (see TevoroTalkContext::PausedThread).
#pragma once

#include "messaging/MsgHandler.h"
#include "messaging/mailbox/InterAppStream.h"
#include "messaging/mailbox/LateAnswers.h"
#include "messaging/mailbox/MessageQueue.h"
#include "platform/common/ports/PortWatch.h"
#include "platform/common/ports/Waiting.h"
#include "platform/common/threads/Lock.h"

#include <atomic>
#include <memory>
#include <mutex>

namespace ScObjects::TevoroTalkData {

// Whether an instance of this process has a handler for copies of messages. Every message checks
// this, so it is cheap.
bool hasForwardHandlers();

// Calls a handler and returns its code; -29 for an exception, with `result` (which may be null)
// saying so.
long callHandler(
    TevoroTalk::MsgHandler& handler, int reason, TevoroTalk::Message& message, SoString* result);

class PrivateData final : public SoLockable {
public:
    // Takes ownership of the stream; null for an instance that got no name.
    explicit PrivateData(InterAppStream* itsStream);
    ~PrivateData() override;
    PrivateData(const PrivateData&) = delete;
    PrivateData& operator=(const PrivateData&) = delete;

    // See the operations of TevoroTalk.
    TevoroTalk::MsgHandler* findHandler(const char* type, std::uint32_t serialNumber);
    TevoroTalk::MsgHandler* changeHandler(TevoroTalk::MsgHandler* handler);
    TevoroTalk::MsgHandler* removeHandler(const SoString& type, std::uint32_t serialNumber);
    bool deleteHandler(const TevoroTalk::MsgHandler* handler);
    bool deleteHandlers(std::uint32_t serialNumber);
    // Deletes the one it replaces.
    void addHandler(TevoroTalk::MsgHandler* handler);

    // Replaces the stream by one with a new name.
    void openStream(const SoString& name);

    void appendDiagnostics(SoString& out, const SoString& path) const;

    // An answer, which waits for a target that does not read ten seconds once, and not again until
    // it has read something. Without `mayWait` it waits among the late answers, as it does behind
    // those. True if it was sent or is kept.
    bool sendAnswer(const TevoroTalk::Message& message, const SoString& head, bool mayWait);
    void retryLateAnswers();

    // Puts a message among those that wait for their target. From then on waits also end when a
    // port comes up, as the target's may be. Takes ownership; deletes what the queue refuses.
    bool queueOutgoing(TevoroTalk::Message* message);
    // The queue is about to be tried: waits end for the next port that comes up.
    void awaitNextPort();

    int waitDescriptor() const;
    bool waitForMessage(std::chrono::milliseconds limit) const;

    // Set only for a context other than the current one.
    std::atomic<TevoroTalkContext*> context{nullptr};
    InterAppStream* stream = nullptr;
    // A numbered instance of the application was registered, and has to be unregistered at the end.
    bool unregisterApp = false;
    // Held from taking a text from the stream until its messages are in the queue, so that texts
    // cannot overtake each other. The thread of the bus only tries this lock, because it holds its
    // own, which sending a receipt may need.
    std::recursive_mutex intake;

private:
    // What can be waited on; missing if the process has no descriptors left.
    struct Signals {
        Pt::WaitableFlag flag;
        Pt::WallTimer timer;
        Pt::DescriptorSet all;
    };

    void makeSignals();
    void adopt(InterAppStream* itsStream);
    void registerNumberedInstance();
    // -1 when it is not there.
    long placeOf(const TevoroTalk::MsgHandler* handler) const TEVOROTALK_REQUIRES(this);
    void addToHandlers(TevoroTalk::MsgHandler* handler) TEVOROTALK_REQUIRES(this);
    TevoroTalk::MsgHandler* takeFromHandlers(long index) TEVOROTALK_REQUIRES(this);
    void takeAllFromHandlers(std::uint32_t serialNumber, SoVector<TevoroTalk::MsgHandler>& taken)
        TEVOROTALK_REQUIRES(this);

    std::unique_ptr<Signals> m_signals;
    // Those of the handlers that were counted.
    SoVector<TevoroTalk::MsgHandler> m_forwardHandlers TEVOROTALK_GUARDED_BY(this);
    bool m_streamWakes = false; // the stream's own wait ends for the signals, too
    LateAnswers m_lateAnswers;
    Pt::Lock m_portWatchLock;
    // While something waits for its target.
    std::unique_ptr<Pt::PortWatch> m_portWatch TEVORO_GUARDED_BY(m_portWatchLock);

public:
    // Destroyed before the signals that they use; outgoing first.
    MessageQueue incoming;
    MessageQueue outgoing;
    // The last added is looked at first.
    SoVector<TevoroTalk::MsgHandler> handlers TEVOROTALK_GUARDED_BY(this);
};

} // namespace ScObjects::TevoroTalkData
