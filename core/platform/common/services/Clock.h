#pragma once

#include <chrono>
#include <cstdint>

namespace Pt {

// The time, and sleeping. Code that needs the time is given a Clock, so that a test can move it; it
// borrows the Clock. Any thread may call the system's clock.
class Clock {
public:
    // Since the beginning of 1970, UTC; may jump when the clock is set.
    virtual std::int64_t wallMilliseconds() = 0;
    virtual std::int64_t wallSeconds() = 0;

    // Only ever goes forward; deadlines are points of this clock.
    virtual std::chrono::steady_clock::time_point steadyNow() = 0;

    // Blocks for at least that long, signals or not.
    virtual void sleepFor(std::chrono::nanoseconds duration) = 0;

protected:
    Clock() = default;
    ~Clock() = default;
};

// The system's clock; lives as long as the process.
Clock& systemClock();

} // namespace Pt
