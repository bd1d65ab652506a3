#include "core/messaging/support/PingFixture.h"
#include "platform/common/ports/LocalPort.h"

#include <memory>
#include <string>

namespace {

using test::Peer;

class RogueBodyTest : public test::PingFixture, public testing::WithParamInterface<char const*> {
protected:
    RogueBodyTest() { start("asker-1.0"); }

    static std::string largeMessage(std::string const& port)
    {
        constexpr std::size_t kLength = std::size_t{100} << 20U;
        std::string text = "@QK>Version:2.05\nTarget:" + port
            + "\nSender:rogue-1.0\nType:ping\nECHO_REQUEST:STATUS\nContent-Length:"
            + std::to_string(kLength) + "\n\n";
        text.append(kLength, 'x');
        return text;
    }
};

std::string nameOf(testing::TestParamInfo<char const*> const& row)
{
    return *row.param != '\0' ? "Thread" : "Main";
}

} // namespace

TEST_P(RogueBodyTest, MayHaveAHundredMegabytes)
{
    Peer peer("peer-1.0");
    EXPECT_EQ(ask("peer-1.0", ""), kEcho);
    auto const threads = peer.threads();
    peer.serve();
    std::string const port = std::string("peer-1.0") + GetParam();
    {
        std::string const text = largeMessage(port);
        Pt::LocalPortSender sender;
        EXPECT_TRUE(sender.send(portOf(port), text, kPatience));
    }
    EXPECT_EQ(ask("peer-1.0", ""), kEcho);
    EXPECT_EQ(peer.threads(), threads);
    EXPECT_EQ(peer.process().finish(), 0);
}

INSTANTIATE_TEST_SUITE_P(OnEachPort, RogueBodyTest, testing::Values("#thread", ""), nameOf);
