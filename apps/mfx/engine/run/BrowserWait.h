// The time in which the sink waits for the browser, at the end of a download, when all else is
// done: says what is waited for, ends the wait where it is in vain or was interrupted, and says
// why nothing is shown.
//
// begin() and end() belong to the download's thread; look() to the one that reports progress.
#pragma once

#include "mfx/engine/sink/BrowserWatch.h"
#include "mfx/engine/sink/DownloadEvents.h"
#include "platform/common/threads/Lock.h"

#include <chrono>
#include <functional>
#include <optional>

namespace mfx {

class BrowserWait {
public:
    // Borrows the events.
    BrowserWait(DownloadEvents& events, std::function<bool()> wasInterrupted);

    // Nothing is left but the browser. Without `isShowing` it is only told of the download, and
    // nobody else hears about that. Requires: the sink is there, until end().
    void begin(bool isShowing);
    // The sink is done. Says so where nothing is shown and nobody has interrupted.
    void end();

    void look();

private:
    using Clock = std::chrono::steady_clock;

    void say() TEVORO_REQUIRES(m_lock);
    bool isInVain() TEVORO_REQUIRES(m_lock);

    DownloadEvents& m_events;
    const std::function<bool()> m_wasInterrupted;
    Pt::Lock m_lock;
    std::optional<BrowserWatch> m_watch TEVORO_GUARDED_BY(m_lock); // while it waits
    Clock::time_point m_begun TEVORO_GUARDED_BY(m_lock);
    bool m_isShowing TEVORO_GUARDED_BY(m_lock) = false;
    bool m_isSaid TEVORO_GUARDED_BY(m_lock) = false;
    bool m_isEnded TEVORO_GUARDED_BY(m_lock) = false;
};

} // namespace mfx
