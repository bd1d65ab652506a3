// What the books of the soak take for a reason.
#include "core/messaging/support/soak/SoakBooks.h"

#include <algorithm>

namespace test {

namespace {

// An answer that finds no room is given up after ten seconds, and a little.
constexpr long kSilentTime = 9 * kSecond + kSecond / 2;
constexpr long kLateAnswerTime = 12 * kSecond;
// For that long nobody waits for the same asker again.
constexpr long kSilence = 61 * kSecond;
// What goes at once takes less, also on a machine with much else to do.
constexpr long kAtOnce = kSecond;
// The port of the bus's thread comes a moment after the application's own.
constexpr long kThreadTime = 2 * kSecond;

template <typename Key>
bool overlapsAny(
    const std::map<Key, std::vector<SoakSpan>>& spans, const Key& key, long from, long to)
{
    const auto found = spans.find(key);
    return found != spans.end() && std::ranges::any_of(found->second, [&](const SoakSpan& span) {
        return span.overlaps(from, to);
    });
}

} // namespace

const SoakLife* SoakBooks::lifeOf(const Process& process) const
{
    const auto found = std::ranges::find_if(m_events.lives, [&](const SoakLife& life) {
        return life.number == process.first && life.process == process.second;
    });
    return found != m_events.lives.end() ? &*found : nullptr;
}

bool SoakBooks::isSenderWhole(const Sent& sent) const
{
    const SoakLife* const life = lifeOf(sent.sender);
    return life != nullptr && !life->wasKilled;
}

// Whether one process held the target's name from before the send until after it.
bool SoakBooks::wasHeldThroughout(const Sent& sent) const
{
    const long extra = sent.kind == SoakKind::kPing ? kThreadTime : 0;
    return std::ranges::any_of(m_events.lives, [&](const SoakLife& life) {
        return life.number == sent.target && life.ready + extra <= sent.time
            && sent.settled <= life.ending;
    });
}

bool SoakBooks::wasAway(int number, long from, long to) const
{
    return overlapsAny(m_events.away, number, from, to);
}

// Whether it may have been with a holder that was killed. Not with the one that handled a later
// message of the same sender, nor with those after that: it was there first.
bool SoakBooks::couldBeLost(const Sent& sent, const Sent* next) const
{
    const SoakLife* const limit = next != nullptr ? lifeOf({sent.target, next->handler}) : nullptr;
    return std::ranges::any_of(m_events.lives, [&](const SoakLife& life) {
        return life.number == sent.target && life.wasKilled
            && (limit == nullptr || life.start < limit->start) && sent.time <= life.end
            && sent.settled >= life.start;
    });
}

// A time-out of a second is over when the next whole second begins, and not before; the sender is
// told, if it lives.
bool SoakBooks::couldHaveExpired(const Sent& sent, const Sent* next) const
{
    if (sent.kind != SoakKind::kTimed || (isSenderWhole(sent) && sent.answers[kTimeout] == 0))
        return false;
    return next == nullptr || wallSecond(next->handledTime) > wallSecond(sent.time - kClockStep);
}

// By a kill of the one that handled it, before it had answered.
bool SoakBooks::wasCutOff(const Sent& sent) const
{
    const SoakLife* const life = lifeOf({sent.target, sent.handler});
    return life != nullptr && life->wasKilled
        && life->end <= reach(sent.target, sent.handledTime, kAtOnce);
}

// Whether that process had a backlog from soon after the start until the end. What has waited for
// its turn is not late, and a time-out is told before what lies behind other texts.
bool SoakBooks::wasBusy(const Process& process, long from, long to) const
{
    const auto found = m_busy.find(process);
    return found != m_busy.end() && std::ranges::any_of(found->second, [&](const SoakSpan& span) {
        return span.from <= from + kAtOnce && to <= span.to;
    });
}

// Whether one of both had a pause between these times, or was behind, or there was hardly any time.
bool SoakBooks::wasSlow(const Sent& sent, long from, long to) const
{
    const Process handler(sent.target, sent.handler);
    return to - from < kAtOnce || overlapsAny(m_pauses, sent.sender, from, to)
        || overlapsAny(m_pauses, handler, from, to) || wasBusy(sent.sender, from, to)
        || wasBusy(handler, from, to) || overlapsAny(m_events.stops, sent.target, from, to);
}

// The end of a time in which that peer runs.
long SoakBooks::reach(int number, long from, long time) const
{
    long end = from + time;
    const auto stops = m_events.stops.find(number);
    if (stops == m_events.stops.end())
        return end;
    for (const SoakSpan& stop : stops->second) // in their order
        if (stop.overlaps(from, end))
            end += stop.to - std::max(stop.from, from);
    return end;
}

// Whether the holder has lost answers for want of room: the first one only after it waited for as
// long as it has patience, and others within a minute of that; or it was killed while it waited.
bool SoakBooks::mayHaveGivenUp(int number, long from, long to) const
{
    const auto isLong = [&](const SoakSpan& pause) {
        return pause.to - pause.from >= kSilentTime && pause.overlaps(from - kSilence, to);
    };
    return std::ranges::any_of(m_events.lives, [&](const SoakLife& life) {
        const auto pauses = m_pauses.find({number, life.process});
        return life.number == number
            && ((life.wasKilled && from <= life.end && life.end <= to)
                || (pauses != m_pauses.end() && std::ranges::any_of(pauses->second, isLong)));
    });
}

// Whether an answer to the sender may be missing.
bool SoakBooks::isExcused(const Sent& sent, const char* what)
{
    const long from = sent.handled != 0 ? sent.handledTime : sent.time;
    const long to = reach(sent.target, from, kLateAnswerTime);
    const std::string name = std::string(what) + " missing: ";
    const int asker = sent.sender.first;
    const std::pair<int, int> both = std::minmax(asker, sent.target);
    if (sent.handled != 0 && wasCutOff(sent))
        ++m_sums[name + "the holder was killed"];
    else if (wasAway(asker, from, reach(sent.target, from, kAtOnce)))
        ++m_sums[name + "the asker's files were gone"];
    else if (overlapsAny(m_floods, both, from, to) && mayHaveGivenUp(sent.target, from, to))
        ++m_sums[name + "there was a flood between both"];
    else
        return false;
    return true;
}

} // namespace test
