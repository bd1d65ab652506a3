#include "core/messaging/support/FailingHeap.h"
#include "core/messaging/support/QueuedMessages.h"

namespace {

using test::FailingHeap;
using test::newExpired;
using test::newMessage;
using test::newWatcher;
using test::now;

class MessageQueueMemoryTest : public test::MessageQueueFixture { };

} // namespace

TEST_F(MessageQueueMemoryTest, LeavesWhatItHasNoPlaceForToTheCaller)
{
    const std::unique_ptr<test::QueuedMessage> message(newMessage(1));
    const std::unique_ptr<test::QueuedMessage> watcher(newWatcher(2));
    const FailingHeap heap(128);
    EXPECT_FALSE(queue.append(message.get()));
    EXPECT_FALSE(queue.append(watcher.get()));
    EXPECT_TRUE(queue.isEmpty());
    EXPECT_FALSE(queue.hasMessage());
    EXPECT_EQ(queue.bytes(), 0U);
}

TEST_F(MessageQueueMemoryTest, RefusesAMessageThatIsNotWholeAndSaysSo)
{
    const std::unique_ptr<test::QueuedMessage> message(newMessage(1));
    {
        const FailingHeap heap(1000);
        message->body = test::soString(std::string(5000, 'x'));
    }
    testing::internal::CaptureStderr();
    EXPECT_FALSE(queue.append(message.get()));
    EXPECT_FALSE(queue.append(message.get()));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
        "TevoroTalk: no memory for a text of 0 bytes, which is dropped\n"); // once a second
    EXPECT_TRUE(queue.isEmpty());
}

TEST_F(MessageQueueMemoryTest, GrowsByTheConstantWithoutMemoryForMore)
{
    for (std::uint32_t i = 0; i < 64; ++i)
        queue.append(newMessage(i));
    // Room for 96 pointers, not for 128; and for the next message.
    const std::unique_ptr<test::QueuedMessage> spare(newMessage(64));
    {
        const FailingHeap heap(96 * sizeof(void*));
        EXPECT_TRUE(queue.append(new test::QueuedMessage(*spare)));
    }
    EXPECT_EQ(queue.length(), 65);
}

TEST_F(MessageQueueMemoryTest, LosesWhatHasExpiredWithoutMemoryToTellOfIt)
{
    queue.append(newExpired(1));
    queue.append(newMessage(2));
    queue.append(newExpired(3));
    {
        const FailingHeap heap(128);
        queue.removeExpiredMessages();
    }
    EXPECT_EQ(takeAll(queue), (test::Numbers{2}));
}
