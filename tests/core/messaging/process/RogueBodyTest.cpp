#include "core/messaging/support/PingFixture.h"
#include "platform/common/ports/LocalPort.h"

#include <memory>
#include <string>

namespace {

using test::Peer;

class RogueBodyTest : public test::PingFixture, public testing::WithParamInterface<const char*> {
protected:
    RogueBodyTest() { start("asker-1.0"); }

    static std::string largeMessage(const std::string& port)
    {
        constexpr std::size_t kLength = std::size_t{100} << 20U;
        std::string text = "@QK>Version:2.05\nTarget:" + port
            + "\nSender:rogue-1.0\nType:ping\nECHO_REQUEST:STATUS\nContent-Length:"
            + std::to_string(kLength) + "\n\n";
        text.append(kLength, 'x');
        return text;
    }
};

std::string portName(const testing::TestParamInfo<const char*>& row)
{
    return *row.param != '\0' ? "Thread" : "Main";
}

} // namespace

TEST_P(RogueBodyTest, MayHaveAHundredMegabytes)
{
    Peer peer("peer-1.0");
    EXPECT_EQ(ask("peer-1.0", ""), kEcho);
    const auto threads = peer.threads();
    peer.serve();
    const std::string port = std::string("peer-1.0") + GetParam();
    {
        const std::string text = largeMessage(port);
        Pt::LocalPortSender sender;
        EXPECT_TRUE(sender.send(portOf(port), text, kPatience));
    }
    EXPECT_EQ(ask("peer-1.0", ""), kEcho);
    EXPECT_EQ(peer.threads(), threads);
    EXPECT_EQ(peer.process().finish(), 0);
}

INSTANTIATE_TEST_SUITE_P(OnEachPort, RogueBodyTest, testing::Values("#thread", ""), portName);
