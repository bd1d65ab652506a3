#include "messaging/runtime/ClockWatch.h"

#include "platform/common/services/Clock.h"

#include <gtest/gtest.h>

namespace {

using ScObjects::TevoroTalkData::ClockWatch;
using std::chrono::milliseconds;

// Goes only when it is told.
class ToldClock final : public Pt::Clock {
public:
    std::int64_t wallMilliseconds() override
    {
        const std::int64_t result = wall.count();
        if (--looksUntilStop == 0)
            pass(10'000);
        return result;
    }
    std::int64_t wallSeconds() override { return wall.count() / 1000; }
    std::chrono::steady_clock::time_point steadyNow() override
    {
        return std::chrono::steady_clock::time_point(steady);
    }
    void sleepFor(std::chrono::nanoseconds) override { }

    void pass(std::int64_t time)
    {
        wall += milliseconds(time);
        steady += milliseconds(time);
    }

    milliseconds wall{1'785'000'000'000};
    milliseconds steady{5000};
    int looksUntilStop = 0; // which look at the wall clock is followed by ten seconds
};

class ClockWatchTest : public testing::Test {
protected:
    ToldClock m_clock;
    ClockWatch m_watch{m_clock};
};

} // namespace

TEST_F(ClockWatchTest, SeesNoStepInTimeThatPasses)
{
    EXPECT_EQ(m_watch.shift(), 0);
    for (const std::int64_t time : {1, 999, 86'400'000}) {
        m_clock.pass(time);
        EXPECT_EQ(m_watch.shift(), 0);
    }
    EXPECT_FALSE(m_watch.lastStep());
}

TEST_F(ClockWatchTest, AddsUpStepsForwardAndBack)
{
    m_clock.wall += milliseconds(3'600'000);
    EXPECT_EQ(m_watch.shift(), 3'600'000);
    m_clock.pass(10'000);
    EXPECT_EQ(m_watch.shift(), 3'600'000);
    m_clock.wall -= milliseconds(7'200'400);
    EXPECT_EQ(m_watch.shift(), -3'600'400);
}

TEST_F(ClockWatchTest, RemembersTheLastStepAndWhenItWas)
{
    m_clock.wall += milliseconds(3'600'600);
    m_watch.shift();
    ASSERT_TRUE(m_watch.lastStep());
    EXPECT_EQ(m_watch.lastStep()->seconds, 3601);
    EXPECT_EQ(m_watch.lastStep()->at, 1'785'003'600);
    m_clock.pass(50'000);
    m_clock.wall -= milliseconds(9'400);
    m_watch.shift();
    EXPECT_EQ(m_watch.lastStep()->seconds, -9);
    EXPECT_EQ(m_watch.lastStep()->at, 1'785'003'641);
}

TEST_F(ClockWatchTest, CountsAStepOfTwoSecondsAndNoSmallerOne)
{
    m_clock.wall += milliseconds(1999);
    EXPECT_EQ(m_watch.shift(), 0);
    m_clock.wall += milliseconds(2000);
    EXPECT_EQ(m_watch.shift(), 2000);
    m_clock.wall -= milliseconds(2000);
    EXPECT_EQ(m_watch.shift(), 0);
}

TEST_F(ClockWatchTest, TakesClocksThatDriftApartForNoStep)
{
    for (int i = 0; i < 1000; ++i) {
        m_clock.pass(1000);
        m_clock.wall += milliseconds(50);
        EXPECT_EQ(m_watch.shift(), 0);
    }
    EXPECT_FALSE(m_watch.lastStep());
}

TEST_F(ClockWatchTest, IsNotMisledWhenItsThreadIsStoppedBetweenTwoLooks)
{
    m_clock.looksUntilStop = 1;
    EXPECT_EQ(m_watch.shift(), 0);
    // In the closer look, too, for which a drift is the reason here.
    m_clock.wall += milliseconds(150);
    m_clock.looksUntilStop = 2;
    EXPECT_EQ(m_watch.shift(), 0);
    EXPECT_EQ(m_watch.shift(), 0);
    EXPECT_FALSE(m_watch.lastStep());
}
