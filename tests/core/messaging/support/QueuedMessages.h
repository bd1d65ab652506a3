#pragma once

#include "core/messaging/support/MessagingFixture.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/mailbox/MessageQueue.h"

#include <memory>
#include <vector>

namespace test {

using QueuedMessage = ScObjects::TevoroTalk::Message;

inline constexpr std::uint32_t kAny = ScObjects::QK_INVALID_MESSAGE_NUMBER;

inline std::int64_t now()
{
    return ScObjects::TevoroTalkUtils::getTimeSeconds();
}

// To self-1.0, from asker-1.0; runs out in an hour.
inline QueuedMessage* newMessage(std::uint32_t number, const char* type = "Own")
{
    auto* const message = new QueuedMessage;
    message->target = "self-1.0";
    message->sender = "asker-1.0";
    message->type = type;
    message->serialNumber = number;
    message->timeout = 3600;
    return message;
}

inline QueuedMessage* newExpired(std::uint32_t number)
{
    QueuedMessage* const message = newMessage(number);
    message->timestamp = now() - 100;
    message->timeout = 50;
    message->responseRequest = "Timeout";
    return message;
}

inline QueuedMessage* newWatcher(std::uint32_t number)
{
    QueuedMessage* const message = newMessage(number, "Ignore");
    message->target = "asker-1.0";
    message->responseRequest = "Timeout";
    return message;
}

using Numbers = std::vector<std::uint32_t>;

class MessageQueueFixture : public MessagingFixture {
protected:
    static std::unique_ptr<QueuedMessage> next(
        ScObjects::TevoroTalkData::MessageQueue& queue, std::uint32_t number = kAny)
    {
        return std::unique_ptr<QueuedMessage>(queue.getNextMessage(number));
    }

    // All that is left, in order; watchers too, as no number matches theirs.
    static Numbers takeAll(ScObjects::TevoroTalkData::MessageQueue& queue)
    {
        Numbers numbers;
        while (const auto message = next(queue, 12345))
            numbers.push_back(message->serialNumber);
        return numbers;
    }

    ScObjects::TevoroTalkData::MessageQueue queue;
};

} // namespace test
