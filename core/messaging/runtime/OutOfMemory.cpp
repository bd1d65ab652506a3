#include "messaging/runtime/OutOfMemory.h"

#include "platform/common/services/Clock.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>

namespace ScObjects {

namespace {

constexpr std::chrono::nanoseconds kPause = std::chrono::seconds(1);

// When it may be said again, as a point of the steady clock.
constinit std::atomic<std::int64_t> gNext{0};

} // namespace

void tellOutOfMemory(long bytes)
{
    const std::int64_t now = Pt::systemClock().steadyNow().time_since_epoch().count();
    std::int64_t next = gNext;
    if (now < next || !gNext.compare_exchange_strong(next, now + kPause.count()))
        return;
    // Without a buffer of its own: there may be no memory for it.
    std::fprintf(
        stderr, "TevoroTalk: no memory for a text of %ld bytes, which is dropped\n", bytes);
}

} // namespace ScObjects
