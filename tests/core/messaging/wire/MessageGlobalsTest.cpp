#include "messaging/wire/MessageGlobals.h"

#include "core/messaging/support/MessagingFixture.h"
#include "core/messaging/support/TestRegistry.h"
#include "messaging/Message.h"

#include <atomic>
#include <thread>
#include <vector>

namespace {

using ScObjects::TevoroTalk;
using ScObjects::TevoroTalkData::MessageGlobals;
using Message = TevoroTalk::Message;

class MessageGlobalsTest : public test::MessagingFixture { };

} // namespace

TEST_F(MessageGlobalsTest, HasBothSwitchesOnWithoutARegistry)
{
    EXPECT_TRUE(MessageGlobals::get().getAuthentication());
    EXPECT_TRUE(MessageGlobals::get().getCreateDigest());
}

TEST_F(MessageGlobalsTest, AsksTheRegistryForThisApplication)
{
    test::TestRegistry& registry = test::TestRegistry::install();
    registry.authenticates = false;
    EXPECT_FALSE(MessageGlobals::get().getAuthentication());
    EXPECT_TRUE(MessageGlobals::get().getCreateDigest());
    MessageGlobals::exit();
    registry.authenticates = true;
    registry.digests = false;
    EXPECT_TRUE(MessageGlobals::get().getAuthentication());
    EXPECT_FALSE(MessageGlobals::get().getCreateDigest());
}

TEST_F(MessageGlobalsTest, StaysAsItIsWhenItIsThereAlready)
{
    MessageGlobals::init();
    MessageGlobals::get().setAuthentication(false);
    MessageGlobals::init();
    EXPECT_FALSE(MessageGlobals::get().getAuthentication());
}

TEST_F(MessageGlobalsTest, StartsOverAfterItsEnd)
{
    MessageGlobals::get().setAuthentication(false);
    MessageGlobals::exit();
    MessageGlobals::exit();
    EXPECT_TRUE(MessageGlobals::get().getAuthentication());
}

TEST_F(MessageGlobalsTest, IsWhatMessagesGoBy)
{
    Message::setAuthentication(false);
    Message::setCreateDigest(false);
    EXPECT_FALSE(MessageGlobals::get().getAuthentication());
    EXPECT_FALSE(MessageGlobals::get().getCreateDigest());
    MessageGlobals::get().setAuthentication(true);
    EXPECT_TRUE(Message::getAuthentication());
    EXPECT_FALSE(Message::getCreateDigest());
}

TEST_F(MessageGlobalsTest, IsMadeOnceByThreadsThatComeTogether)
{
    constexpr int kThreads = 8;
    std::atomic<int> waiting{kThreads};
    std::vector<MessageGlobals*> seen(kThreads);
    std::vector<std::thread> threads;
    for (MessageGlobals*& mine : seen)
        threads.emplace_back([&waiting, &mine] {
            for (--waiting; waiting > 0;)
                std::this_thread::yield();
            mine = &MessageGlobals::get();
            mine->setCreateDigest(mine->getAuthentication());
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_THAT(seen, testing::Each(seen.front()));
}
