// The one line of progress on a terminal: share, bytes, rate, time left, items. Redrawn a few times
// a second. One thread at a time.
#pragma once

#include "mfx/engine/DownloadEvents.h"

#include <chrono>

namespace mfx {

class ProgressLine {
public:
    // Shows nothing when `shown` is false.
    explicit ProgressLine(bool shown);

    void show(const ProgressEvent& event);

    // Takes the line away, so that something else can be printed.
    void clear();

private:
    using Clock = std::chrono::steady_clock;

    std::string line(const ProgressEvent& event, Clock::time_point now) const;

    const bool m_shown;
    const Clock::time_point m_start;
    Clock::time_point m_last;
    bool m_isDrawn = false;
};

} // namespace mfx
