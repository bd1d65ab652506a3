#include "mfx/engine/run/RateWindow.h"

#include <gtest/gtest.h>

namespace mfx {
namespace {

using namespace std::chrono_literals;

class RateWindowTest : public testing::Test {
protected:
    const RateWindow::Clock::time_point start;
    RateWindow window{3s, start};
};

TEST_F(RateWindowTest, IsNothingBeforeAnyTimeHasPassed)
{
    EXPECT_EQ(window.add(start, 1000), 0);
}

TEST_F(RateWindowTest, CountsFromTheStartAsLongAsThatIsNear)
{
    EXPECT_EQ(window.add(start + 500ms, 1000), 2000);
    EXPECT_EQ(window.add(start + 2s, 1000), 500);
}

TEST_F(RateWindowTest, SmoothsWhatComesInLumps)
{
    for (int half = 1; half <= 40; ++half) {
        const auto lumps = static_cast<std::uint64_t>(half / 2);
        const double rate = window.add(start + half * 500ms, lumps * 1000);
        if (half > 6) {
            EXPECT_NEAR(rate, 1000, 200) << half;
        }
    }
}

TEST_F(RateWindowTest, ForgetsWhatIsLongAgo)
{
    for (int second = 1; second <= 10; ++second)
        window.add(start + second * 1s, 1'000'000);
    EXPECT_EQ(window.add(start + 11s, 1'000'000), 0) << "nothing moves any more";
    EXPECT_EQ(window.add(start + 12s, 1'003'000), 1000);
}

TEST_F(RateWindowTest, LooksBackAsFarAsItWasLastTold)
{
    window.add(start + 1s, 1000);
    EXPECT_EQ(window.add(start + 101s, 2000), 10);
    for (int second = 102; second < 104; ++second)
        window.add(start + second * 1s, 2000);
    EXPECT_EQ(window.add(start + 104s, 2300), 100) << "of the last three seconds";
}

} // namespace
} // namespace mfx
