// Notices that the wall clock was set. Deadlines are points of the wall clock; how long something
// really waited only the steady clock knows. Whoever keeps a deadline remembers the shift() of that
// time: what has come to it since is what its deadline is wrong by.
//
// Any thread. Cheap enough to be asked with every message.
#pragma once

#include "platform/common/threads/Lock.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>

namespace Pt {
class Clock;
} // namespace Pt

namespace ScObjects::TevoroTalkData {

class ClockWatch {
public:
    // Smaller steps are within what a deadline of whole seconds leaves open.
    static constexpr std::chrono::milliseconds kSmallestStep{2000};

    struct Step {
        std::int64_t seconds = 0; // forward; negative for back
        std::int64_t at = 0; // seconds since 1970, by the new time
    };

    // Borrows the clock.
    explicit ClockWatch(Pt::Clock& clock);

    // The sum of all steps so far, in milliseconds: how far the wall clock is ahead of where it
    // would be had nobody set it. Compares the clocks first.
    std::int64_t shift();
    // The latest step; none before the first.
    std::optional<Step> lastStep() const;

private:
    std::int64_t distance() const;
    void compare();

    Pt::Clock& m_clock;
    std::atomic<std::int64_t> m_shift{0}; // milliseconds, as are the others
    std::atomic<std::int64_t>
        m_distance; // of the wall clock from the steady one, when last compared
    mutable Pt::Lock m_lock; // for what follows, and for changes
    std::optional<Step> m_lastStep TEVORO_GUARDED_BY(m_lock);
};

// The one of the process, on the system's clock.
ClockWatch& clockWatch();

// A point of the wall clock, and the shift that belongs to it.
struct Moment {
    std::int64_t seconds = 0; // since 1970
    std::int64_t shift = 0; // milliseconds

    // By how many seconds a deadline is wrong that was made at that shift.
    std::int64_t secondsSetSince(std::int64_t formerShift) const;
};

Moment momentNow();

} // namespace ScObjects::TevoroTalkData
