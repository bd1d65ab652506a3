// A target that holds its name and never reads.
#include "core/messaging/support/BusProcessFixture.h"
#include "core/platform/support/PortText.h"
#include "messaging/TevoroTalkContext.h"
#include "messaging/TevoroTalkPing.h"
#include "messaging/process/ThreadMsgHandlers.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace {

using namespace ScObjects;
using SteadyClock = std::chrono::steady_clock;
using test::PeerProcess;
using testing::ElementsAre;

constexpr auto kLimit = std::chrono::seconds(10); // of one send

class TevoroTalkSlowHolderTest : public test::BusProcessFixture {
protected:
    // Holds a name of the bus and reads nothing, in a process of its own.
    static Peer sleeper(const std::string& name)
    {
        auto peer = std::make_unique<PeerProcess>(
            std::vector<std::string>{PORT_PEER, "sit", test::hexOf(std::string(gPortName) + name)});
        EXPECT_EQ(peer->line(), "held");
        return peer;
    }

    // With texts of the stream that this process asks its questions over.
    static void fillPortOf(const std::string& name)
    {
        const SoString large{std::string_view(std::string(30000, 'x'))};
        const SoString small("x");
        for (const SoString& text : {large, small})
            while (InterAppStream::get()->sendWithin(
                std::chrono::milliseconds(0), name.c_str(), text)) { }
    }

    // Does it until it takes as long as a send that fails; whether that came.
    static bool becomesSlow(const std::function<void()>& work)
    {
        for (int i = 0; i < 10000; ++i) {
            const auto begin = SteadyClock::now();
            work();
            if (SteadyClock::now() - begin >= kLimit)
                return SteadyClock::now() - begin < 2 * kLimit;
        }
        return false;
    }
};

} // namespace

TEST_F(TevoroTalkSlowHolderTest, HoldsUpOneSendForTenSecondsAndTheBusNotAtAll)
{
    const Peer holder = sleeper("sleeper-1.0");
    start();
    const Peer other = peer("other-1.0");
    const std::string large(30000, 'x');
    bool isSent = true;
    EXPECT_TRUE(
        becomesSlow([&] { isSent = send(*self, *request("sleeper-1.0", large, "Error")); }));
    EXPECT_FALSE(isSent);
    EXPECT_TRUE(pump());
    EXPECT_THAT(inbox.bodies(), ElementsAre("ERROR: LAUNCHING IS SUPPRESSED"));
    inbox.clear();
    const auto message = request("other-1.0", "text", "Result");
    EXPECT_TRUE(send(*self, *message));
    await(2);
    EXPECT_EQ(other->finish(), 0);
    EXPECT_EQ(holder->finish(), 0);
}

TEST_F(TevoroTalkSlowHolderTest, HoldsUpAQuestionForItsOwnTimeAndNoLonger)
{
    const Peer holder = sleeper("sleeper-1.0#thread");
    start();
    fillPortOf("sleeper-1.0#thread");
    const auto begin = SteadyClock::now();
    const SoString answer = TevoroTalk::Thread::ping("sleeper-1.0", "STATUS", 1, nullptr);
    EXPECT_EQ(answer, "UNDEFINED");
    EXPECT_GE(SteadyClock::now() - begin, std::chrono::seconds(1));
    EXPECT_LT(SteadyClock::now() - begin, std::chrono::seconds(4));
    EXPECT_EQ(holder->finish(), 0);
}

// The question whether it runs goes to its thread's port, which is full as well.
TEST_F(TevoroTalkSlowHolderTest, HoldsUpThoseThatItWatchesForAMomentWithTheQuestion)
{
    const Peer watcher = sleeper("watcher-1.0");
    const Peer watchersThread = sleeper("watcher-1.0#thread");
    start();
    fillPortOf("watcher-1.0#thread");
    ThreadForwardMsgHandler forwarder(
        TevoroTalkContext::getCurrentContext(), "FWDMESSAGES", "watcher-1.0");
    const auto forward = [&forwarder] {
        TevoroTalk::Message copy;
        copy.body = "copy";
        const auto begin = SteadyClock::now();
        EXPECT_EQ(forwarder.handleMessage(0, copy, nullptr), 0);
        return SteadyClock::now() - begin;
    };
    EXPECT_LT(forward(), std::chrono::seconds(2));
    const auto begin = SteadyClock::now();
    for (int i = 0; i < 100; ++i)
        forward();
    EXPECT_LT(SteadyClock::now() - begin, std::chrono::seconds(2));
    EXPECT_EQ(watcher->finish(), 0);
    EXPECT_EQ(watchersThread->finish(), 0);
}

// A watcher that was stopped, say, at its terminal, and goes on later.
TEST_F(TevoroTalkSlowHolderTest, HoldsUpThoseThatItWatchesForAMomentAndHasCopiesAgainWhenItReads)
{
    InterAppStream watcher("watcher-1.0", true);
    const InterAppStream watchersThread("watcher-1.0#thread", true);
    start();
    ThreadForwardMsgHandler forwarder(
        TevoroTalkContext::getCurrentContext(), "FWDMESSAGES", "watcher-1.0");
    const SoString large{std::string_view(std::string(30000, 'x'))};
    const auto forward = [&] {
        TevoroTalk::Message copy;
        copy.body = large;
        EXPECT_EQ(forwarder.handleMessage(0, copy, nullptr), 0);
    };
    const auto begin = SteadyClock::now();
    for (int i = 0; i < 1000; ++i)
        forward();
    EXPECT_LT(SteadyClock::now() - begin, std::chrono::seconds(8));
    drain(watcher);
    forward();
    EXPECT_TRUE(watcher.messagePending());
}

// It is there: a second copy would only find its name taken, and asking would wait once more.
TEST_F(TevoroTalkSlowHolderTest, IsNotLaunchedASecondTime)
{
    const Peer holder = sleeper("sleeper-1.0");
    const Peer holdersThread = sleeper("sleeper-1.0#thread");
    start();
    fillPortOf("sleeper-1.0#thread");
    const std::string large(30000, 'x');
    const auto sendAllowingLaunch = [&] {
        EXPECT_FALSE(send(*self, *request("sleeper-1.0", large, "Error"), true)
            && self->outgoingMessagePending());
    };
    EXPECT_TRUE(becomesSlow([&] {
        if (!self->outgoingMessagePending())
            sendAllowingLaunch();
    }));
    EXPECT_TRUE(self->outgoingMessagePending());
    EXPECT_TRUE(inbox.bodies().empty()) << "it was to be launched";
    EXPECT_EQ(holder->finish(), 0);
    EXPECT_EQ(holdersThread->finish(), 0);
}
