#include "messaging/mailbox/QueuedMessage.h"

#include <cstring>

namespace ScObjects::TevoroTalkData {

using Message = TevoroTalk::Message;

bool isWatcher(const Message& message)
{
    return message.type == kIgnore;
}

bool matches(const Message& message, std::uint32_t number)
{
    return number == QK_INVALID_MESSAGE_NUMBER || message.received == number
        || message.result == number || message.error == number;
}

std::int64_t deadlineOf(const Message& message)
{
    // Times and timeouts of messages are whatever their senders wrote.
    if (message.timeout <= 0 || message.timestamp <= 0
        || message.timestamp > kNever - message.timeout)
        return kNever;
    return message.timestamp + message.timeout;
}

void completeTimes(Message& message)
{
    if (message.timestamp == 0)
        message.timestamp = TevoroTalkUtils::getTimeSeconds();
    if (message.timeout == 0)
        message.timeout = kQueueLifetime;
}

std::size_t bytesOf(const Message& message)
{
    std::size_t bytes = 0;
    for (const SoString* text : {&message.target,
             &message.sender,
             &message.type,
             &message.responseRequest,
             &message.version,
             &message.body})
        bytes += text->view().size();
    for (const auto* header = message.headers; header != nullptr; header = header->next)
        bytes += header->name.view().size() + header->value.view().size();
    return bytes;
}

bool watchesFor(const Message& message, std::uint32_t serialNumber)
{
    return message.serialNumber == serialNumber && message.timeout > 0 && isWatcher(message)
        && message.responseRequest == QK_TIMEOUT && message.target == message.sender;
}

bool hasTimedOut(const Message& message, std::int64_t now)
{
    return message.timeout == 0 ? isWatcher(message) : now >= deadlineOf(message);
}

bool notifySender(const Message& message, const SoString& word, const SoString& diagnosticsRoot)
{
    // Words are searched for: what is between them does not matter.
    if (std::strstr(message.responseRequest, word) == nullptr)
        return false;
    if (message.getUserHeaderValue(kTimeoutDetector) == "SENDER")
        return false;
    Message notice;
    notice.target = message.sender;
    notice.sender = message.target;
    if (message.version.isEmpty() || message.version == "1.0") {
        notice.type = message.type;
        notice.serialNumber = Message::getNextSerialNumber(nullptr);
    } else {
        notice.serialNumber = message.serialNumber;
        notice.type = word;
        if (notice.isUserType())
            notice.type << message.type;
    }
    TevoroTalkUtils::logMessage("REMOVING MSG - NOTIFYING SENDER", notice, false);
    forwardStep(
        message, [&] { return diagnosticsRoot; }, "timed out");
    const TevoroTalk* const instance = TevoroTalk::get(nullptr);
    return instance != nullptr && instance->send(notice, false, 0, nullptr);
}

} // namespace ScObjects::TevoroTalkData
