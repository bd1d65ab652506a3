#include "mfx/engine/dates/DateText.h"

#include "platform/common/text/NameText.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdio>

namespace mfx {

namespace {

constexpr int kFirstCountedYear = 1971; // a clock that was never set is in its first year still
constexpr int kLastYear = 9999;
constexpr int kWidestOffset = 14 * 60;

constexpr auto kMonths = std::to_array<std::string_view>(
    {"jan", "feb", "mar", "apr", "may", "jun", "jul", "aug", "sep", "oct", "nov", "dec"});
constexpr auto kWeekdays =
    std::to_array<std::string_view>({"mon", "tue", "wed", "thu", "fri", "sat", "sun"});

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Reads a text from left to right; every reader leaves the position alone when it gives nothing.
class TextCursor {
public:
    // Ends at the first NUL, without blanks around the rest.
    explicit TextCursor(std::string_view text)
        : m_rest(text.substr(0, text.find('\0')))
    {
        skipBlanks();
        while (!m_rest.empty() && isBlank(m_rest.back()))
            m_rest.remove_suffix(1);
    }

    bool atEnd() const { return m_rest.empty(); }
    char front() const { return m_rest.empty() ? '\0' : m_rest.front(); }

    bool takeAny(std::string_view characters)
    {
        const bool found =
            !m_rest.empty() && characters.find(m_rest.front()) != std::string_view::npos;
        m_rest.remove_prefix(found ? 1 : 0);
        return found;
    }

    bool skipBlanks()
    {
        const std::size_t before = m_rest.size();
        while (!m_rest.empty() && isBlank(m_rest.front()))
            m_rest.remove_prefix(1);
        return m_rest.size() != before;
    }

    // Exactly `count` digits.
    std::optional<int> number(std::size_t count)
    {
        const std::string_view digits = m_rest.substr(0, count);
        if (digits.size() != count || !std::all_of(digits.begin(), digits.end(), isDigit))
            return std::nullopt;
        int value = 0;
        for (const char digit : digits)
            value = value * 10 + (digit - '0');
        m_rest.remove_prefix(count);
        return value;
    }

    // Two digits, the first of which some cameras write as a space.
    std::optional<int> twoDigits()
    {
        if (m_rest.size() >= 2 && m_rest[0] == ' ' && isDigit(m_rest[1])) {
            m_rest.remove_prefix(1);
            return number(1);
        }
        return number(2);
    }

    // One digit or two.
    std::optional<int> upToTwoDigits()
    {
        const auto two = number(2);
        return two ? two : number(1);
    }

    std::string_view takeDigits()
    {
        const auto end = std::find_if_not(m_rest.begin(), m_rest.end(), isDigit);
        return take(static_cast<std::size_t>(end - m_rest.begin()));
    }

    // The 1-based place of the next three letters in `words`; nothing when they are none of them.
    template <typename Words>
    std::optional<int> wordOf(const Words& words)
    {
        const std::string word = Pt::asciiLower(m_rest.substr(0, 3));
        const auto found = std::find(words.begin(), words.end(), word);
        if (found == words.end())
            return std::nullopt;
        m_rest.remove_prefix(3);
        return static_cast<int>(found - words.begin()) + 1;
    }

private:
    std::string_view take(std::size_t count)
    {
        const std::string_view taken = m_rest.substr(0, count);
        m_rest.remove_prefix(count);
        return taken;
    }

    std::string_view m_rest;
};

// Where clocks begin to count, and what they say until somebody sets them: the epoch of movies,
// 1904, and that of Unix, 1970. A picture dated so has no date.
bool isClocksZero(const CaptureMoment& moment)
{
    return (moment.year == 1904 || moment.year == 1970) && moment.month == 1 && moment.day == 1
        && moment.hour == 0 && moment.minute == 0 && moment.second == 0;
}

// Cameras without a date write zeros or blanks, and broken ones a thirtieth of February. What
// cannot be a moment is no date: the next source is asked, and in the end the file's time.
bool isPossible(const CaptureMoment& moment)
{
    using namespace std::chrono;
    const year_month_day date{year{moment.year},
        month{static_cast<unsigned>(moment.month)},
        day{static_cast<unsigned>(moment.day)}};
    return moment.year > 0 && moment.year <= kLastYear && date.ok() && moment.hour < 24
        && moment.minute < 60 && moment.second < 60 && !isClocksZero(moment);
}

// The standard wants colons; programs that repair dates write dashes, slashes and dots.
bool readDate(TextCursor& cursor, CaptureMoment& moment)
{
    constexpr std::string_view kSeparators = ":-/.";
    const auto year = cursor.number(4);
    const bool first = cursor.takeAny(kSeparators);
    const auto month = cursor.twoDigits();
    const bool second = cursor.takeAny(kSeparators);
    const auto day = cursor.twoDigits();
    if (!year || !first || !month || !second || !day)
        return false;
    moment.year = *year;
    moment.month = *month;
    moment.day = *day;
    return true;
}

// hh:mm[:ss]; the hour may be a single digit where `shortHour` allows it.
bool readTime(TextCursor& cursor, CaptureMoment& moment, bool shortHour)
{
    const auto hour = shortHour ? cursor.upToTwoDigits() : cursor.twoDigits();
    const bool colon = cursor.takeAny(":");
    const auto minute = cursor.twoDigits();
    if (!hour || !colon || !minute)
        return false;
    moment.hour = *hour;
    moment.minute = *minute;
    if (!cursor.takeAny(":"))
        return true;
    const auto second = cursor.twoDigits();
    moment.second = second.value_or(0);
    return second.has_value();
}

// The minutes may be left out, but not behind a colon.
std::optional<int> readOffsetMinutes(TextCursor& cursor)
{
    const bool colon = cursor.takeAny(":");
    const bool minutesFollow = colon || isDigit(cursor.front());
    return minutesFollow ? cursor.number(2) : std::optional(0);
}

// "Z", "+02:00", "+0200", "+02". The widest in use is fourteen hours: more is a misread field.
std::optional<int> readOffset(TextCursor& cursor)
{
    if (cursor.takeAny("Zz"))
        return 0;
    const bool west = cursor.front() == '-';
    if (!cursor.takeAny("+-"))
        return std::nullopt;
    const auto hours = cursor.number(2);
    const auto minutes = readOffsetMinutes(cursor);
    if (!hours || !minutes || *minutes > 59 || *hours * 60 + *minutes > kWidestOffset)
        return std::nullopt;
    const int offset = *hours * 60 + *minutes;
    return west ? -offset : offset;
}

// What may follow the seconds; false when there is something else.
bool readFractionAndOffset(TextCursor& cursor, CaptureMoment& moment)
{
    if (cursor.takeAny(".,")) {
        moment.nanosecond = parseSubSeconds(cursor.takeDigits());
        if (!moment.nanosecond)
            return false;
    }
    cursor.skipBlanks();
    if (cursor.atEnd())
        return true;
    moment.offsetMinutes = readOffset(cursor);
    return moment.offsetMinutes && cursor.atEnd();
}

// "MAR 26 21:19:07 2021", after the day of the week.
std::optional<CaptureMoment> readSpelledDate(TextCursor& cursor)
{
    CaptureMoment moment;
    const auto month = cursor.wordOf(kMonths);
    cursor.skipBlanks();
    const auto day = cursor.upToTwoDigits();
    const bool gap = cursor.skipBlanks();
    if (!month || !day || !gap || !readTime(cursor, moment, true) || !cursor.skipBlanks())
        return std::nullopt;
    moment.month = *month;
    moment.day = *day;
    moment.year = cursor.number(4).value_or(0);
    return cursor.atEnd() && isPossible(moment) ? std::optional(moment) : std::nullopt;
}

// Requires: a possible moment, which all that are made here are.
std::chrono::sys_days dayOf(const CaptureMoment& moment)
{
    using namespace std::chrono;
    return year{moment.year} / month{static_cast<unsigned>(moment.month)}
    / day{static_cast<unsigned>(moment.day)};
}

CaptureMoment momentAt(std::chrono::sys_seconds time)
{
    using namespace std::chrono;
    const sys_days today = floor<days>(time);
    const year_month_day date{today};
    const hh_mm_ss clock{time - today};
    CaptureMoment moment;
    moment.year = static_cast<int>(date.year());
    moment.month = static_cast<int>(static_cast<unsigned>(date.month()));
    moment.day = static_cast<int>(static_cast<unsigned>(date.day()));
    moment.hour = static_cast<int>(clock.hours().count());
    moment.minute = static_cast<int>(clock.minutes().count());
    moment.second = static_cast<int>(clock.seconds().count());
    return moment;
}

// As many digits as are needed, but one at least: ".0" says that the camera knew fractions.
std::string fractionText(std::uint32_t nanosecond)
{
    std::array<char, 16> buffer{};
    std::snprintf(buffer.data(), buffer.size(), ".%09u", nanosecond);
    const std::string text = buffer.data();
    const std::size_t last = text.find_last_not_of('0');
    return text.substr(0, text[last] == '.' ? last + 2 : last + 1);
}

// The sign stands apart: an offset of minus half an hour has no negative number of hours.
std::string offsetText(int minutes)
{
    const int distance = std::abs(minutes);
    std::array<char, 48> buffer{};
    std::snprintf(buffer.data(),
        buffer.size(),
        "%c%02d:%02d",
        minutes < 0 ? '-' : '+',
        distance / 60,
        distance % 60);
    return buffer.data();
}

// The first day is 0.
int dayOfYear(const CaptureMoment& moment)
{
    using namespace std::chrono;
    const sys_days newYear{year{moment.year} / January / 1};
    return static_cast<int>((dayOf(moment) - newYear).count());
}

std::string wholeSecondsText(const CaptureMoment& moment)
{
    std::array<char, 96> buffer{};
    std::snprintf(buffer.data(),
        buffer.size(),
        "%04d-%02d-%02dT%02d:%02d:%02d",
        moment.year,
        moment.month,
        moment.day,
        moment.hour,
        moment.minute,
        moment.second);
    return buffer.data();
}

} // namespace

std::optional<CaptureMoment> parseDateText(std::string_view text)
{
    TextCursor cursor(text);
    CaptureMoment moment;
    if (!readDate(cursor, moment))
        return std::nullopt;
    const bool spaced = cursor.takeAny("Tt ");
    if (!spaced || !readTime(cursor, moment, false) || !readFractionAndOffset(cursor, moment))
        return std::nullopt;
    return isPossible(moment) ? std::optional(moment) : std::nullopt;
}

std::optional<CaptureMoment> parseMovieDateText(std::string_view text)
{
    TextCursor cursor(text);
    if (isDigit(cursor.front()))
        return parseDateText(text);
    if (!cursor.wordOf(kWeekdays) || !cursor.skipBlanks())
        return std::nullopt;
    return readSpelledDate(cursor);
}

std::optional<int> parseOffset(std::string_view text)
{
    TextCursor cursor(text);
    const auto offset = readOffset(cursor);
    return cursor.atEnd() ? offset : std::nullopt;
}

// A fraction without its point: "5" is half a second, and what goes beyond nanoseconds is cut off.
std::optional<std::uint32_t> parseSubSeconds(std::string_view digits)
{
    TextCursor cursor(digits);
    const std::string_view found = cursor.takeDigits();
    if (found.empty() || !cursor.atEnd())
        return std::nullopt;
    constexpr std::size_t kDigits = 9;
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < kDigits; ++i)
        value = value * 10 + (i < found.size() ? static_cast<std::uint32_t>(found[i] - '0') : 0);
    return value;
}

// Done by the calendar of the library and not by gmtime(), which is not safe with threads and knows
// leap seconds on some systems.
std::optional<CaptureMoment> momentFromUnixTime(std::int64_t seconds)
{
    using namespace std::chrono;
    constexpr sys_seconds kBegin{sys_days{year{kFirstCountedYear} / January / 1}};
    constexpr sys_seconds kEnd{sys_days{year{kLastYear + 1} / January / 1}};
    if (seconds < kBegin.time_since_epoch().count() || seconds >= kEnd.time_since_epoch().count())
        return std::nullopt;
    return momentAt(sys_seconds{std::chrono::seconds{seconds}});
}

std::string isoText(const CaptureMoment& moment)
{
    std::string text = wholeSecondsText(moment);
    if (moment.nanosecond)
        text += fractionText(*moment.nanosecond);
    if (moment.offsetMinutes)
        text += offsetText(*moment.offsetMinutes);
    return text;
}

// As the clock on the camera showed it, whatever its offset: two shots are compared by it that were
// made with one camera, or with two whose clocks were set alike.
std::int64_t clockSeconds(const CaptureMoment& moment)
{
    constexpr std::int64_t kSecondsPerDay = 86'400;
    const std::int64_t days = dayOf(moment).time_since_epoch().count();
    return days * kSecondsPerDay + moment.hour * 3600 + moment.minute * 60 + moment.second;
}

// Day of week and day of year are set as well: formats may ask for them, and the formatter takes
// them from here without reckoning.
std::tm brokenDownTime(const CaptureMoment& moment)
{
    using namespace std::chrono;
    const sys_days today = dayOf(moment);
    std::tm time{};
    time.tm_year = moment.year - 1900;
    time.tm_mon = moment.month - 1;
    time.tm_mday = moment.day;
    time.tm_hour = moment.hour;
    time.tm_min = moment.minute;
    time.tm_sec = moment.second;
    time.tm_wday = static_cast<int>(weekday{today}.c_encoding());
    time.tm_yday = dayOfYear(moment);
    return time;
}

} // namespace mfx
