// Takes the place of the system's clock in the programs that it is linked into.
#include "core/messaging/support/MovedClock.h"

#include "platform/common/services/Clock.h"

#include <chrono>
#include <mutex>
#include <optional>
#include <thread>

namespace {

using namespace std::chrono;

// Both clocks in one moment.
struct Times {
    milliseconds wall;
    nanoseconds steady;
};

std::mutex lock;
Times ahead{}; // of the system's clocks, while they go
std::optional<Times> stopped;

Times currentTimes()
{
    const std::lock_guard locked(lock);
    if (stopped)
        return *stopped;
    return {duration_cast<milliseconds>(system_clock::now().time_since_epoch()) + ahead.wall,
        steady_clock::now().time_since_epoch() + ahead.steady};
}

void move(milliseconds wall, nanoseconds steady)
{
    const std::lock_guard locked(lock);
    Times& moved = stopped ? *stopped : ahead;
    moved.wall += wall;
    moved.steady += steady;
}

class TestClock final : public Pt::Clock {
public:
    std::int64_t wallMilliseconds() override { return currentTimes().wall.count(); }
    std::int64_t wallSeconds() override { return wallMilliseconds() / 1000; }
    steady_clock::time_point steadyNow() override
    {
        return steady_clock::time_point(currentTimes().steady);
    }
    void sleepFor(nanoseconds duration) override { std::this_thread::sleep_for(duration); }
};

} // namespace

Pt::Clock& Pt::systemClock()
{
    static TestClock clock;
    return clock;
}

void test::MovedClock::stopAt(std::int64_t time)
{
    const Times current = currentTimes();
    const std::lock_guard locked(lock);
    stopped = {milliseconds(time), current.steady};
}

void test::MovedClock::stop()
{
    const Times current = currentTimes();
    const std::lock_guard locked(lock);
    stopped = current;
}

void test::MovedClock::advance(std::int64_t time)
{
    move(milliseconds(time), time > 0 ? milliseconds(time) : milliseconds(0));
}

void test::MovedClock::step(std::int64_t time)
{
    move(milliseconds(time), {});
}

void test::MovedClock::goOn()
{
    const Times current = currentTimes();
    const std::lock_guard locked(lock);
    stopped.reset();
    // The wall clock as it is; the steady one never goes back.
    ahead = {{}, current.steady - steady_clock::now().time_since_epoch()};
}
