// What a process shows of its traffic: copies of messages for a subscriber, and the log.
#include "messaging/wire/Forwarding.h"

#include "messaging/Message.h"
#include "messaging/MsgHandler.h"
#include "messaging/TevoroTalkContext.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/mailbox/InterAppStream.h"
#include "messaging/mailbox/PrivateData.h"
#include "messaging/process/TevoroTalkThread.h"
#include "messaging/runtime/SoDebug.h"
#include "platform/common/services/ProgramEnvironment.h"

#include <cstring>
#include <mutex>

namespace ScObjects {

using namespace TevoroTalkData;

namespace {

using Message = TevoroTalk::Message;

constexpr const char* kLogTextType = "TevoroTalkUtils::logText";

// Who gets what is forwarded under that key; null when nobody does.
TevoroTalk::MsgHandler* findSubscriber(const char* key)
{
    // The counter first: every message of the process asks, and nearly always there is no
    // subscriber.
    TevoroTalk* const instance = hasForwardHandlers() ? TevoroTalk::get(nullptr) : nullptr;
    return instance != nullptr ? instance->findHandler(key, QK_INVALID_MESSAGE_NUMBER) : nullptr;
}

void setNumberHeader(Message& entry, const char* name, std::uint32_t number)
{
    if (number != QK_INVALID_MESSAGE_NUMBER)
        entry.setHeader(name, static_cast<unsigned long>(number));
}

void describe(Message& entry, const char* reason, const Message& message)
{
    if (reason != nullptr)
        entry.setHeader("Reason", reason);
    entry.setHeader(QK_TARGET, message.target);
    entry.setHeader(QK_SENDER, message.sender);
    entry.setHeader(QK_TYPE, message.type);
    entry.setHeader("Serial Number", static_cast<unsigned long>(message.serialNumber));
    entry.setHeader(QK_TIMESTAMP, static_cast<long>(message.timestamp));
    entry.setHeader(QK_TIMEOUT, static_cast<long>(message.timeout));
    setNumberHeader(entry, QK_RECEIVED, message.received);
    setNumberHeader(entry, QK_RESULT, message.result);
    setNumberHeader(entry, QK_ERROR, message.error);
    for (const auto* header = message.headers; header != nullptr; header = header->next) {
        SoString name = "Header_";
        name << header->name;
        entry.setHeader(name, header->value);
    }
}

void publish(TevoroTalkContext& context,
    const TevoroTalk& instance,
    const char* reason,
    const Message& message,
    const SoString& text)
{
    const SoString name = instance.getAppName();
    Message entry;
    entry.type = kLog;
    entry.target = name;
    entry.sender = name;
    entry.body = text;
    describe(entry, reason, message);
    entry.serialNumber = context.getNextSerialNumber();
    context.setLogging(false); // or what follows would log itself
    // An entry is a message to the process itself, sent from its second name: the port of the main
    // instance queues it like any other.
    const InterAppStream* const stream = InterAppStream::get();
    if (stream != nullptr)
        stream->sendMessageUnlessSilent(kBriefPatience, entry);
    SoString path = "/log/";
    path << name;
    TevoroTalkUtils::forwardMessage(message, "FWDLOGS", path, reason);
    context.setLogging(true);
}

// An entry of the log as it stands, any other message with what is known of it.
SoString textOf(const char* reason, const Message& message, bool withBody)
{
    if (message.type == kLogTextType)
        return message.body;
    SoString text;
    message.logToString(reason != nullptr ? reason : "", text, withBody);
    return text;
}

} // namespace

std::recursive_mutex& TevoroTalkData::forwardingLock()
{
    // Recursive: a copy that is sent may be logged, and entries of the log are forwarded as well.
    static constinit std::recursive_mutex lock;
    return lock;
}

bool TevoroTalkData::isForwardingKey(std::string_view key)
{
    return key == TevoroTalkThread::QK_FWDMESSAGES || key == TevoroTalkThread::QK_FWDLOGS
        || key == TevoroTalkThread::QK_FWDERRORS;
}

bool TevoroTalkData::hasSubscriber(const char* key)
{
    return findSubscriber(key) != nullptr;
}

bool TevoroTalkUtils::forwardMessage(
    const Message& message, const SoString& key, const SoString& path, const SoString& label)
{
    // Copies and log entries must not be copied again, and an empty script is only the question
    // whether somebody runs.
    if (message.type == kDebug || message.type == kLog
        || (message.type == kQuillscriber && message.body.isEmpty()))
        return false;
    // The subscriber must not be deleted while it is called. Taken before the instance's handlers
    // are searched, in the order of docs/bus.md.
    const std::lock_guard lock(forwardingLock());
    TevoroTalk::MsgHandler* const subscriber = findSubscriber(key);
    if (subscriber == nullptr)
        return false;
    Message copy;
    copy.setHeader(kMsgRoot, path);
    message.appendDiagnostics(copy.body, path);
    // The step goes last: a reader learns there what happened to the message above.
    if (!label.isEmpty())
        copy.body << path << "/msg" << message.serialNumber << ";1;msg["
                  << getTimeString(&message.timestamp) << "];" << label << ";\n";
    return callHandler(*subscriber, TevoroTalk::MsgHandler::kOther, copy, nullptr) == 0;
}

void TevoroTalkUtils::logMessage(const char* reason, const Message& message, bool withBody)
{
    TevoroTalkContext* const context = TevoroTalk::getSharedContext();
    if (context == nullptr || !context->isLogging() || message.type == kLog
        || (message.type == kQuillscriber && message.body.isEmpty()))
        return;
    const SoString text = textOf(reason, message, withBody);
    if (isDebugging())
        debugStr(text);
    if (const TevoroTalk* const instance = context->getMainInstance())
        publish(*context, *instance, reason, message, text);
}

void TevoroTalkUtils::logText(const SoString& text)
{
    Message message;
    message.type = kLogTextType;
    message.body << "QK LOG ------------------\n" << text;
    message.serialNumber = 0;
    logMessage("LOG", message, true);
}

bool TevoroTalkUtils::isLoggingAskedFor()
{
    // Exactly "1", so that other values stay free.
    return Pt::environmentVariable("TEVOROTALK_LOG") == "1";
}

} // namespace ScObjects
