#pragma once

#include <chrono>
#include <cstdint>

namespace Pt {

// The time, and waiting for it to pass. What needs a time takes a Clock from outside, so that a
// test can move it. Whoever takes one borrows it. Any thread may call the system's clock.
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
