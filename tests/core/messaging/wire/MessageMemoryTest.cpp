#include "core/messaging/support/FailingHeap.h"
#include "core/messaging/support/MessagingFixture.h"
#include "messaging/Message.h"

#include <string>

namespace {

using ScObjects::SoString;
using Message = ScObjects::TevoroTalk::Message;
using test::FailingHeap;

constexpr std::size_t kMaxMemory = 100'000;

class MessageMemoryTest : public test::MessagingFixture {
protected:
    // A message with a body of that size, behind its head.
    static std::string text(const std::string& lines, std::size_t size)
    {
        return "Target:self-1.0\nSender:asker-1.0\n" + lines
            + "Content-Length:" + std::to_string(size) + "\n\n" + std::string(size, 'x');
    }
};

} // namespace

TEST_F(MessageMemoryTest, IsNotWholeWithoutMemoryForItsBody)
{
    // With another behind it, so that the body cannot take the text over.
    SoString both(text("", 2 * kMaxMemory) + text("", 4));
    const long length = both.length();
    const FailingHeap heap(kMaxMemory);
    Message message;
    const long next = message.readFrom(both, 0);
    EXPECT_FALSE(message.isWhole());
    // What follows is found all the same.
    Message second;
    EXPECT_EQ(second.readFrom(both, next), length);
    EXPECT_TRUE(second.isWhole());
    EXPECT_EQ(second.body, "xxxx");
    // The object may be used again.
    EXPECT_EQ(message.readFrom(both, next), length);
    EXPECT_TRUE(message.isWhole());
}

TEST_F(MessageMemoryTest, TakesOverATextThatItCouldNotCopy)
{
    SoString whole(text("", 2 * kMaxMemory));
    const FailingHeap heap(kMaxMemory);
    Message message;
    message.readFrom(whole, 0);
    EXPECT_TRUE(message.isWhole());
    EXPECT_EQ(message.body.view().size(), 2 * kMaxMemory);
}

TEST_F(MessageMemoryTest, IsNotWholeWithoutMemoryForItsHeaders)
{
    const std::string read = text("Name:value\n", 0);
    {
        const FailingHeap heap(64);
        Message message;
        message.readFromString(read.data(), read.data() + read.size());
        EXPECT_FALSE(message.isWhole());
        EXPECT_EQ(message.headers, nullptr);
        const Message copy(message); // NOLINT(performance-unnecessary-copy-initialization)
        EXPECT_FALSE(copy.isWhole());
    }
    const std::string large = text("Name:" + std::string(2 * kMaxMemory, 'v') + "\n", 0);
    const FailingHeap heap(kMaxMemory);
    Message message;
    message.readFromString(large.data(), large.data() + large.size());
    EXPECT_FALSE(message.isWhole());
}

TEST_F(MessageMemoryTest, IsNotWrittenWithoutMemoryForIt)
{
    Message message;
    message.target = "self-1.0";
    message.sender = "asker-1.0";
    message.body = SoString(std::string(2 * kMaxMemory, 'x'));
    SoString out("before");
    {
        const FailingHeap heap(kMaxMemory);
        EXPECT_FALSE(message.writeToString(out));
        EXPECT_EQ(out.view(), "before");
        const Message copy(message);
        EXPECT_FALSE(copy.writeHeadToString(out)) << "half a message is none";
        EXPECT_EQ(out.view(), "before");
    }
    out.shrink(0);
    EXPECT_TRUE(message.writeToString(out));
}
