#include "platform/common/services/LocalTime.h"

namespace Pt {

std::optional<std::tm> localTime(std::int64_t seconds)
{
    const std::time_t time = seconds;
    std::tm parts = {};
    return ::localtime_r(&time, &parts) ? std::optional(parts) : std::nullopt;
}

} // namespace Pt
