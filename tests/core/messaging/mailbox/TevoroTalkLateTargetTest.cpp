// Messages to a process that is still to come.
#include "core/messaging/support/BusProcessFixture.h"
#include "support/Sanitizers.h"

#include <iostream>
#include <optional>
#include <string>
#include <thread>

namespace {

using namespace ScObjects;
using std::chrono::milliseconds;
using test::PeerProcess;

class TevoroTalkLateTargetTest : public test::BusProcessFixture {
protected:
    // Messages with the bodies 0, 1, 2 ... to one whose thread alone is there.
    void enqueue(long count, const char* asked = "")
    {
        InterAppStream thread("late-1.0#thread", true);
        for (long i = 0; i < count; ++i) {
            const auto message = request("late-1.0", std::to_string(i), asked);
            EXPECT_FALSE(send(*self, *message, true));
            drain(thread);
        }
    }
};

} // namespace

TEST_F(TevoroTalkLateTargetTest, GetsAllInOrder)
{
    start();
    enqueue(100);
    const Peer late = peer("late-1.0");
    for (int i = 0; i < 100; ++i)
        EXPECT_THAT(lineWhilePumping(*late), testing::EndsWith(" self-1.0 " + std::to_string(i)));
    EXPECT_TRUE(waitUntil([&] { return !self->outgoingMessagePending(); }));
    EXPECT_EQ(late->finish(), 0);
}

TEST_F(TevoroTalkLateTargetTest, GetsThemWithoutAPumpOfTheSender)
{
    start();
    enqueue(3);
    const Peer late = peer("late-1.0");
    for (int i = 0; i < 3; ++i)
        EXPECT_THAT(late->line(), testing::EndsWith(" self-1.0 " + std::to_string(i)));
    EXPECT_EQ(late->finish(), 0);
}

TEST_F(TevoroTalkLateTargetTest, AnswersThemWhileTheSenderWaits)
{
    start();
    std::optional<InterAppStream> thread(std::in_place, "late-1.0#thread", true);
    const auto message = request("late-1.0", "text", "Result");
    message->serialNumber = 77;
    self->changeHandler(new test::InboxHandler(inbox, "Own", 77));
    Peer late;
    // While send() waits, on this thread too, the target comes up.
    std::thread starter([&] {
        EXPECT_TRUE(waitUntil([&] { return self->outgoingMessagePending(); }));
        thread.reset();
        late = peer("late-1.0");
    });
    EXPECT_TRUE(self->send(*message, true, 60, nullptr));
    starter.join();
    EXPECT_THAT(inbox.words(), testing::ElementsAre("3 Quillscriber done", "0 Processed"));
    EXPECT_EQ(late->finish(), 0);
}

TEST_F(TevoroTalkLateTargetTest, ThatIsKilledAndComesAgainMissesOnlyWhatItHad)
{
    start();
    enqueue(10);
    const Peer late = peer("late-1.0");
    EXPECT_THAT(lineWhilePumping(*late), testing::EndsWith(" 0"));
    ASSERT_TRUE(waitUntil([&] { return !self->outgoingMessagePending(); }));
    late->kill();
    enqueue(5);
    const Peer again = peer("late-1.0");
    for (int i = 0; i < 5; ++i)
        EXPECT_THAT(lineWhilePumping(*again), testing::EndsWith(" " + std::to_string(i)));
    EXPECT_EQ(again->finish(), 0);
}

TEST_F(TevoroTalkLateTargetTest, GetsTenThousandInLittleTime)
{
    constexpr long kCount = 10000;
    start();
    {
        const Paused pause; // the attempts in vain are not what is measured
        enqueue(kCount);
    }
    const Peer late = countingPeer("late-1.0", kCount);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(late->line(), "counted " + std::to_string(kCount));
    const auto took =
        std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - begin);
    std::cout << kCount << " queued messages delivered in order in " << took.count() << " ms\n";
    EXPECT_LT(took, test::kIsSanitized ? milliseconds(30000) : milliseconds(5000));
    EXPECT_EQ(late->finish(), 0);
}
