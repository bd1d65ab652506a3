#pragma once

#include "core/messaging/support/MessageText.h"
#include "core/messaging/support/MessagingFixture.h"
#include "messaging/TevoroTalkUtils.h"

#include <ctime>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace test {

// The lines of a message with a target and a sender.
inline constexpr const char* kHead = "@QK>Version:2.05\nTarget:t\nSender:s\n";

// A message as it was read, and what was left of the text.
struct ReadMessage {
    std::unique_ptr<ScObjects::TevoroTalk::Message> message =
        std::make_unique<ScObjects::TevoroTalk::Message>();
    std::string rest;

    std::string what() const { return described(*message); }
};

// Reads from a block of exactly that size, so that a byte too far is seen. A message that says no
// time has none.
inline ReadMessage readMessage(std::string_view text)
{
    ReadMessage result;
    result.message->timestamp = 0;
    const std::vector<char> block(text.begin(), text.end());
    const char* const end = block.data() + block.size();
    const char* const next = result.message->readFromString(block.data(), end);
    if (next < block.data() || next > end)
        throw std::out_of_range("read past the text");
    result.rest.assign(next, end);
    return result;
}

struct ReadingRow {
    const char* name;
    std::string text;
    std::string expected; // as described() says it
};

inline void expectRead(const std::vector<ReadingRow>& rows)
{
    for (const ReadingRow& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(readMessage(row.text).what(), row.expected);
    }
}

class MessageWireFixture : public MessagingFixture {
protected:
    using Message = ScObjects::TevoroTalk::Message;

    MessageWireFixture() { setSalt("0123456789ABCDEF"); }

    // With a target and a sender.
    static void address(Message& message)
    {
        message.target = "t";
        message.sender = "s";
    }
    static std::string written(const Message& message)
    {
        ScObjects::SoString text;
        EXPECT_TRUE(message.writeToString(text));
        return bytes(text);
    }
    // Without the lines whose content the moment and the process decide.
    static std::string fixedLines(const Message& message)
    {
        return without(without(written(message), "Timestamp"), "Sender-ID");
    }
    static std::string withDigest(const std::string& text)
    {
        return "@QK>MD5:" + bytes(ScObjects::TevoroTalkUtils::getMD5(soString(text))) + "\n" + text;
    }
    // Processor time, which other processes do not lengthen.
    static double secondsFor(const std::function<void()>& work)
    {
        const std::clock_t start = std::clock();
        work();
        return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    }
};

} // namespace test
