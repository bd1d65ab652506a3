#include "platform/common/ports/PortWatch.h"

#include "core/platform/support/PortFixture.h"
#include "platform/common/ports/LocalPort.h"

#include <filesystem>

#include <poll.h>

namespace {

class PortWatchTest : public test::PortFixture {
protected:
    static bool tells(const Pt::PortWatch& watch, int limit = 0)
    {
        pollfd question = {watch.descriptor(), POLLIN, 0};
        return ::poll(&question, 1, limit) == 1;
    }

    std::unique_ptr<Pt::LocalPort> first = Pt::LocalPort::hold("first"); // makes the folder
};

TEST_F(PortWatchTest, TellsOfAPortThatCanBeSentTo)
{
    const Pt::PortWatch watch;
    EXPECT_FALSE(tells(watch));
    const auto port = Pt::LocalPort::hold("late");
    ASSERT_TRUE(port);
    EXPECT_TRUE(tells(watch));
    Pt::LocalPortSender sender;
    EXPECT_TRUE(sender.send("late", "text", std::chrono::milliseconds(0)));
}

TEST_F(PortWatchTest, IsQuietAfterItWasCleared)
{
    const Pt::PortWatch watch;
    const auto port = Pt::LocalPort::hold("late");
    watch.clear();
    EXPECT_FALSE(tells(watch));
    const auto later = Pt::LocalPort::hold("later");
    EXPECT_TRUE(tells(watch));
}

TEST_F(PortWatchTest, TellsNothingOfThoseWhoAskOrGo)
{
    const Pt::PortWatch watch;
    EXPECT_FALSE(Pt::isLocalPortFree("first"));
    EXPECT_TRUE(Pt::isLocalPortFree("nobody"));
    EXPECT_EQ(Pt::LocalPort::hold("first"), nullptr);
    first.reset();
    EXPECT_FALSE(tells(watch));
}

TEST_F(PortWatchTest, TellsOfANameThatWasPutBack)
{
    const Pt::PortWatch watch;
    for (const auto& file : std::filesystem::directory_iterator(Pt::localPortFolder()))
        std::filesystem::remove(file);
    watch.clear();
    EXPECT_TRUE(first->keepName());
    EXPECT_TRUE(tells(watch));
}

TEST_F(PortWatchTest, IsQuietWithoutAFolder)
{
    first.reset();
    std::filesystem::remove_all(Pt::localPortFolder());
    const Pt::PortWatch watch;
    EXPECT_FALSE(tells(watch));
    watch.clear();
}

} // namespace
