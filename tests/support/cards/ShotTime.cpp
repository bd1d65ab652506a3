#include "support/cards/ShotTime.h"

#include <cstdlib>

namespace tests {

namespace {

std::string digits(long long value, std::size_t width)
{
    const std::string text = std::to_string(value);
    return text.size() < width ? std::string(width - text.size(), '0') + text : text;
}

} // namespace

std::string exifDate(const ShotTime& time)
{
    const auto day = std::chrono::floor<std::chrono::days>(time.local);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(time.local - day);
    return digits(static_cast<int>(date.year()), 4) + ':'
        + digits(static_cast<unsigned int>(date.month()), 2) + ':'
        + digits(static_cast<unsigned int>(date.day()), 2) + ' ' + digits(clock.hours().count(), 2)
        + ':' + digits(clock.minutes().count(), 2) + ':' + digits(clock.seconds().count(), 2);
}

std::string exifSubSeconds(const ShotTime& time)
{
    return digits(time.hundredths, 2);
}

std::string exifOffset(const ShotTime& time)
{
    const auto minutes = std::abs(static_cast<long long>(time.offset.count()));
    return (time.offset.count() < 0 ? "-" : "+") + digits(minutes / 60, 2) + ':'
        + digits(minutes % 60, 2);
}

} // namespace tests
