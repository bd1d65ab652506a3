#pragma once

#include "core/messaging/support/BusFixture.h"

#include <memory>
#include <string>

namespace test {

// An instance that gets messages, and the one who sends them and gets its answers.
class ReceivingFixture : public BusFixture {
protected:
    ReceivingFixture()
        : instance(start())
        , asker("asker-1.0", true)
    {
        Message::setAuthentication(false);
    }

    // A message from the asker to the instance: those lines, an empty line, the body.
    void post(const std::string& lines, const std::string& body = "body")
    {
        EXPECT_TRUE(asker.send("self-1.0", soString(text(lines, body))));
    }
    static std::string text(const std::string& lines, const std::string& body = "body")
    {
        return "@QK>Version:2.05\nTarget:self-1.0\nSender:asker-1.0\nSerial-Number:42\n" + lines
            + "Content-Length:" + std::to_string(body.size()) + "\n\n" + body;
    }

    // Pumps until that many messages were handled.
    void handle(std::size_t count)
    {
        EXPECT_TRUE(pumpUntil([&] { return inbox.size() >= count; }));
    }

    // The types of what the asker got.
    Words answers(std::size_t count)
    {
        Words types;
        while (types.size() < count) {
            const std::string got = received(asker, 1);
            if (got.empty())
                break;
            const char* const end = got.data() + got.size();
            for (const char* at = got.data(); at != end;) {
                Message message;
                at = message.readFromString(at, end);
                EXPECT_EQ(message.serialNumber, 42U);
                types.push_back(bytes(message.type));
            }
        }
        return types;
    }
    // All that the asker gets until that word came.
    std::string receivedUntil(const std::string& word)
    {
        std::string text;
        EXPECT_TRUE(pumpUntil([&] {
            if (asker.messagePending())
                text += received(asker, 1);
            return text.find(word) != std::string::npos;
        })) << text;
        return text;
    }
    // The one answer.
    std::unique_ptr<Message> answer()
    {
        const std::string got = received(asker, 1);
        auto message = std::make_unique<Message>();
        const char* const end = got.data() + got.size();
        EXPECT_EQ(message->readFromString(got.data(), end), end) << "more than one answer";
        return message;
    }

    TevoroTalk& instance;
    ScObjects::InterAppStream asker;
};

} // namespace test
