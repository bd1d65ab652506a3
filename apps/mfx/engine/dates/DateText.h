// Dates as cameras write them, and the readers of their texts.
//
// A moment is a local date and time as it stands in the photo; the zone of this machine never
// plays a part. Every reader gives nothing for a text that is empty, cut or impossible, and for the
// first moments of 1904 and 1970: clocks and containers count from there, and say so when nobody
// set the clock. Free functions without state; any thread may call them.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace mfx {

struct CaptureMoment {
    int year = 0;
    int month = 0; // 1 to 12
    int day = 0; // 1 to 31
    int hour = 0;
    int minute = 0;
    int second = 0;
    std::optional<std::uint32_t> nanosecond; // of the second, when it was written
    std::optional<int> offsetMinutes; // east of UTC, when it was written

    friend bool operator==(const CaptureMoment&, const CaptureMoment&) = default;
};

// "2021:04:08 14:51:13" and what differs only in separators, with optional seconds, fraction and
// offset: "2021-04-08T14:51:13.25+02:00". A leading digit may be a space. Ends at a NUL.
std::optional<CaptureMoment> parseDateText(std::string_view text);

// A movie's date chunk: "FRI MAR 26 21:19:07 2021\n", or what parseDateText() reads.
std::optional<CaptureMoment> parseMovieDateText(std::string_view text);

// Minutes east of UTC: "+02:00", "-0930", "+02", "Z".
std::optional<int> parseOffset(std::string_view text);

// Nanoseconds of a fraction's digits: "25" is a quarter of a second. Digits past the ninth are
// dropped.
std::optional<std::uint32_t> parseSubSeconds(std::string_view digits);

// The UTC date of a count of seconds since 1970; nothing before 1971 or after 9999. Counts that
// lead before 1971 come from writers who counted from elsewhere.
std::optional<CaptureMoment> momentFromUnixTime(std::int64_t seconds);

// "2021-04-08T14:51:13.25+02:00", with what is known.
std::string isoText(const CaptureMoment& moment);

// Counted from 1970 by the clock that the moment was read from, whatever its zone.
std::int64_t clockSeconds(const CaptureMoment& moment);

// For formatting; day of the week and of the year are filled in.
std::tm brokenDownTime(const CaptureMoment& moment);

} // namespace mfx
