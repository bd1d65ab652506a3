#include "messaging/runtime/ClockWatch.h"

#include "platform/common/services/Clock.h"

#include <cstdlib>

namespace ScObjects::TevoroTalkData {

namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;

// The clocks drift apart slowly: from this distance on it is noted, so that the drift of a day is
// no step.
constexpr std::int64_t kDrift = 100; // milliseconds
// A look at both clocks takes far less, unless the thread was stopped in between.
constexpr milliseconds kLongLook{50};

// Milliseconds as whole seconds.
std::int64_t rounded(std::int64_t time)
{
    return (time + (time < 0 ? -500 : 500)) / 1000;
}

bool isStep(std::int64_t distance)
{
    return std::abs(distance) >= ClockWatch::kSmallestStep.count();
}

} // namespace

ClockWatch::ClockWatch(Pt::Clock& clock)
    : m_clock(clock)
    , m_distance(distance())
{
}

// In one moment, as far as that goes.
std::int64_t ClockWatch::distance() const
{
    for (;;) {
        const auto before = m_clock.steadyNow();
        const std::int64_t wall = m_clock.wallMilliseconds();
        const auto after = m_clock.steadyNow();
        if (after - before < kLongLook)
            return wall - duration_cast<milliseconds>(after.time_since_epoch()).count();
    }
}

std::int64_t ClockWatch::shift()
{
    // Without the lock while nothing has happened: every message asks.
    const auto steady = duration_cast<milliseconds>(m_clock.steadyNow().time_since_epoch());
    if (std::abs(m_clock.wallMilliseconds() - steady.count() - m_distance) > kDrift)
        compare();
    return m_shift;
}

void ClockWatch::compare()
{
    const Pt::Locked locked(m_lock);
    const std::int64_t found = distance();
    const std::int64_t moved = found - m_distance;
    if (isStep(moved)) {
        m_shift += moved;
        m_lastStep = {rounded(moved), m_clock.wallSeconds()};
    }
    m_distance = found;
}

std::optional<ClockWatch::Step> ClockWatch::lastStep() const
{
    const Pt::Locked locked(m_lock);
    return m_lastStep;
}

ClockWatch& clockWatch()
{
    static ClockWatch watch(Pt::systemClock());
    return watch;
}

std::int64_t Moment::secondsSetSince(std::int64_t formerShift) const
{
    return rounded(shift - formerShift);
}

Moment momentNow()
{
    // Again if the clock was set between the two.
    for (std::int64_t shift = clockWatch().shift();;) {
        const std::int64_t seconds = Pt::systemClock().wallSeconds();
        const std::int64_t after = clockWatch().shift();
        if (after == shift)
            return {seconds, shift};
        shift = after;
    }
}

} // namespace ScObjects::TevoroTalkData
