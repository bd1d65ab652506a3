// The thread of the bus. It holds a port of its own, answers the questions that arrive there
// (pings) even while the application is busy, moves the messages of all instances in and out, and
// keeps the ping store: keys and values that other processes can read.
//
// Owned by its context. Its lock guards the store, the pump times and the stream, and is held for a
// whole round, so that a handler called from there may call back. Any thread may call; it waits for
// the round to end. The thread waits on its own port, and on those of instances that nobody has
// pumped for a while, with a timeout of 100 milliseconds.
#pragma once

#include "messaging/Message.h"
#include "messaging/MsgHandler.h"
#include "messaging/Thread.h"
#include "messaging/mailbox/InterAppStream.h"
#include "platform/common/ports/Waiting.h"
#include "platform/common/threads/Lock.h"

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <string_view>

namespace ScObjects {

class TevoroTalkThread final : public Thread {
public:
    static const char* const QK_FWDMESSAGES;
    static const char* const QK_FWDLOGS;
    static const char* const QK_FWDERRORS;
    static const char* const QK_INFO;
    static const char* const QK_SEEBODY;
    static const char* const QK_DIAGNOSTICS;
    static const char* const QK_ISNOTINSTALLED;
    static const char* const QK_LAUNCHED;
    static const char* const QK_UNDEFINED;
    static const char* const QK_ISNOTRUNNING;
    static const char* const QK_NOERROR;
    static const char* const QK_INVALIDSPEC;
    static const char* const QK_MSGTOSTRINGERROR;
    static const char* const QK_NOINTERAPPSTREAM;
    static const char* const QK_PINGTYPE;
    static const char* const QK_PUMPING;
    static const char* const QK_IDLE;
    static const char* const QK_BUSY;
    static const char* const QK_STATUS;
    static const char* const QK_ECHO_RESPONSE;
    static const char* const QK_ECHO_REQUEST;
    static const char* const QK_NOP;
    static const char* const QK_MAIN;

    TevoroTalkThread(TevoroTalkContext* context, const SoString& specifier);
    ~TevoroTalkThread() override;

    void run() override;
    void wait(unsigned int milliseconds) override;
    // Ends the loop and waits for it.
    bool stop() override;
    // The same, for at most that long; whether it has ended. For the end of the process, where
    // whoever waits may hold what the thread needs.
    bool stopWithin(std::chrono::milliseconds limit);
    // Removes the files of its port and of those of the instances, which may be used on. For the
    // end of the process.
    void giveUpNames();

    // The specifier without its suffix, and "#thread".
    static SoString createThreadSpecifier(const SoString& specifier);
    // The thread of the current context; null without.
    static TevoroTalkThread* getMainThread();

    // Serves another context; takes a new name if that context has another one. Always true.
    bool setContext(TevoroTalkContext* context);
    // Takes the number that `appSpecifier` has, if its port is called like it otherwise. False if
    // somebody else has that name: then it has no port, but for the last attempt, which takes
    // whatever number is free.
    bool follow(const SoString& appSpecifier, bool isLast);
    // The name of its port; empty while it has none.
    SoString getSpecifier() const;

    // -1 if there is no such key.
    long locateKey(const SoString& key) const;
    // Valid until the key is removed.
    TevoroTalk::MsgHandler* findHandler(const SoString& key) const;
    // Empty if the key is missing. "STATUS" is "BUSY" if the application has not pumped for ten
    // times its usual interval.
    SoString getValueForKey(const SoString& key) const;
    // An empty value removes the key and its handler. False for an empty key.
    bool setKeyValuePair(const SoString& key, const SoString& value);
    // The same for "STATUS", which every pump sets twice.
    void setStatus(const char* value);
    // Takes ownership if it returns true. A missing key is added, with its own text as value.
    bool setHandler(const SoString& key, TevoroTalk::MsgHandler* handler);
    // Removes the key after that many seconds (0: never), and gives its handler back to the caller.
    // False if the key is missing.
    bool setTimeout(const SoString& key, std::int32_t seconds);
    bool isIdle() const;

    // Asks another process. Returns its answer, or the word that says why there is none.
    SoString ping(const SoString& target,
        const SoString& command,
        std::int32_t timeout,
        const SoString* body) const;
    bool sendResponse(const TevoroTalk::Message& incoming, const SoString& reply);

    void appendDiagnostics(SoString& out, const SoString& path) const;

private:
    class PingData final : public SoHeap {
    public:
        ~PingData() override;

        SoString key;
        SoString value;
        TevoroTalk::MsgHandler* handler = nullptr; // owned
        std::int64_t expires = 0; // seconds since 1970; 0 for never
        std::int64_t shift = 0; // of the clock when that was set, see ClockWatch
    };

    // A text of which questions are left.
    struct Rest {
        SoString text;
        long at = 0;
    };

    void letPumpsPass() const;
    void fillStore();
    void requestStop();
    void openStream(const SoString& name);
    void notePortName(const SoString& name);
    void adopt(const SoString& name, const std::function<InterAppStream*()>& open)
        TEVOROTALK_REQUIRES(this);
    // The one that it was made for; false when it cannot be had.
    bool openOwnStream();
    void runLocked() TEVOROTALK_REQUIRES(this);
    void readPings() TEVOROTALK_REQUIRES(this);
    bool sendAnswer(const SoString& target, const SoString& reply, SoString& body);
    bool answerPings(SoString& text, long& at) TEVOROTALK_REQUIRES(this);
    bool canReadPings() const TEVOROTALK_REQUIRES(this);
    void answerPing(TevoroTalk::Message& message) TEVOROTALK_REQUIRES(this);
    bool sendAnswer(const TevoroTalk::Message& message) TEVOROTALK_REQUIRES(this);
    void serveInstances() TEVOROTALK_REQUIRES(this);
    void removeExpiredPingData();
    void beIdle() TEVOROTALK_REQUIRES(this);
    void notePump(std::string_view value) TEVOROTALK_REQUIRES(this);
    double sinceLastPump() const TEVOROTALK_REQUIRES(this);
    bool hasStalled() const TEVOROTALK_REQUIRES(this);
    PingData* find(std::string_view key) const TEVOROTALK_REQUIRES(this);
    bool hasUnreadTexts() const;
    bool isPumpedByApplication() const TEVOROTALK_REQUIRES(this);
    void watchInstances() TEVOROTALK_REQUIRES(this);
    void keepNames() TEVOROTALK_REQUIRES(this);

    std::atomic<bool> m_stopRequested{false};
    std::atomic<int> m_waitingPumps{0}; // for the lock of this thread
    SoString m_threadSpecifier TEVOROTALK_GUARDED_BY(this);
    mutable Pt::Lock m_portNameLock;
    SoString m_portName TEVORO_GUARDED_BY(m_portNameLock); // empty while there is no port
    TevoroTalkContext* m_context TEVOROTALK_GUARDED_BY(this);
    InterAppStream* m_stream TEVOROTALK_GUARDED_BY(this) = nullptr;
    SoVector<PingData> m_pingData TEVOROTALK_GUARDED_BY(this);
    double m_avgPumpInterval TEVOROTALK_GUARDED_BY(this) = 0; // milliseconds; 0 until measured
    double m_lastPump TEVOROTALK_GUARDED_BY(this) = 0; // milliseconds since 1970; 0 until the first
    std::int64_t m_lastPumpShift TEVOROTALK_GUARDED_BY(this) = 0; // of the clock at that time

    std::deque<Rest> m_rests TEVOROTALK_GUARDED_BY(this);
    std::chrono::steady_clock::time_point m_lastSlowAnswer TEVOROTALK_GUARDED_BY(this);
    std::chrono::steady_clock::time_point m_nextKeeping TEVOROTALK_GUARDED_BY(this);

    // What the loop waits on, used by the thread itself; missing if there are no descriptors left.
    struct Waits;
    std::unique_ptr<Waits> m_waits;
};

// Whether other processes may only read that key.
bool isPingReadOnly(const SoString& key);

} // namespace ScObjects
