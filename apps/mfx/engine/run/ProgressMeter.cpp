#include "mfx/engine/run/ProgressMeter.h"

#include <algorithm>

namespace mfx {

namespace {

constexpr std::chrono::seconds kCardSpan{3};
constexpr std::chrono::seconds kWorkSpan{12}; // large items and second copies come in lumps
constexpr std::chrono::seconds kMoving{1}; // a report holds for so long

} // namespace

ProgressMeter::ProgressMeter(
    const CardContents& card, std::uint64_t passes, Clock::time_point start)
    : m_card(card)
    , m_passes(passes)
    , m_credits(card.items.size())
    , m_cardRate(kCardSpan, start)
    , m_workRate(kWorkSpan, start)
    , m_reported{ProgressPhase::kCopy, start}
{
    for (const MediaItem& item : card.items)
        m_cardBytes += item.status.size;
}

void ProgressMeter::add(
    std::uint32_t item, ProgressPhase phase, std::uint64_t bytes, Clock::time_point now)
{
    Pt::Locked locked(m_lock);
    if (phase == ProgressPhase::kCopy)
        m_bytesRead += bytes;
    m_reported = {phase, now};
    credit(item, bytes);
}

void ProgressMeter::finish(std::uint32_t item)
{
    Pt::Locked locked(m_lock);
    credit(item, workOf(item));
    ++m_itemsDone;
}

// What is done twice, because a file went away or grew, counts once: the share that is done never
// goes beyond the whole, and never back.
void ProgressMeter::credit(std::uint32_t item, std::uint64_t bytes)
{
    const std::uint64_t spent = std::min(bytes, workOf(item) - m_credits[item]);
    m_credits[item] += spent;
    m_workDone += spent;
}

std::uint64_t ProgressMeter::workOf(std::uint32_t item) const
{
    return m_card.items[item].status.size * m_passes;
}

void ProgressMeter::enter(ProgressPhase phase, Clock::time_point now)
{
    Pt::Locked locked(m_lock);
    m_reported = {phase, now};
    m_entered = m_reported;
}

void ProgressMeter::leave()
{
    Pt::Locked locked(m_lock);
    m_entered.reset();
}

// Copying and proving go on ahead on other threads while the main one is in a phase of its own.
// What was reported in the last second is what the disk is busy with, and wins.
ProgressPhase ProgressMeter::phaseAt(Clock::time_point now) const
{
    const bool isStaging = now - m_reported.time < kMoving;
    return m_entered && !isStaging ? m_entered->phase : m_reported.phase;
}

// Two rates: people want to know how fast the card is read, while the time that is left depends on
// all the work, backups included, which goes on when the card is read through.
ProgressEvent ProgressMeter::event(Clock::time_point now)
{
    Pt::Locked locked(m_lock);
    ProgressEvent event;
    event.bytesDone = m_workDone / m_passes;
    event.bytesTotal = m_cardBytes;
    event.itemsDone = m_itemsDone;
    event.itemsTotal = m_card.items.size();
    event.phase = phaseAt(now);
    event.rate = static_cast<std::uint64_t>(m_cardRate.add(now, m_bytesRead));
    const double workRate = m_workRate.add(now, m_workDone);
    if (workRate > 0)
        event.secondsLeft = static_cast<double>(m_cardBytes * m_passes - m_workDone) / workRate;
    return event;
}

} // namespace mfx
