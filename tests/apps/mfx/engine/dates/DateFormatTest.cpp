#include "mfx/engine/dates/DateFormat.h"

#include <clocale>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace mfx {
namespace {

const CaptureMoment kMoment{2021, 3, 5, 14, 7, 9, std::nullopt, std::nullopt}; // a Friday

TEST(DateFormatTest, WritesTheLettersOfStrftime)
{
    const std::vector<std::pair<std::string, std::string>> rows{{"%Y-%m-%d", "2021-03-05"},
        {"%y%m%d_%H%M%S", "210305_140709"},
        {"%Y/%B", "2021/March"},
        {"%a %A %b %h", "Fri Friday Mar Mar"},
        {"%j", "064"},
        {"%e", " 5"},
        {"%I%p", "02PM"},
        {"%F", "2021-03-05"},
        {"%T %R", "14:07:09 14:07"},
        {"%G-W%V-%u", "2021-W09-5"},
        {"%U %W %w", "09 09 5"},
        {"%C", "20"},
        {"%D", "03/05/21"},
        {"100%%", "100%"},
        {"gr\xC3\xBC\xC3\x9F", "gr\xC3\xBC\xC3\x9F"},
        {"", ""},
        {"no letters", "no letters"}};
    for (const auto& [format, expected] : rows)
        EXPECT_EQ(DateFormat(format).render(kMoment), expected) << format;
}

TEST(DateFormatTest, RefusesOtherLetters)
{
    for (const std::string bad : {"%",
             "%Y%",
             "%%%",
             "%s",
             "%Z",
             "%z",
             "%EY",
             "%Od",
             "%n",
             "%t",
             "%k",
             "%l",
             "%P",
             "%f",
             "%q",
             "% ",
             "%-d",
             "%_H",
             "%5Y",
             "%\xC3\xBC",
             "%{",
             "%i"})
        EXPECT_THROW(DateFormat{bad}, PatternError) << bad;
}

TEST(DateFormatTest, NamesTheLetterThatItRefuses)
{
    try {
        const DateFormat format("%Y-%q");
        FAIL() << "accepted";
    } catch (const PatternError& error) {
        EXPECT_NE(std::string(error.what()).find("\"%q\""), std::string::npos) << error.what();
    }
}

TEST(DateFormatTest, DoesNotDependOnLocaleOrZone)
{
    std::setlocale(LC_ALL, "");
    setenv("TZ", "JST-9", 1);
    EXPECT_EQ(DateFormat("%c").render(kMoment), "Fri Mar  5 14:07:09 2021");
    unsetenv("TZ");
    std::setlocale(LC_ALL, "C");
}

TEST(DateFormatTest, GivesAnExampleThatNoDateExceeds)
{
    const DateFormat format("%A %B %d %j %p");
    for (int month = 1; month <= 12; ++month) {
        for (int day = 1; day <= 28; ++day) {
            EXPECT_LE(format.render({2021, month, day, 3, 4, 5, {}, {}}).size(),
                format.longestExample().size());
        }
    }
}

} // namespace
} // namespace mfx
