#include "platform/common/services/Clock.h"

#include <gtest/gtest.h>

namespace {

std::int64_t wallNow()
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

} // namespace

TEST(ClockTest, TellsTheWallTime)
{
    const std::int64_t before = wallNow();
    const std::int64_t milliseconds = Pt::systemClock().wallMilliseconds();
    const std::int64_t seconds = Pt::systemClock().wallSeconds();
    const std::int64_t after = wallNow();
    EXPECT_LE(before, milliseconds);
    EXPECT_LE(milliseconds, after);
    EXPECT_LE(before / 1000, seconds);
    EXPECT_LE(seconds, after / 1000);
}

TEST(ClockTest, IsTheStandardLibrarysSteadyClock)
{
    const auto before = std::chrono::steady_clock::now();
    const auto now = Pt::systemClock().steadyNow();
    EXPECT_LE(before, now);
    EXPECT_LE(now, std::chrono::steady_clock::now());
}

TEST(ClockTest, SleepsAtLeastAsLongAsItIsTold)
{
    constexpr std::chrono::milliseconds kNap(20);
    const auto before = std::chrono::steady_clock::now();
    Pt::systemClock().sleepFor(kNap);
    EXPECT_GE(std::chrono::steady_clock::now() - before, kNap);
}

TEST(ClockTest, DoesNotSleepForTimesThatHavePassed)
{
    const auto before = std::chrono::steady_clock::now();
    Pt::systemClock().sleepFor(std::chrono::hours(-1));
    Pt::systemClock().sleepFor(std::chrono::nanoseconds(0));
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::minutes(1));
}
