#include "platform/common/text/NameText.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace Pt {
namespace {

TEST(NameTextTest, LeavesAValidNameAsItIs)
{
    for (const std::string name : {"",
             "IMG_0001.JPG",
             "100%.jpg",
             "%41.jpg",
             "a\nb",
             "\x7F",
             "gr\xC3\xBC\xC3\x9F",
             "gru\xCC\x88\xC3\x9F",
             "\xF0\x9F\x93\xB7",
             "\xF4\x8F\xBF\xBF"}) {
        EXPECT_EQ(displayName(name), name);
        EXPECT_TRUE(isUtf8(name)) << name;
    }
}

TEST(NameTextTest, WritesEachInvalidByteAsPercentAndDigits)
{
    struct Row {
        std::string bytes;
        std::string text;
    };
    const std::vector<Row> rows{
        {"a\xFF", "a%FF"},
        {"\x80", "%80"},
        {"gr\xFC\xDF", "gr%FC%DF"}, // Latin-1
        {"\xC3", "%C3"}, // cut off
        {"\xE2\x82", "%E2%82"}, // cut off
        {"\xC3(", "%C3("}, // no continuation
        {"\xC0\xAF", "%C0%AF"}, // overlong
        {"\xE0\x80\xAF", "%E0%80%AF"}, // overlong
        {"\xF0\x80\x80\xAF", "%F0%80%80%AF"}, // overlong
        {"\xED\xA0\x80", "%ED%A0%80"}, // surrogate
        {"\xF4\x90\x80\x80", "%F4%90%80%80"}, // above the last code point
        {"\xF8\x88\x80\x80\x80", "%F8%88%80%80%80"},
        {"\xC3\xBC\xFF\xC3\xBC", "\xC3\xBC%FF\xC3\xBC"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(displayName(row.bytes), row.text);
        EXPECT_FALSE(isUtf8(row.bytes)) << row.text;
    }
}

TEST(NameTextTest, GivesUtf8ForEveryPairOfBytes)
{
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            const std::string bytes{static_cast<char>(first), static_cast<char>(second)};
            ASSERT_TRUE(isUtf8(displayName(bytes))) << first << ' ' << second;
        }
    }
}

TEST(NameTextTest, TakesFromATerminalWhatWouldDisturbIt)
{
    EXPECT_EQ(terminalText("a\nb\x1B[2J"), "a%0Ab%1B[2J");
    EXPECT_EQ(terminalText("x\x7Fy"), "x%7Fy");
    EXPECT_EQ(terminalText("\xC2\x9B"), "%C2%9B"); // one of the second block of controls
    EXPECT_EQ(terminalText("\xE2\x80\xAEgpj"), "%E2%80%AEgpj"); // turns the direction
    EXPECT_EQ(terminalText("\xFF"), "%FF");
    EXPECT_EQ(terminalText("gr\xC3\xBC\xC3\x9F 1.jpg"), "gr\xC3\xBC\xC3\x9F 1.jpg");
}

TEST(NameTextTest, CutsBetweenCharacters)
{
    EXPECT_EQ(cutName("abc", 3), "abc");
    EXPECT_EQ(cutName("abc", 2), "ab");
    EXPECT_EQ(cutName("abc", 0), "");
    EXPECT_EQ(cutName("a\xC3\xBC", 2), "a");
    EXPECT_EQ(cutName("\xF0\x9F\x93\xB7x", 4), "\xF0\x9F\x93\xB7");
    EXPECT_EQ(cutName("\xF0\x9F\x93\xB7", 3), "");
}

TEST(NameTextTest, CutsBeforeAnEscapedByteNotWithinIt)
{
    EXPECT_EQ(cutName("a%FFb", 4), "a%FF");
    EXPECT_EQ(cutName("a%FFb", 3), "a");
    EXPECT_EQ(cutName("a%FFb", 2), "a");
    EXPECT_EQ(cutName("100%x", 4), "100%");
}

TEST(NameTextTest, ComparesAsciiLettersInEitherCase)
{
    EXPECT_TRUE(equalIgnoringAsciiCase("Thumbs.DB", "THUMBS.db"));
    EXPECT_FALSE(equalIgnoringAsciiCase("a", "ab"));
    EXPECT_FALSE(equalIgnoringAsciiCase("\xC3\xBC", "\xC3\x9C")); // other letters as they stand
    EXPECT_FALSE(equalIgnoringAsciiCase("@", "`"));
}

} // namespace
} // namespace Pt
