// The one line of progress on a terminal: share, items, what is being done, the rate of the card,
// time left. Redrawn a few times a second at most. One thread at a time.
#pragma once

#include "mfx/engine/sink/DownloadEvents.h"

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

    const bool m_shown;
    Clock::time_point m_last;
    bool m_isDrawn = false;
};

} // namespace mfx
