// The time of day where the machine stands, as its zone has it. A plain function; any thread.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>

namespace Pt {

// Of a count of seconds since 1970, UTC; nothing for a year that does not fit.
std::optional<std::tm> localTime(std::int64_t seconds);

} // namespace Pt
