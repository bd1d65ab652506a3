#include "mfx/engine/run/Ticker.h"

#include <atomic>
#include <future>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

namespace mfx {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

TEST(TickerTest, TicksWhileEverybodyElseWaits)
{
    std::promise<void> third;
    std::vector<Clock::time_point> ticks{Clock::now()};
    {
        const Ticker ticker(10ms, [&] {
            ticks.push_back(Clock::now());
            if (ticks.size() == 4)
                third.set_value();
        });
        third.get_future().wait();
    }
    for (std::size_t i = 1; i < ticks.size(); ++i)
        EXPECT_GE(ticks[i] - ticks[i - 1], 10ms) << i;
}

TEST(TickerTest, EndsAtOnceAndWithoutATickWhereNoneIsDue)
{
    const auto start = Clock::now();
    std::atomic<int> ticks{0};
    {
        const Ticker ticker(1h, [&ticks] { ++ticks; });
    }
    EXPECT_EQ(ticks, 0);
    EXPECT_LT(Clock::now() - start, 1min);
}

TEST(TickerTest, WaitsForTheTickInHandAndMakesNoFurtherOne)
{
    std::atomic<bool> isEnded{false};
    std::atomic<int> after{0};
    std::promise<void> begun;
    {
        const Ticker ticker(1ms, [&, isFirst = true]() mutable {
            if (std::exchange(isFirst, false))
                begun.set_value();
            std::this_thread::sleep_for(5ms);
            after += isEnded ? 1 : 0;
        });
        begun.get_future().wait();
    }
    isEnded = true;
    EXPECT_EQ(after, 0);
}

TEST(TickerTest, TicksOnAfterATickThatFailed)
{
    std::promise<void> second;
    const Ticker ticker(1ms, [&, count = 0]() mutable {
        if (++count == 1)
            throw std::runtime_error("no more room");
        if (count == 2)
            second.set_value();
    });
    second.get_future().wait();
}

} // namespace
} // namespace mfx
