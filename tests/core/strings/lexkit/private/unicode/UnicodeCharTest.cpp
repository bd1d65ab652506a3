#include "lexkit/private/unicode/UnicodeChar.h"

#include <set>

#include <gtest/gtest.h>

namespace {

using lexkit_private::UnicodeChar;

template <typename Predicate>
std::set<int> unitsThat(Predicate holds)
{
    std::set<int> units;
    for (int unit = 0; unit <= 0xFFFF; ++unit)
        if (holds(static_cast<unsigned short>(unit)))
            units.insert(unit);
    return units;
}

TEST(UnicodeCharTest, KnowsTheDigitsOfAllItsScripts)
{
    std::set<int> expected{0xB2, 0xB3, 0xB9};
    for (const int zero : {0x0030,
             0x0660,
             0x06F0,
             0x0966,
             0x09E6,
             0x0A66,
             0x0AE6,
             0x0B66,
             0x0BE6,
             0x0C66,
             0x0CE6,
             0x0D66,
             0x0E50,
             0x0ED0,
             0x0F20,
             0x2070,
             0x2080,
             0xFF10})
        for (int digit = 0; digit < 10; ++digit)
            expected.insert(zero + digit);
    for (const int none : {0x0BE6, 0x2071, 0x2072, 0x2073})
        expected.erase(none);
    EXPECT_EQ(unitsThat([](unsigned short unit) {
        return UnicodeChar::GetDecimalDigit(unit) != UnicodeChar::kNoDigit;
    }),
        expected);
}

TEST(UnicodeCharTest, GivesTheValueOfADigit)
{
    EXPECT_EQ(UnicodeChar::GetDecimalDigit(u'0'), 0);
    EXPECT_EQ(UnicodeChar::GetDecimalDigit(u'9'), 9);
    EXPECT_EQ(UnicodeChar::GetDecimalDigit(0x00B9), 1);
    EXPECT_EQ(UnicodeChar::GetDecimalDigit(0x00B2), 2);
    EXPECT_EQ(UnicodeChar::GetDecimalDigit(0x00B3), 3);
    EXPECT_EQ(UnicodeChar::GetDecimalDigit(0x2074), 4);
    EXPECT_EQ(UnicodeChar::GetDecimalDigit(0xFF19), 9);
    EXPECT_EQ(UnicodeChar::GetDecimalDigit(0x0BE7), 1);
}

TEST(UnicodeCharTest, KnowsSigns)
{
    EXPECT_EQ(unitsThat(UnicodeChar::IsMinusSign),
        (std::set<int>{0x002D, 0x207B, 0x208B, 0x2212, 0xFE63, 0xFF0D}));
    EXPECT_EQ(unitsThat(UnicodeChar::IsPlusSign),
        (std::set<int>{0x002B, 0x207A, 0x208A, 0xFE62, 0xFF0B}));
}

TEST(UnicodeCharTest, KnowsWhiteSpace)
{
    std::set<int> expected{0x20, 0xA0, 0x2028, 0x2029, 0x3000, 0xFEFF};
    for (int unit = 0x09; unit <= 0x0D; ++unit)
        expected.insert(unit);
    for (int unit = 0x2000; unit <= 0x200B; ++unit)
        expected.insert(unit);
    EXPECT_EQ(unitsThat(UnicodeChar::IsWhiteSpace), expected);
}

TEST(UnicodeCharTest, SwapsBytes)
{
    EXPECT_EQ(UnicodeChar::ByteSwap(0x12AB), 0xAB12);
}

} // namespace
