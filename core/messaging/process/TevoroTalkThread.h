// The thread of the bus: it holds a port of its own, answers the questions that arrive there
// (pings) also while the application is busy, moves the messages of all instances in and out, and
// keeps the ping store: keys and values that other processes can read.
//
// Owned by its context. Its lock guards the store, the pump times and the stream, and is held for a
// whole round, so that a handler called from there may call back; any thread may call its
// operations, and waits for the round to end. It waits on its own port, and on those of the
// instances that nobody has pumped for a while, for at most 100 milliseconds.
#pragma once

#include "messaging/Message.h"
#include "messaging/MsgHandler.h"
#include "messaging/Thread.h"
#include "messaging/mailbox/InterAppStream.h"
#include "platform/common/ports/Waiting.h"

#include <memory>
#include <string_view>

namespace ScObjects {

class TevoroTalkThread final : public Thread {
public:
    static char const* const QK_FWDMESSAGES;
    static char const* const QK_FWDLOGS;
    static char const* const QK_FWDERRORS;
    static char const* const QK_INFO;
    static char const* const QK_SEEBODY;
    static char const* const QK_DIAGNOSTICS;
    static char const* const QK_ISNOTINSTALLED;
    static char const* const QK_LAUNCHED;
    static char const* const QK_UNDEFINED;
    static char const* const QK_ISNOTRUNNING;
    static char const* const QK_NOERROR;
    static char const* const QK_INVALIDSPEC;
    static char const* const QK_MSGTOSTRINGERROR;
    static char const* const QK_NOINTERAPPSTREAM;
    static char const* const QK_PINGTYPE;
    static char const* const QK_PUMPING;
    static char const* const QK_IDLE;
    static char const* const QK_BUSY;
    static char const* const QK_STATUS;
    static char const* const QK_ECHO_RESPONSE;
    static char const* const QK_ECHO_REQUEST;
    static char const* const QK_NOP;
    static char const* const QK_MAIN;

    TevoroTalkThread(TevoroTalkContext* context, SoString const& specifier);
    ~TevoroTalkThread() override;

    void run() override;
    void wait(unsigned int milliseconds) override;
    // Ends the loop and waits for it.
    bool stop() override;

    // The specifier without its suffix, and "#thread".
    static SoString createThreadSpecifier(SoString const& specifier);
    // The thread of the current context; null without.
    static TevoroTalkThread* getMainThread();

    // Serves another context; takes a new name if that is called otherwise. Always true.
    bool setContext(TevoroTalkContext* context);
    // The name of its port; empty while it has none.
    SoString getSpecifier() const;

    // -1 when there is none.
    long locateKey(SoString const& key) const;
    // Valid until the key goes.
    TevoroTalk::MsgHandler* findHandler(SoString const& key) const;
    // Empty when the key is missing. For "STATUS" it says "BUSY" for an application that has not
    // pumped for ten times its usual pace.
    SoString getValueForKey(SoString const& key) const;
    // An empty value takes the key out, handler included. False for an empty key.
    bool setKeyValuePair(SoString const& key, SoString const& value);
    // The same for "STATUS", which every pump sets twice.
    void setStatus(char const* value);
    // Takes ownership if it answers true. A missing key is made, with its own text as value.
    bool setHandler(SoString const& key, TevoroTalk::MsgHandler* handler);
    // The key goes that many seconds from now, and its handler is the caller's again; 0 for never.
    // False when the key is missing.
    bool setTimeout(SoString const& key, std::int32_t seconds);
    bool isIdle() const;

    // One question to another process, and its answer or the word that says why there is none.
    SoString ping(SoString const& target,
        SoString const& command,
        std::int32_t timeout,
        SoString const* body) const;
    bool sendResponse(TevoroTalk::Message const& incoming, SoString const& reply);

    void appendDiagnostics(SoString& out, SoString const& path) const;

private:
    class PingData final : public SoHeap {
    public:
        ~PingData() override;

        SoString key;
        SoString value;
        TevoroTalk::MsgHandler* handler = nullptr; // owned
        std::int64_t expires = 0; // seconds since 1970; 0 for never
    };

    void fillStore();
    void openStream(SoString const& name);
    void runLocked();
    void readPings();
    void answerPing(TevoroTalk::Message& message);
    void serveInstances();
    void removeExpiredPingData();
    void beIdle();
    void notePump(std::string_view value);
    bool hasStalled() const;
    PingData* find(std::string_view key) const;
    bool hasUnreadTexts() const;
    bool isPumpedByApplication() const;
    void watchInstances();

    std::atomic<bool> m_stopRequested{false};
    SoString m_threadSpecifier;
    TevoroTalkContext* m_context;
    InterAppStream* m_stream = nullptr;
    SoVector<PingData> m_pingData;
    double m_avgPumpInterval = 0; // milliseconds; 0 until measured
    double m_lastPump = 0; // milliseconds since 1970; 0 until the first

    // What the loop waits on, used by the thread itself; missing without descriptors.
    struct Waits;
    std::unique_ptr<Waits> m_waits;
};

// Whether other processes may only read that key.
bool isPingReadOnly(SoString const& key);

} // namespace ScObjects
