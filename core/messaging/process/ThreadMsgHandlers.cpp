#include "messaging/process/ThreadMsgHandlers.h"

#include "messaging/Specifier.h"
#include "messaging/TevoroTalkContext.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/mailbox/InterAppStream.h"
#include "messaging/process/RunningState.h"
#include "messaging/process/TevoroTalkThread.h"
#include "messaging/wire/Forwarding.h"
#include "registry/TevoroTalkConnector.h"

#include <chrono>
#include <cstring>

namespace ScObjects {

using namespace TevoroTalkData;
using Message = TevoroTalk::Message;
using Words = TevoroTalkThread;

namespace {

// One line of the tree for a node with children.
void appendNode(SoString& out, const SoString& path, const SoString& label, const SoString& value)
{
    out << path << ";1;" << label << ";" << value << ";\n";
}

SoString childPath(const char* parent, const SoString& path)
{
    SoString result(parent);
    result << path;
    return result;
}

// The queues of all instances under `root`.
void appendInstances(
    SoString& out, const TevoroTalkContext& context, const char* root, const char* label)
{
    const SoString specifier = context.getAppSpecifier();
    const SoString base = childPath("/", specifier);
    const SoString path = childPath(root, base);
    SoString count;
    count << context.getNumberOfInstances();
    appendNode(out, root, label, "");
    appendNode(out, path, specifier, count);
    for (long i = 0; i < context.getNumberOfInstances(); ++i)
        if (const TevoroTalk* const instance = context.getNthInstance(i))
            instance->appendDiagnostics(out, path);
}

// Makes it a copy for the subscriber, with the key that it asked for.
void address(Message& message, const SoString& target, const SoString& sender, const SoString& key)
{
    message.target = target;
    message.sender = sender;
    message.type = kDebug;
    message.timeout = 0;
    message.setHeader(kCommand, key);
}

// Makes it a message to an instance of this process, with a type that its handlers know.
void readdress(Message& message, const SoString& target, const char* type)
{
    message.target = target;
    message.type = type;
    message.timeout = 0;
    message.serialNumber = message.received;
    message.received = 0;
    message.removeHeader(Words::QK_ECHO_REQUEST);
    message.removeHeader(Words::QK_ECHO_RESPONSE);
}

} // namespace

ThreadMsgHandler::ThreadMsgHandler(TevoroTalkContext* context)
    : m_context(context)
{
}

long ThreadMsgHandler::handleMessage(int, Message& message, SoString* result)
{
    if (result != nullptr)
        *result = getMsgType();
    return sendToMainInstance(message);
}

long ThreadMsgHandler::sendToMainInstance(Message& message) const
{
    const TevoroTalk* const instance =
        m_context != nullptr ? m_context->getMainInstance() : nullptr;
    if (instance == nullptr)
        return 0;
    readdress(message, instance->getAppName(), getMsgType());
    instance->send(message, true, 0, nullptr);
    return 0;
}

ThreadMainMsgHandler::ThreadMainMsgHandler(TevoroTalkContext* context, TevoroTalkThread* thread)
    : ThreadMsgHandler(context)
    , m_pingType(Words::QK_PINGTYPE)
    , m_echoRequestHeader(Words::QK_ECHO_REQUEST)
    , m_echoResponseHeader(Words::QK_ECHO_RESPONSE)
    , m_thread(thread)
{
}

long ThreadMainMsgHandler::handleMessage(int, Message& message, SoString* result)
{
    // The port is for pings alone.
    if (message.type != m_pingType)
        return 0;
    const SoString request = message.getUserHeaderValue(m_echoRequestHeader);
    if (!request.isEmpty())
        return answerRequest(request, message, result);
    // An answer that came back on this port.
    const SoString response = message.getUserHeaderValue(m_echoResponseHeader);
    MsgHandler* const handler = response.isEmpty() ? nullptr : m_thread->findHandler(response);
    return handler != nullptr && handler != this ? handler->handleMessage(kResult, message, nullptr)
                                                 : 0;
}

long ThreadMainMsgHandler::answerRequest(
    const SoString& request, Message& message, SoString* result)
{
    SoString reply;
    const std::size_t mark = request.view().find('=');
    if (mark != std::string_view::npos) {
        reply = writeKey(
            SoString(request.view().substr(0, mark)), SoString(request.view().substr(mark + 1)));
    } else {
        MsgHandler* const handler = m_thread->findHandler(request);
        // This handler itself has no answer of its own.
        if (handler != nullptr && handler != this)
            return handler->handleMessage(kRequest, message, result);
        if (handler == nullptr)
            reply = m_thread->getValueForKey(request);
        if (reply.isEmpty())
            reply = Words::QK_UNDEFINED;
    }
    if (!reply.isEmpty() && result != nullptr)
        *result = reply;
    return 0;
}

// Others may only subscribe; whoever tries to write another key gets no answer.
SoString ThreadMainMsgHandler::writeKey(const SoString& key, const SoString& value)
{
    if (isPingReadOnly(key))
        return {};
    subscribe(key, value);
    m_thread->setKeyValuePair(key, value);
    return value;
}

void ThreadMainMsgHandler::subscribe(const SoString& key, const SoString& subscriber) const
{
    TevoroTalk* const instance = m_context != nullptr ? m_context->getMainInstance() : nullptr;
    if (instance == nullptr)
        return;
    // The former subscriber may be in a call on another thread; it is deleted only after that has
    // returned.
    const std::lock_guard lock(TevoroTalkData::forwardingLock());
    if (subscriber.isEmpty())
        delete instance->removeHandler(key, QK_INVALID_MESSAGE_NUMBER);
    else
        delete instance->changeHandler(new ThreadForwardMsgHandler(m_context, key, subscriber));
}

long ThreadLaunchedMsgHandler::handleMessage(int, Message& message, SoString* result)
{
    // The parameters were left under the name without instance and suffix.
    TevoroTalk::Specifier launched(message.sender, false);
    launched.setSuffix("");
    launched.setInstance("");
    SoString key = "LAUNCHPARAMS:";
    key << launched;
    if (m_context != nullptr && m_context->getThread() != nullptr)
        m_context->getThread()->setKeyValuePair(key, "");
    if (result != nullptr)
        *result = Words::QK_LAUNCHED;
    return 0;
}

const char* ThreadLaunchedMsgHandler::getMsgType() const
{
    return Words::QK_LAUNCHED;
}

long ThreadDiagnosticsMsgHandler::handleMessage(int, Message& message, SoString* result)
{
    if (result == nullptr)
        return 0;
    *result = Words::QK_SEEBODY;
    TevoroTalk::getDiagnostics(message.body, true);
    return 0;
}

const char* ThreadDiagnosticsMsgHandler::getMsgType() const
{
    return Words::QK_DIAGNOSTICS;
}

long ThreadInfoMsgHandler::handleMessage(int, Message& message, SoString* result)
{
    if (result == nullptr || m_context == nullptr)
        return 0;
    *result = Words::QK_SEEBODY;
    const SoString specifier = m_context->getAppSpecifier();
    const SoString base = childPath("/", specifier);
    SoString what;
    // The body is the question now and the answer afterwards.
    what.swap(message.body);
    if (what.isEmpty() || what == "all")
        what = "context,thread,messages,connector";
    const auto isAsked = [&what](const char* word) { return std::strstr(what, word) != nullptr; };
    SoString& out = message.body;
    const TevoroTalkThread& thread = *m_context->getThread();
    const SoString status = thread.getValueForKey(Words::QK_STATUS);
    if (isAsked("context")) {
        appendNode(out, base, specifier, status);
        m_context->appendDiagnostics(out, base);
    }
    if (isAsked("thread")) {
        appendNode(out, base, specifier, status);
        thread.appendDiagnostics(out, base);
    }
    if (isAsked("messages"))
        appendInstances(out, *m_context, "/messages", "Messages");
    if (isAsked("log"))
        appendInstances(out, *m_context, "/log", "Log");
    const TevoroTalkConnector* const connector = m_context->getConnector();
    if (isAsked("connector") && connector != nullptr)
        connector->appendDiagnostics(out, "");
    return 0;
}

const char* ThreadInfoMsgHandler::getMsgType() const
{
    return Words::QK_INFO;
}

ThreadForwardMsgHandler::ThreadForwardMsgHandler(
    TevoroTalkContext* context, const SoString& forwardKey, const SoString& subscriber)
    : ThreadMsgHandler(context)
    , m_target(subscriber)
    , m_key(forwardKey)
{
}

long ThreadForwardMsgHandler::handleMessage(int, Message& message, SoString*)
{
    const TevoroTalk* const instance =
        m_context != nullptr ? m_context->getMainInstance() : nullptr;
    if (instance == nullptr || m_target.isEmpty() || !isThere())
        return 0;
    address(message, m_target, instance->getAppName(), m_key);
    m_isSilent = !instance->sendCopy(message);
    return 0;
}

// The test leaves a text at the subscriber's port. One that does not read is sent to without it,
// and without waiting: what finds room there shows that it reads again.
bool ThreadForwardMsgHandler::isThere()
{
    if (m_isSilent)
        return true;
    const auto start = std::chrono::steady_clock::now();
    const bool isRunning = isRunningWithin(kBriefPatience, TevoroTalk::Specifier(m_target, false));
    m_isSilent = std::chrono::steady_clock::now() - start >= kBriefPatience;
    return isRunning;
}

const char* ThreadForwardMsgHandler::getMsgType() const
{
    return m_key;
}

} // namespace ScObjects
