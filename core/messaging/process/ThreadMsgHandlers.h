// The handlers of the keys in the ping store. A question names a key: a process can ask another one
// only for what is in its store.
//
// They run on the thread of the bus, under its lock, and write their answer to `result`. An empty
// answer is not sent. "SEE BODY" means that the answer is in the message's body.
#pragma once

#include "messaging/Message.h"
#include "messaging/MsgHandler.h"

namespace ScObjects {

class TevoroTalkThread;

class ThreadMsgHandler : public TevoroTalk::MsgHandler {
public:
    explicit ThreadMsgHandler(TevoroTalkContext* context);

    // Answers with the type of the handler, and passes the message to the application.
    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override;

protected:
    // Sends the message on to the main instance, as a message of this handler's type. Always 0.
    long sendToMainInstance(TevoroTalk::Message& message) const;

    TevoroTalkContext* m_context; // borrowed
};

// Handles every message that arrives at the thread's port.
class ThreadMainMsgHandler final : public ThreadMsgHandler {
public:
    ThreadMainMsgHandler(TevoroTalkContext* context, TevoroTalkThread* thread);

    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override;

private:
    long answerRequest(const SoString& request, TevoroTalk::Message& message, SoString* result);
    SoString writeKey(const SoString& key, const SoString& value);
    void subscribe(const SoString& key, const SoString& subscriber) const;

    SoString m_pingType;
    SoString m_echoRequestHeader;
    SoString m_echoResponseHeader;
    TevoroTalkThread* m_thread; // borrowed: it owns this
};

// Handles the notice of a launched application that it is up.
class ThreadLaunchedMsgHandler final : public ThreadMsgHandler {
public:
    using ThreadMsgHandler::ThreadMsgHandler;
    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override;
    const char* getMsgType() const override;
};

// Answers with the whole tree, as a report for people.
class ThreadDiagnosticsMsgHandler final : public ThreadMsgHandler {
public:
    using ThreadMsgHandler::ThreadMsgHandler;
    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override;
    const char* getMsgType() const override;
};

// Answers with parts of the tree as lines: those whose names ("context", "thread", "messages",
// "log", "connector") occur in the message's body. An empty body and "all" mean all but the log.
class ThreadInfoMsgHandler final : public ThreadMsgHandler {
public:
    using ThreadMsgHandler::ThreadMsgHandler;
    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override;
    const char* getMsgType() const override;
};

// Added to the main instance; sends to a subscriber what is forwarded under its key. A subscriber
// that does not read holds a send up for a moment, and then loses what finds no room at its port.
class ThreadForwardMsgHandler final : public ThreadMsgHandler {
public:
    ThreadForwardMsgHandler(
        TevoroTalkContext* context, const SoString& forwardKey, const SoString& subscriber);

    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override;
    const char* getMsgType() const override;

private:
    bool isThere();

    SoString m_target;
    SoString m_key;
    bool m_isSilent = false; // calls come one after another
};

} // namespace ScObjects
