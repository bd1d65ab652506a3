#include "mfx/engine/names/NumberMatcher.h"

#include "mfx/engine/names/NamePattern.h"

#include <gmock/gmock.h>

namespace mfx {
namespace {

struct MatchCase {
    const char* test;
    const char* pattern;
    const char* name;
    std::uint64_t number;
    const char* stem;
    const char* extension;
};

void PrintTo(const MatchCase& row, std::ostream* out)
{
    *out << row.test;
}

class NumberMatcherTest : public testing::TestWithParam<MatchCase> { };

TEST_P(NumberMatcherTest, ReadsTheNumber)
{
    const MatchCase& row = GetParam();
    const NumberMatcher matcher = NamePattern(row.pattern).numberMatcher();
    const auto match = matcher.match(row.name);
    ASSERT_TRUE(match);
    EXPECT_EQ(match->number, row.number);
    EXPECT_EQ(match->stem, row.stem);
    EXPECT_EQ(match->extension, row.extension);
}

INSTANTIATE_TEST_SUITE_P(Cases,
    NumberMatcherTest,
    testing::Values(MatchCase{"Plain", "P{seq:3}", "P007.JPG", 7, "P007", "JPG"},
        MatchCase{"OwnExtension", "P{seq:3}.{ext}", "P007.JPG", 7, "P007", "JPG"},
        MatchCase{"NoExtension", "P{seq:3}", "P007", 7, "P007", ""},
        MatchCase{"ChainedExtension", "P{seq:3}", "P007.CR2.xmp", 7, "P007", "CR2.xmp"},
        MatchCase{"SecondForm", "P{seq:3}", "P007-12.JPG", 7, "P007-12", "JPG"},
        MatchCase{"MoreThanItsDigits", "P{seq:3}", "P1234.JPG", 1234, "P1234", "JPG"},
        MatchCase{"OneDigit", "P{seq:1}", "P0.JPG", 0, "P0", "JPG"},
        MatchCase{"NineDigits", "P{seq:9}", "P123456789.JPG", 123456789, "P123456789", "JPG"},
        MatchCase{"Name", "{name}_{seq:2}", "IMG_0042_07.JPG", 7, "IMG_0042_07", "JPG"},
        MatchCase{"NameBeside", "{name}{seq:3}", "A1234.JPG", 234, "A1234", "JPG"},
        MatchCase{"NameBehind", "{seq:3}{name}", "0019A.JPG", 1, "0019A.JPG", ""},
        MatchCase{"Extension", "{ext}-{seq:2}", "CR2-08.CR2", 8, "CR2-08", "CR2"},
        MatchCase{"Date", "{date:%Y%m%d}_{seq:2}", "20260102_03.JPG", 3, "20260102_03", "JPG"},
        MatchCase{"NoDate", "{date:%Y%m%d}_{seq:2}", "undated_03.JPG", 3, "undated_03", "JPG"},
        MatchCase{"DateBeside", "{date:%Y}{seq:2}", "202603.JPG", 3, "202603", "JPG"},
        MatchCase{"DateInWords", "{date:%d. %B}{seq:2}", "02. May07.JPG", 7, "02. May07", "JPG"},
        MatchCase{"DateWithBlank", "{date:%e}x{seq:2}", " 2x07.JPG", 7, " 2x07", "JPG"},
        MatchCase{"DateOfMany",
            "{date:%F %T}={seq:1}",
            "2026-01-02 03:04:05=6",
            6,
            "2026-01-02 03:04:05=6",
            ""},
        MatchCase{"DotsInThePattern", "v1.{seq:2}.a", "v1.03.a.JPG", 3, "v1.03.a", "JPG"},
        MatchCase{"Braces", "{{{seq:2}}}", "{03}.JPG", 3, "{03}", "JPG"},
        MatchCase{"TwoPlaces", "{seq:2}-{seq:3}", "07-007.JPG", 7, "07-007", "JPG"},
        MatchCase{"OtherLanguages", "Größe{seq:2}", "Größe03.JPG", 3, "Größe03", "JPG"}),
    [](const auto& row) { return std::string(row.param.test); });

struct StrangerCase {
    const char* test;
    const char* pattern;
    const char* name;
};

void PrintTo(const StrangerCase& row, std::ostream* out)
{
    *out << row.test;
}

class NumberMatcherStrangerTest : public testing::TestWithParam<StrangerCase> { };

TEST_P(NumberMatcherStrangerTest, LeavesANameThatThePatternDidNotGive)
{
    const NumberMatcher matcher = NamePattern(GetParam().pattern).numberMatcher();
    EXPECT_FALSE(matcher.match(GetParam().name));
}

INSTANTIATE_TEST_SUITE_P(Cases,
    NumberMatcherStrangerTest,
    testing::Values(StrangerCase{"Empty", "P{seq:3}", ""},
        StrangerCase{"OtherText", "P{seq:3}", "Q007.JPG"},
        StrangerCase{"OtherLetters", "P{seq:3}", "p007.JPG"},
        StrangerCase{"TooFewDigits", "P{seq:3}", "P07.JPG"},
        StrangerCase{"TooManyZeros", "P{seq:3}", "P0007.JPG"},
        StrangerCase{"TooManyDigits", "P{seq:3}", "P1234567890.JPG"},
        StrangerCase{"MoreBehind", "P{seq:3}", "P007x.JPG"},
        StrangerCase{"NoSecondForm", "P{seq:3}", "P007-.JPG"},
        StrangerCase{"SecondFormOfZeros", "P{seq:3}", "P007-01.JPG"},
        StrangerCase{"DotAtTheEnd", "P{seq:3}", "P007."},
        StrangerCase{"NoName", "{name}_{seq:2}", "_07.JPG"},
        StrangerCase{"ShortDate", "{date:%Y%m%d}_{seq:2}", "2026010_03.JPG"},
        StrangerCase{"WordForADate", "{date:%Y%m%d}_{seq:2}", "someday__03.JPG"},
        StrangerCase{"TwoNumbers", "{seq:2}-{seq:3}", "07-008.JPG"}),
    [](const auto& row) { return std::string(row.param.test); });

TEST(NumberMatcherOfFieldsTest, KnowsTheNamesOfOneGroupAlone)
{
    const NamePattern pattern("{name}-{date:%Y}.{seq:2}.{ext}");
    NameFields fields{"IMG_1", "CR2", {}, 0};
    EXPECT_TRUE(pattern.numberMatcher(fields).match("IMG_1-undated.07.CR2"));
    fields.date = parseDateText("2026:01:02 03:04:05");
    const NumberMatcher matcher = pattern.numberMatcher(fields);
    EXPECT_EQ(matcher.match("IMG_1-2026.07.JPG").value().number, 7U);
    EXPECT_TRUE(matcher.match("IMG_1-2026.08-1.JPG"));
    for (const char* name : {"IMG_2-2026.07.JPG", "IMG_1-2025.07.JPG", "IMG_1-undated.07.JPG"}) {
        EXPECT_FALSE(matcher.match(name)) << name;
        EXPECT_TRUE(pattern.numberMatcher().match(name)) << name;
    }
}

// What is rendered is read again, whatever the date's letters.
TEST(NumberMatcherOfFieldsTest, ReadsWhatThePatternGives)
{
    for (const char letter : std::string("aAbBcCdeFgGhHIjmMprRSTuUVwWyY%")) {
        if (letter == '%')
            continue;
        const NamePattern pattern(std::string("{date:%") + letter + "}={seq:3}");
        for (const char* date : {"2026:09:02 03:04:05", "2021:12:31 23:59:59", ""}) {
            const std::string stem = pattern.stem({"IMG_1", "CR2", parseDateText(date), 42});
            const auto match = pattern.numberMatcher().match(stem + ".CR2");
            ASSERT_TRUE(match) << stem;
            EXPECT_EQ(match->number, 42U) << stem;
        }
    }
}

} // namespace
} // namespace mfx
