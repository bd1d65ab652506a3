// Takes the place of the system's clock in the programs that it is linked into.
#include "core/messaging/support/MovedClock.h"

#include "platform/common/services/Clock.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace {

constexpr std::int64_t kGoing = -1;

std::atomic<std::int64_t> stopped{kGoing}; // milliseconds since 1970

class TestClock final : public Pt::Clock {
public:
    std::int64_t wallMilliseconds() override
    {
        using namespace std::chrono;
        const std::int64_t time = stopped;
        return time != kGoing
            ? time
            : duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    }
    std::int64_t wallSeconds() override { return wallMilliseconds() / 1000; }
    std::chrono::steady_clock::time_point steadyNow() override
    {
        return std::chrono::steady_clock::now();
    }
    void sleepFor(std::chrono::nanoseconds duration) override
    {
        std::this_thread::sleep_for(duration);
    }
};

} // namespace

Pt::Clock& Pt::systemClock()
{
    static TestClock clock;
    return clock;
}

void test::MovedClock::stopAt(std::int64_t milliseconds)
{
    stopped = milliseconds;
}

void test::MovedClock::advance(std::int64_t milliseconds)
{
    stopped += milliseconds;
}

void test::MovedClock::goOn()
{
    stopped = kGoing;
}
