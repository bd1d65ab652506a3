#include "mfx/engine/dates/DateText.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace mfx {
namespace {

std::string text(const std::optional<CaptureMoment>& moment)
{
    return moment ? isoText(*moment) : "nothing";
}

using Rows = std::vector<std::pair<std::string, std::string>>;

TEST(DateTextTest, ReadsTheDatesThatCamerasWrite)
{
    using namespace std::string_literals;
    const Rows rows{
        {"2021:04:08 14:51:13", "2021-04-08T14:51:13"},
        {"2021-04-08 14:51:13", "2021-04-08T14:51:13"},
        {"2021/04/08 14:51:13", "2021-04-08T14:51:13"},
        {"2021.04.08 14:51:13", "2021-04-08T14:51:13"},
        {"2021:04:08T14:51:13", "2021-04-08T14:51:13"},
        {"2021: 4: 8 14:51:13", "2021-04-08T14:51:13"},
        {"2021:04:08  4:51:13", "2021-04-08T04:51:13"},
        {" 2021:04:08 14:51:13 ", "2021-04-08T14:51:13"},
        {"2021:04:08 14:51:13\0rest"s, "2021-04-08T14:51:13"},
        {"2021:04:08 14:51:13.25", "2021-04-08T14:51:13.25"},
        {"2021:04:08 14:51:13.0", "2021-04-08T14:51:13.0"},
        {"2021:04:08 14:51:13+02:00", "2021-04-08T14:51:13+02:00"},
        {"2020-04-17T10:03:47-0600", "2020-04-17T10:03:47-06:00"},
        {"2020-04-17T10:03:47.123456789123Z", "2020-04-17T10:03:47.123456789+00:00"},
        {"2020-04-17T10:03", "2020-04-17T10:03:00"},
        {"2020-04-17T10:03 +01", "2020-04-17T10:03:00+01:00"},
        {"2020:02:29 23:59:59", "2020-02-29T23:59:59"},
        {"1932:07:14 12:00:00", "1932-07-14T12:00:00"}, // a scan, dated by hand
        {"1826:06:01 00:00:00", "1826-06-01T00:00:00"},
        {"1904:01:01 00:00:01", "1904-01-01T00:00:01"},
        {"1969:12:31 23:59:59", "1969-12-31T23:59:59"},
        {"1970:12:31 23:59:59", "1970-12-31T23:59:59"},
        {"9999:12:31 00:00:00", "9999-12-31T00:00:00"},
        {"2021:03:28 02:30:00", "2021-03-28T02:30:00"}, // an hour that summer time leaves out
    };
    for (const auto& [written, read] : rows)
        EXPECT_EQ(text(parseDateText(written)), read) << written;
}

TEST(DateTextTest, GivesNothingForATimeThatCannotBe)
{
    for (const std::string bad : {"0000:00:00 00:00:00",
             "    :  :     :  :  ",
             "1904:01:01 00:00:00",
             "1970:01:01 00:00:00",
             "1970:01:01 00:00:00.5",
             "1970:01:01 00:00:00Z",
             "0000:01:01 00:00:00",
             "2021:13:01 00:00:00",
             "2021:00:01 00:00:00",
             "2021:02:30 00:00:00",
             "2021:02:29 00:00:00",
             "2100:02:29 00:00:00",
             "2021:04:31 00:00:00",
             "2021:04:00 00:00:00",
             "2021:04:32 00:00:00",
             "2021:04:08 24:00:00",
             "2021:04:08 14:60:00",
             "2021:04:08 14:51:60",
             "2021:04:08 14:51:13+15:00",
             "2021:04:08 14:51:13+02:60"})
        EXPECT_EQ(text(parseDateText(bad)), "nothing") << bad;
}

TEST(DateTextTest, GivesNothingForWhatIsNotWrittenAsADate)
{
    for (const std::string bad : {"",
             " ",
             "2021:04:08",
             "2021:04",
             "2021:04:08 14",
             "2021:04:08 14:5",
             "2021:04:08 14:51:",
             "2021:04:08 14:51:1",
             "21:04:08 14:51:13",
             "12021:04:08 14:51:13",
             "2021:04:0814:51:13",
             "20210408 14:51:13",
             "2021:04:08 14:51:13x",
             "2021:04:08 14:51:13.",
             "2021:04:08 14:51:13.x",
             "2021:04:08 14:51:13+",
             "2021:04:08 14:51:13+2:00",
             "2021:-4:08 14:51:13",
             "2021:+4:08 14:51:13",
             "2021:0a:08 14:51:13",
             "yesterday",
             "2021_04_08 14:51:13",
             "\xFF\xFF\xFF\xFF",
             "2021:04:08 14:51:13+02:00 x"})
        EXPECT_EQ(text(parseDateText(bad)), "nothing") << bad;
}

TEST(DateTextTest, GivesNothingForADateCutAnywhere)
{
    const std::string whole = "2021:04:08 14:51:13.5+02:00";
    for (std::size_t length = 0; length < 16; ++length)
        EXPECT_FALSE(parseDateText(whole.substr(0, length))) << length;
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        const auto moment = parseDateText(whole.substr(0, length));
        EXPECT_TRUE(!moment || (moment->hour == 14 && moment->minute == 51)) << length;
    }
}

TEST(DateTextTest, ReadsTheDateChunksOfMovies)
{
    using namespace std::string_literals;
    const Rows rows{
        {"FRI MAR 26 21:19:07 2021\n\0"s, "2021-03-26T21:19:07"},
        {"Fri Mar  5 01:09:07 2021", "2021-03-05T01:09:07"},
        {"mon dec 5 1:09:07 2022\r\n", "2022-12-05T01:09:07"},
        {"2021:03:26 21:19:07", "2021-03-26T21:19:07"},
        {"2021-03-26 21:19:07\n", "2021-03-26T21:19:07"},
        {"2021/03/26 21:19", "2021-03-26T21:19:00"},
    };
    for (const auto& [written, read] : rows)
        EXPECT_EQ(text(parseMovieDateText(written)), read) << written;
}

TEST(DateTextTest, GivesNothingForADamagedDateChunk)
{
    for (const std::string bad : {"",
             "\n",
             "FRI",
             "FRI MAR",
             "FRI MAR 26",
             "FRI MAR 26 21:19:07",
             "FRI MAR 26 21:19:07 21",
             "FRI MAR 32 21:19:07 2021",
             "SUN FEB 29 21:19:07 2021",
             "FRI MAX 26 21:19:07 2021",
             "FRY MAR 26 21:19:07 2021",
             "FRIMAR 26 21:19:07 2021",
             "FRI MAR 26 25:19:07 2021",
             "FRI MAR 2621:19:07 2021",
             "FRI MAR 26 21:19:072021",
             "FRI MAR 26 21:19:07 2021 x",
             "THU JAN 1 00:00:00 1970",
             "FRI JAN 1 00:00:00 1904",
             "FRI MAR 26 21-19-07 2021",
             "FRI MAR 26 21:19:07 20211"})
        EXPECT_EQ(text(parseMovieDateText(bad)), "nothing") << bad;
}

TEST(DateTextTest, ReadsOffsets)
{
    EXPECT_EQ(parseOffset("+02:00"), 120);
    EXPECT_EQ(parseOffset("-09:30"), -570);
    EXPECT_EQ(parseOffset("+0545"), 345);
    EXPECT_EQ(parseOffset("-03"), -180);
    EXPECT_EQ(parseOffset("Z"), 0);
    EXPECT_EQ(parseOffset(" +00:00 "), 0);
    EXPECT_EQ(parseOffset("+14:00"), 840);
}

TEST(DateTextTest, GivesNothingForABadOffset)
{
    for (const std::string bad : {"",
             "   :  ",
             "02:00",
             "+",
             "+2",
             "+2:00",
             "+02:",
             "+02:0",
             "+02:60",
             "+14:01",
             "-15:00",
             "+02:00x",
             "+ab:cd",
             "Zulu",
             "++02:00",
             "+2:000"})
        EXPECT_FALSE(parseOffset(bad)) << bad;
}

TEST(DateTextTest, ReadsSubSeconds)
{
    EXPECT_EQ(parseSubSeconds("0"), 0U);
    EXPECT_EQ(parseSubSeconds("25"), 250'000'000U);
    EXPECT_EQ(parseSubSeconds("05 "), 50'000'000U);
    EXPECT_EQ(parseSubSeconds("123456789999"), 123'456'789U);
    for (const std::string bad : {"", "  ", "x", "1x", "-1", "1 2", "."})
        EXPECT_FALSE(parseSubSeconds(bad)) << bad;
}

TEST(DateTextTest, TurnsSecondsIntoAUtcDate)
{
    EXPECT_EQ(text(momentFromUnixTime(1'000'000'000)), "2001-09-09T01:46:40");
    EXPECT_EQ(text(momentFromUnixTime(31'536'000)), "1971-01-01T00:00:00");
    EXPECT_EQ(text(momentFromUnixTime(253'402'300'799)), "9999-12-31T23:59:59");
    for (const std::int64_t bad : {std::int64_t{0},
             std::int64_t{31'535'999},
             std::int64_t{-1},
             std::int64_t{253'402'300'800},
             INT64_MAX,
             INT64_MIN})
        EXPECT_EQ(text(momentFromUnixTime(bad)), "nothing") << bad;
}

TEST(DateTextTest, FindsTheDayOfTheWeekAndOfTheYear)
{
    const auto moment = parseDateText("2024:12:31 23:00:00");
    ASSERT_TRUE(moment);
    const std::tm time = brokenDownTime(*moment);
    EXPECT_EQ(time.tm_wday, 2); // a Tuesday
    EXPECT_EQ(time.tm_yday, 365); // of a leap year
    EXPECT_EQ(time.tm_year, 124);
    EXPECT_EQ(time.tm_mon, 11);
}

TEST(DateTextTest, CountsTheSecondsOfTheClock)
{
    EXPECT_EQ(clockSeconds({1970, 1, 1, 0, 0, 0, {}, {}}), 0);
    EXPECT_EQ(clockSeconds({1971, 1, 1, 0, 0, 1, {}, {}}), 31'536'001);
    EXPECT_EQ(clockSeconds({2024, 3, 1, 0, 0, 0, {}, {}})
            - clockSeconds({2024, 2, 28, 23, 59, 59, {}, {}}),
        86'401);
    EXPECT_EQ(
        clockSeconds({2026, 1, 2, 3, 4, 5, 6, 120}), clockSeconds({2026, 1, 2, 3, 4, 5, {}, {}}));
}

} // namespace
} // namespace mfx
