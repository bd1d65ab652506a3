// How fast a count grows, smoothed over the last few seconds. Told of the count from time to time;
// one thread at a time.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>

namespace mfx {

class RateWindow {
public:
    using Clock = std::chrono::steady_clock;

    // What is older than `span` is forgotten. The count is 0 at `start`.
    RateWindow(Clock::duration span, Clock::time_point start)
        : m_span(span)
        , m_samples{{start, 0}}
    {
    }

    // Per second; 0 as long as no time has passed. Requires: neither time nor count runs backward.
    double add(Clock::time_point now, std::uint64_t count);

private:
    struct Sample {
        Clock::time_point time;
        std::uint64_t count;
    };

    const Clock::duration m_span;
    std::deque<Sample> m_samples; // the first is the last one that is older than the span
};

} // namespace mfx
