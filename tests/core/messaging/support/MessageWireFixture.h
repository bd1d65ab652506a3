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
inline constexpr char const* kHead = "@QK>Version:2.05\nTarget:t\nSender:s\n";

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
    std::vector<char> const block(text.begin(), text.end());
    char const* const end = block.data() + block.size();
    char const* const next = result.message->readFromString(block.data(), end);
    if (next < block.data() || next > end)
        throw std::out_of_range("read past the text");
    result.rest.assign(next, end);
    return result;
}

struct ReadingRow {
    char const* name;
    std::string text;
    std::string expected; // as described() says it
};

inline void expectRead(std::vector<ReadingRow> const& rows)
{
    for (ReadingRow const& row : rows) {
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
    static std::string written(Message const& message)
    {
        ScObjects::SoString text;
        EXPECT_TRUE(message.writeToString(text));
        return bytes(text);
    }
    // Without the lines whose content the moment and the process decide.
    static std::string fixedLines(Message const& message)
    {
        return without(without(written(message), "Timestamp"), "Sender-ID");
    }
    static std::string withDigest(std::string const& text)
    {
        return "@QK>MD5:" + bytes(ScObjects::TevoroTalkUtils::getMD5(soString(text))) + "\n" + text;
    }
    // Processor time, which other processes do not lengthen.
    static double secondsFor(std::function<void()> const& work)
    {
        std::clock_t const start = std::clock();
        work();
        return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    }
};

} // namespace test
