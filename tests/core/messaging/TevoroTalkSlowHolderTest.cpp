// A target that holds its name and never reads.
#include "core/messaging/support/BusProcessFixture.h"
#include "core/platform/support/PortText.h"

#include <string>

namespace {

using namespace ScObjects;
using test::PeerProcess;
using testing::ElementsAre;

class TevoroTalkSlowHolderTest : public test::BusProcessFixture { };

} // namespace

TEST_F(TevoroTalkSlowHolderTest, HoldsUpOneSendForTenSecondsAndTheBusNotAtAll)
{
    constexpr auto kLimit = std::chrono::seconds(10);
    PeerProcess sleeper({PORT_PEER, "sit", test::hexOf(std::string(gPortName) + "sleeper-1.0")});
    ASSERT_EQ(sleeper.line(), "held");
    start();
    Peer const other = peer("other-1.0");
    std::string const large(30000, 'x');
    bool isSent = true;
    std::chrono::steady_clock::duration took{};
    for (int i = 0; isSent && i < 10000; ++i) {
        auto const message = request("sleeper-1.0", large, "Error");
        auto const begin = std::chrono::steady_clock::now();
        isSent = send(*self, *message);
        took = std::chrono::steady_clock::now() - begin;
    }
    EXPECT_FALSE(isSent);
    EXPECT_GE(took, kLimit);
    EXPECT_LT(took, 2 * kLimit);
    EXPECT_TRUE(pump());
    EXPECT_THAT(inbox.bodies(), ElementsAre("ERROR: LAUNCHING IS SUPPRESSED"));
    inbox.clear();
    auto const message = request("other-1.0", "text", "Result");
    EXPECT_TRUE(send(*self, *message));
    await(2);
    EXPECT_EQ(other->finish(), 0);
    EXPECT_EQ(sleeper.finish(), 0);
}
