#include "platform/common/text/PtUcsLowerCaseTable.h"

#include "platform/common/text/PtUcs.h"
#include "support/TestFolder.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include <gtest/gtest.h>
#include <unicode/uchar.h>

namespace {

struct Case {
    unsigned short upper;
    unsigned short lower;
};

// One or two of each block.
constexpr Case kCases[] = {
    {'A', 'a'},
    {'Z', 'z'},
    {0x00C0, 0x00E0},
    {0x00DE, 0x00FE},
    {0x0100, 0x0101},
    {0x0130, 0x0069},
    {0x0178, 0x00FF},
    {0x0187, 0x0188},
    {0x0391, 0x03B1},
    {0x0401, 0x0451},
    {0x0410, 0x0430},
    {0x0531, 0x0561},
    {0x10A0, 0x10D0},
    {0x10C5, 0x10F5},
    {0x1E00, 0x1E01},
    {0x1F08, 0x1F00},
    {0x2160, 0x2170},
    {0x216F, 0x217F},
    {0x24B6, 0x24D0},
    {0x24CF, 0x24E9},
    {0xFF21, 0xFF41},
    {0xFF3A, 0xFF5A},
};

const auto kEnd = std::begin(gUcsUpperToLowerCase) + kUcsLowerCaseRows;

} // namespace

TEST(PtUcsLowerCaseTableTest, GivesTheLowerCaseOfEachBlock)
{
    for (const Case& each : kCases) {
        unsigned short out = 0;
        EXPECT_TRUE(ptucslowerCase(each.upper, &out)) << std::hex << each.upper;
        EXPECT_EQ(out, each.lower) << std::hex << each.upper;
    }
}

TEST(PtUcsLowerCaseTableTest, GivesBackWhatHasNoLowerCase)
{
    for (const int unit : {0, 0x40, 0x5B, int('a'), 0xD7, 0xDF, 0x10C6, 0xD800, 0xFF3B, 0xFFFF}) {
        unsigned short out = 0x7777;
        EXPECT_FALSE(ptucslowerCase(static_cast<unsigned short>(unit), &out)) << std::hex << unit;
        EXPECT_EQ(out, unit);
    }
}

TEST(PtUcsLowerCaseTableTest, IsSortedAndEndsWithARowOfZeros)
{
    EXPECT_TRUE(std::is_sorted(std::begin(gUcsUpperToLowerCase),
        kEnd,
        [](const PtUcsCaseRow& a, const PtUcsCaseRow& b) { return a.upper <= b.upper; }));
    EXPECT_EQ(gUcsUpperToLowerCase[0].upper, 'A');
    EXPECT_EQ(std::prev(kEnd)->upper, 0xFF3A);
    EXPECT_EQ(kEnd->upper, 0);
    EXPECT_EQ(kEnd->lower, 0);
    EXPECT_EQ(std::next(kEnd), std::end(gUcsUpperToLowerCase));
}

TEST(PtUcsLowerCaseTableTest, AgreesWithTheUnicodeDatabaseOutsideGeorgian)
{
    const auto differs = [](const PtUcsCaseRow& row) {
        const bool isGeorgian = row.upper >= 0x10A0 && row.upper <= 0x10C5;
        return u_tolower(row.upper) != row.lower && !isGeorgian;
    };
    EXPECT_EQ(std::find_if(std::begin(gUcsUpperToLowerCase), kEnd, differs), kEnd);
}

TEST(PtUcsLowerCaseTableTest, MapsTheGeorgianCapitalsOntoTheLettersInOrdinaryUse)
{
    for (int i = 0; i <= 0x10C5 - 0x10A0; ++i) {
        unsigned short out = 0;
        EXPECT_TRUE(ptucslowerCase(static_cast<unsigned short>(0x10A0 + i), &out));
        EXPECT_EQ(out, 0x10D0 + i);
    }
}

TEST(PtUcsLowerCaseTableTest, IsWhatTheScriptMakes)
{
    if (!std::filesystem::exists("/usr/share/unicode/UnicodeData.txt")) {
        GTEST_SKIP() << "the package unicode-data is not installed";
    }
    const test::TestFolder folder;
    const std::string source = TEVORO_SOURCE_DIR;
    const std::string made = folder.path("table");
    const std::string command = "'" + source + "/scripts/make-lower-case-table' > '" + made + "'";
    ASSERT_EQ(std::system(command.c_str()), 0);
    EXPECT_EQ(test::read(made),
        test::read(source + "/core/platform/common/text/PtUcsLowerCaseTable.inc"));
    EXPECT_FALSE(test::read(made).empty());
}
