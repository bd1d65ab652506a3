// The handlers behind the keys of the ping store. A question names a key; what one process may ask
// of another is exactly what is in the other's store.
//
// They run on the thread of the bus, under its lock, and write their answer to `result`; an empty
// answer is not sent. "SEE BODY" says that the answer is in the message's body.
#pragma once

#include "messaging/Message.h"
#include "messaging/MsgHandler.h"

#include <chrono>

namespace ScObjects {

class TevoroTalkThread;

class ThreadMsgHandler : public TevoroTalk::MsgHandler {
public:
    explicit ThreadMsgHandler(TevoroTalkContext* context);

    // Answers with the type of the handler, and hands the message to the application.
    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override;

protected:
    // Sends the message on to the main instance, as a message of this handler's type. Always 0.
    long sendToMainInstance(TevoroTalk::Message& message) const;

    TevoroTalkContext* context; // borrowed
};

// Every message that arrives at the thread's port.
class ThreadMainMsgHandler final : public ThreadMsgHandler {
public:
    ThreadMainMsgHandler(TevoroTalkContext* context, TevoroTalkThread* thread);

    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override;

private:
    long answerRequest(const SoString& request, TevoroTalk::Message& message, SoString* result);
    SoString writeKey(const SoString& key, const SoString& value);
    void subscribe(const SoString& key, const SoString& subscriber) const;

    SoString pingType;
    SoString echoRequestHeader;
    SoString echoResponseHeader;
    TevoroTalkThread* thread; // borrowed: it owns this
};

// A launched application says that it has come up.
class ThreadLaunchedMsgHandler final : public ThreadMsgHandler {
public:
    using ThreadMsgHandler::ThreadMsgHandler;
    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override;
    const char* getMsgType() const override;
};

// The whole tree as a report for people.
class ThreadDiagnosticsMsgHandler final : public ThreadMsgHandler {
public:
    using ThreadMsgHandler::ThreadMsgHandler;
    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override;
    const char* getMsgType() const override;
};

// Parts of the tree as lines: those whose names ("context", "thread", "messages", "log",
// "connector") occur in the message's body; all but the log for an empty one and for "all".
class ThreadInfoMsgHandler final : public ThreadMsgHandler {
public:
    using ThreadMsgHandler::ThreadMsgHandler;
    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override;
    const char* getMsgType() const override;
};

// Hangs on the main instance, and sends to a subscriber what is forwarded under its key. One that
// takes nothing holds its sender up for as long as a send may take, and then gets nothing for a
// minute.
class ThreadForwardMsgHandler final : public ThreadMsgHandler {
public:
    ThreadForwardMsgHandler(
        TevoroTalkContext* context, const SoString& forwardKey, const SoString& subscriber);

    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override;
    const char* getMsgType() const override;

private:
    SoString target;
    SoString key;
    std::chrono::steady_clock::time_point m_silentUntil; // calls come one after another
};

} // namespace ScObjects
