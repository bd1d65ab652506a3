#include "platform/common/services/Clock.h"

#include <cerrno>
#include <ctime>

namespace Pt {

namespace {

using std::chrono::nanoseconds;

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

std::int64_t nanosecondsOf(clockid_t clock)
{
    timespec now = {};
    ::clock_gettime(clock, &now);
    // 64 bits of nanoseconds reach to the year 2262.
    return now.tv_sec * kNanosecondsPerSecond + now.tv_nsec;
}

class SystemClock final : public Clock {
public:
    std::int64_t wallMilliseconds() override { return nanosecondsOf(CLOCK_REALTIME) / 1'000'000; }
    std::int64_t wallSeconds() override
    {
        return nanosecondsOf(CLOCK_REALTIME) / kNanosecondsPerSecond;
    }
    std::chrono::steady_clock::time_point steadyNow() override
    {
        return std::chrono::steady_clock::time_point(nanoseconds(nanosecondsOf(CLOCK_MONOTONIC)));
    }
    void sleepFor(nanoseconds duration) override
    {
        // Until a point in time, so that signals do not lengthen it.
        const std::int64_t end = nanosecondsOf(CLOCK_MONOTONIC) + duration.count();
        const timespec point{end / kNanosecondsPerSecond, end % kNanosecondsPerSecond};
        while (::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &point, nullptr) == EINTR) { }
    }
};

} // namespace

Clock& systemClock()
{
    static SystemClock clock;
    return clock;
}

} // namespace Pt
