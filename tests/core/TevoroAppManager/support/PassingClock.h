// A clock whose pauses take no time: it notes each, and does what a test wants to happen meanwhile.
// For the thread that pauses.
#pragma once

#include "platform/common/services/Clock.h"

#include <functional>
#include <vector>

namespace test {

class PassingClock final : public Pt::Clock {
public:
    std::int64_t wallMilliseconds() override { return Pt::systemClock().wallMilliseconds(); }
    std::int64_t wallSeconds() override { return Pt::systemClock().wallSeconds(); }
    std::chrono::steady_clock::time_point steadyNow() override
    {
        return Pt::systemClock().steadyNow();
    }
    void sleepFor(std::chrono::nanoseconds duration) override
    {
        pauses.push_back(duration);
        if (inPause)
            inPause();
    }

    std::vector<std::chrono::nanoseconds> pauses;
    std::function<void()> inPause;
};

} // namespace test
