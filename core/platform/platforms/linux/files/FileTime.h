#pragma once

#include <cstdint>
#include <limits>

#include <time.h>

namespace Pt {

// Nanoseconds since 1970. A broken file system can hold times that do not fit: they end at the
// edge, so that the same time always gives the same number.
inline std::int64_t nanoseconds(const timespec& time)
{
    constexpr std::int64_t kSecond = 1'000'000'000;
    constexpr std::int64_t kEdge = std::numeric_limits<std::int64_t>::max() / kSecond - 1;
    if (time.tv_sec > kEdge)
        return kEdge * kSecond;
    if (time.tv_sec < -kEdge)
        return -kEdge * kSecond;
    return time.tv_sec * kSecond + time.tv_nsec;
}

inline timespec timeOfNanoseconds(std::int64_t time)
{
    constexpr std::int64_t kSecond = 1'000'000'000;
    const std::int64_t rest = (time % kSecond + kSecond) % kSecond;
    return {(time - rest) / kSecond, rest};
}

} // namespace Pt
