#pragma once

#include "mfx/engine/dates/CaptureDate.h"

#include <cstdint>
#include <string>

namespace mfx::tests {

inline constexpr std::uint64_t kSeptember2001 = 3'082'844'800; // 1000000000 in seconds since 1904

inline std::string isoTextOf(const CaptureDate& date)
{
    return date.moment ? isoText(*date.moment) : "nothing";
}

} // namespace mfx::tests
