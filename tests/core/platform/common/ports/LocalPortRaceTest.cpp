// What another process can do between two steps of taking a name: this program stands in for the
// call that locks a file, and lets something happen just before.

#include "core/platform/support/PortFixture.h"
#include "platform/common/ports/LocalPort.h"

#include <functional>
#include <utility>

#include <sys/file.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::function<void()> gBeforeLock;

} // namespace

extern "C" int flock(int descriptor, int operation) noexcept
{
    if (const auto happen = std::exchange(gBeforeLock, nullptr))
        happen();
    return static_cast<int>(::syscall(SYS_flock, descriptor, operation));
}

namespace {

using Pt::LocalPort;
using testing::ElementsAre;
using testing::IsEmpty;

class LocalPortRaceTest : public test::PortFixture {
protected:
    // Held by this and by nobody else, and reachable.
    void expectHeld(LocalPort& port)
    {
        Pt::LocalPortSender sender;
        EXPECT_EQ(files().size(), 2U);
        EXPECT_FALSE(LocalPort::hold("p"));
        EXPECT_TRUE(sender.send("p", "text", kPatience));
        EXPECT_THAT(received(port), ElementsAre("text"));
    }
};

TEST_F(LocalPortRaceTest, TakesTheNameWhoseHolderLeavesBetweenOpeningAndLocking)
{
    auto first = held("p");
    gBeforeLock = [&] { first.reset(); };
    const auto second = LocalPort::hold("p");
    ASSERT_FALSE(first);
    ASSERT_TRUE(second);
    expectHeld(*second);
}

TEST_F(LocalPortRaceTest, LeavesTheNameToAThirdThatTookItMeanwhile)
{
    auto first = held("p");
    std::unique_ptr<LocalPort> third;
    gBeforeLock = [&] {
        first.reset();
        third = held("p");
    };
    EXPECT_FALSE(LocalPort::hold("p"));
    ASSERT_TRUE(third);
    expectHeld(*third);
    third.reset();
    EXPECT_THAT(files(), IsEmpty());
}

} // namespace
