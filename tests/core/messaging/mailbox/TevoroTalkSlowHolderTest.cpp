// A target that holds its name and never reads.
#include "core/messaging/support/BusProcessFixture.h"
#include "core/platform/support/PortText.h"
#include "messaging/TevoroTalkContext.h"
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

// A watcher that was stopped, say, at its terminal.
TEST_F(TevoroTalkSlowHolderTest, HoldsUpThoseThatItWatchesForOneSendAMinute)
{
    const Peer watcher = sleeper("watcher-1.0");
    const Peer watchersThread = sleeper("watcher-1.0#thread");
    start();
    ThreadForwardMsgHandler forwarder(
        TevoroTalkContext::getCurrentContext(), "FWDMESSAGES", "watcher-1.0");
    const SoString large{std::string_view(std::string(30000, 'x'))};
    const auto forward = [&] {
        TevoroTalk::Message copy;
        copy.body = large;
        EXPECT_EQ(forwarder.handleMessage(0, copy, nullptr), 0);
    };
    EXPECT_TRUE(becomesSlow(forward));
    const auto begin = SteadyClock::now();
    forward();
    EXPECT_LT(SteadyClock::now() - begin, kLimit);
    EXPECT_EQ(watcher->finish(), 0);
    EXPECT_EQ(watchersThread->finish(), 0);
}
