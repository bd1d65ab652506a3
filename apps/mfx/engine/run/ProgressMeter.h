// How far a download is: the share of all its work, the rate at which bytes come off the card, and
// what is being done just now. Any thread may call.
//
// An item's work is its size once for each pass over it: written, read back, and the same for a
// second copy. Shares are told in bytes of the card, so that they grow to the card's size whatever
// the passes are, and never shrink.
#pragma once

#include "mfx/engine/card/CardScan.h"
#include "mfx/engine/run/RateWindow.h"
#include "mfx/engine/sink/DownloadEvents.h"
#include "platform/common/threads/Lock.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace mfx {

class ProgressMeter {
public:
    using Clock = RateWindow::Clock;

    // Borrows the card.
    ProgressMeter(
        const CardContents& card, std::uint64_t passes, Clock::time_point start = Clock::now());

    // Bytes of an item's work that were done. What is copied was read off the card.
    void add(std::uint32_t item,
        ProgressPhase phase,
        std::uint64_t bytes,
        Clock::time_point now = Clock::now());

    // The item is over, whatever became of it and however much of its work was spared.
    void finish(std::uint32_t item);

    // What the thread that saves does, until the other one ends it. Staging goes on meanwhile, and
    // is told rather than this as long as it moves: then it is what everybody waits for.
    void enter(ProgressPhase phase, Clock::time_point now = Clock::now());
    void leave();

    ProgressEvent event(Clock::time_point now = Clock::now());

private:
    struct Report {
        ProgressPhase phase = ProgressPhase::kCopy;
        Clock::time_point time;
    };

    void credit(std::uint32_t item, std::uint64_t bytes) TEVORO_REQUIRES(m_lock);
    std::uint64_t workOf(std::uint32_t item) const;
    ProgressPhase phaseAt(Clock::time_point now) const TEVORO_REQUIRES(m_lock);

    const CardContents& m_card;
    const std::uint64_t m_passes;
    std::uint64_t m_cardBytes = 0; // constant after construction
    Pt::Lock m_lock;
    std::vector<std::uint64_t> m_credits TEVORO_GUARDED_BY(m_lock); // work done of each item
    std::uint64_t m_workDone TEVORO_GUARDED_BY(m_lock) = 0; // their sum
    std::uint64_t m_bytesRead TEVORO_GUARDED_BY(m_lock) = 0; // off the card
    std::size_t m_itemsDone TEVORO_GUARDED_BY(m_lock) = 0;
    RateWindow m_cardRate TEVORO_GUARDED_BY(m_lock);
    RateWindow m_workRate TEVORO_GUARDED_BY(m_lock);
    Report m_reported TEVORO_GUARDED_BY(m_lock);
    std::optional<Report> m_entered TEVORO_GUARDED_BY(m_lock);
};

// In a phase for the length of a block.
class PhaseScope {
public:
    PhaseScope(ProgressMeter& meter, ProgressPhase phase)
        : m_meter(meter)
    {
        m_meter.enter(phase);
    }
    ~PhaseScope() { m_meter.leave(); }
    PhaseScope(const PhaseScope&) = delete;
    PhaseScope& operator=(const PhaseScope&) = delete;

private:
    ProgressMeter& m_meter;
};

} // namespace mfx
