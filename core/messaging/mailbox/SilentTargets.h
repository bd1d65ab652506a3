// Which targets do not read what they are sent. A process that is stopped, or never looks at its
// port, holds a sender up once, and not again before it has read something.
//
// All targets together take up ten seconds in a minute at most, so that neither many of them nor
// one that reads a text now and then hold every send up. Any thread may call.
#pragma once

#include "platform/common/threads/Lock.h"

#include <chrono>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ScObjects::TevoroTalkData {

class SilentTargets {
public:
    using Milliseconds = std::chrono::milliseconds;

    // How long to wait for room at that target: up to `whole`, and not at all while it is silent.
    Milliseconds patienceFor(std::string_view target, Milliseconds whole) const;

    // It took a text.
    void hasRead(std::string_view target);
    // It made no room in that time, which is what patienceFor() allowed.
    void hasNotRead(std::string_view target, Milliseconds waited);

    bool isSilent(std::string_view target) const;
    // The silent ones, sorted.
    std::vector<std::string> names() const;

private:
    using Clock = std::chrono::steady_clock;

    // That was waited within a minute.
    class TimeInAMinute {
    public:
        Milliseconds in(Clock::time_point now) const;
        void add(Milliseconds waited, Clock::time_point now);

    private:
        Milliseconds m_waited{0};
        Clock::time_point m_since;
    };

    struct Record {
        bool isSilent = true;
        TimeInAMinute time;
    };

    mutable Pt::Lock m_lock;
    TimeInAMinute m_inAll TEVORO_GUARDED_BY(m_lock);
    // Only targets that have held a send up; those are few, and each has cost its time.
    std::unordered_map<std::string, Record> m_records TEVORO_GUARDED_BY(m_lock);
};

} // namespace ScObjects::TevoroTalkData
