#include "messaging/SoString.h"

#include <climits>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using ScObjects::SoString;

std::string letters(std::size_t count)
{
    return std::string(count, 'x');
}

template <typename T>
SoString written(const T& value)
{
    SoString out("<");
    out << value;
    return out;
}

const unsigned short* units(const char16_t* text)
{
    return reinterpret_cast<const unsigned short*>(text);
}

} // namespace

TEST(SoStringTest, StartsEmptyWithABufferOf128Bytes)
{
    const SoString text;
    EXPECT_EQ(text.length(), 0);
    EXPECT_EQ(text.capacity(), 128);
    EXPECT_STREQ(text.get(), "");
}

TEST(SoStringTest, StartsFromOneCharacter)
{
    const SoString text('c');
    EXPECT_EQ(text, "c");
    EXPECT_EQ(text.length(), 1);
    EXPECT_EQ(text.capacity(), 128);
}

TEST(SoStringTest, KeepsItsBufferFor127Bytes)
{
    SoString text;
    text.assign(letters(127).c_str());
    EXPECT_EQ(text.capacity(), 128);
    EXPECT_EQ(text, letters(127).c_str());
}

TEST(SoStringTest, TakesALargerBufferFor128Bytes)
{
    SoString text;
    text.assign(letters(128).c_str());
    EXPECT_EQ(text.capacity(), 256);
    EXPECT_EQ(text, letters(128).c_str());
}

TEST(SoStringTest, GrowsWhenAnAppendFillsTheWholeCapacity)
{
    SoString text(letters(100).c_str());
    text.append(letters(27).c_str());
    EXPECT_EQ(text.capacity(), 128);
    text.append("x");
    EXPECT_EQ(text.length(), 128);
    EXPECT_EQ(text.capacity(), 256);
    EXPECT_EQ(text, letters(128).c_str());
}

TEST(SoStringTest, BuildsEveryLengthByteByByte)
{
    SoString text;
    for (long length = 1; length <= 700; ++length) {
        text.append("x", 1);
        ASSERT_EQ(text.length(), length);
        ASSERT_GT(text.capacity(), length);
        ASSERT_EQ(text.capacity() % 128, 0);
    }
    EXPECT_EQ(text, letters(700).c_str());
}

TEST(SoStringTest, NeverShrinksItsBuffer)
{
    SoString text(letters(1000).c_str());
    text.assign("a");
    EXPECT_EQ(text.capacity(), 1024);
    EXPECT_EQ(text, "a");
}

TEST(SoStringTest, TakesNullForTheEmptyText)
{
    SoString text("abc");
    text.append(nullptr);
    EXPECT_EQ(text, "abc");
    text.assign(nullptr);
    EXPECT_EQ(text.length(), 0);
    EXPECT_STREQ(text.get(), "");
    text.assign(nullptr, 5);
    text.append(nullptr, 5);
    EXPECT_EQ(text.length(), 0);
    EXPECT_STREQ(SoString(static_cast<const char*>(nullptr)).get(), "");
}

TEST(SoStringTest, ComparesNullAsTheEmptyText)
{
    EXPECT_EQ(SoString().compare(nullptr), 0);
    EXPECT_GT(SoString("a").compare(nullptr), 0);
    EXPECT_TRUE(SoString() == static_cast<const char*>(nullptr));
}

TEST(SoStringTest, ComparesByteForByte)
{
    EXPECT_TRUE(SoString("abc") == SoString("abc"));
    EXPECT_TRUE(SoString("abc") != SoString("abC"));
    EXPECT_TRUE(SoString("abc") != "ab");
    EXPECT_FALSE(SoString("abc") != "abc");
    EXPECT_LT(SoString("a").compare("b"), 0);
    EXPECT_GT(SoString("\xC3").compare("z"), 0); // bytes have no sign
}

TEST(SoStringTest, TakesTheFirstBytesOfAText)
{
    SoString text("abcdef", 3);
    EXPECT_EQ(text, "abc");
    text.append("ghijkl", 2);
    EXPECT_EQ(text, "abcgh");
    text.append("mno", 0);
    EXPECT_EQ(text, "abcgh");
    text.assign("xyz", 0);
    EXPECT_EQ(text.length(), 0);
    EXPECT_STREQ(text.get(), "");
}

TEST(SoStringTest, HoldsAnyBytes)
{
    SoString text("a\0b", 3);
    text.append("\0c", 2);
    const SoString copy(text);
    EXPECT_EQ(copy.view(), "a\0b\0c"s);
    EXPECT_EQ(copy.get()[5], '\0');
}

TEST(SoStringTest, TakesAViewOfNothing)
{
    SoString text{std::string_view()};
    text.append(std::string_view());
    EXPECT_EQ(text.length(), 0);
    text.assign(std::string_view("abc").substr(1));
    EXPECT_EQ(text, "bc");
}

TEST(SoStringTest, CopiesHaveBuffersOfTheirOwn)
{
    SoString original("abc");
    const SoString copy(original);
    SoString assigned;
    assigned = original;
    original += 'd';
    EXPECT_EQ(copy, "abc");
    EXPECT_EQ(assigned, "abc");
    assigned = "text";
    EXPECT_EQ(assigned, "text");
}

TEST(SoStringTest, IsAssignedAndAppendedToItself)
{
    SoString text(letters(100).c_str());
    const SoString& itself = text;
    text = itself;
    EXPECT_EQ(text, letters(100).c_str());
    text += itself;
    EXPECT_EQ(text, letters(200).c_str());
}

TEST(SoStringTest, LeavesATextThatWasMovedUsable)
{
    SoString source("abc");
    SoString target(std::move(source));
    EXPECT_EQ(target, "abc");
    source = "new"; // NOLINT(bugprone-use-after-move): that is what is tested
    EXPECT_EQ(source, "new");
    target = std::move(source);
    EXPECT_EQ(target, "new");
    EXPECT_STREQ(source.get(), ""); // NOLINT(bugprone-use-after-move)
}

TEST(SoStringTest, ExchangesContents)
{
    SoString one("one");
    SoString other(letters(300).c_str());
    one.swap(other);
    EXPECT_EQ(one, letters(300).c_str());
    EXPECT_EQ(one.length(), 300);
    EXPECT_EQ(one.capacity(), 384);
    EXPECT_EQ(other, "one");
}

TEST(SoStringTest, CutsOnlyToAShorterLength)
{
    SoString text(letters(200).c_str());
    text.shrink(-1);
    text.shrink(200);
    text.shrink(1000);
    EXPECT_EQ(text.length(), 200);
    text.shrink(3);
    EXPECT_EQ(text, "xxx");
    EXPECT_EQ(text.length(), 3);
    EXPECT_EQ(text.capacity(), 256);
    text.shrink(0);
    EXPECT_TRUE(text.isEmpty());
}

TEST(SoStringTest, ReservesRoomAndKeepsItsContent)
{
    SoString text("abc");
    text.reserve(127);
    EXPECT_EQ(text.capacity(), 128);
    text.reserve(128);
    EXPECT_EQ(text.capacity(), 256);
    EXPECT_EQ(text, "abc");
    EXPECT_EQ(text.length(), 3);
}

TEST(SoStringTest, ChangesTheCaseOfPlainLetters)
{
    const SoString text("aZ-09 \xC3\xA4");
    EXPECT_EQ(text.uppercase(), "AZ-09 \xC3\xA4");
    EXPECT_EQ(text.lowercase(), "az-09 \xC3\xA4");
    EXPECT_EQ(text, "aZ-09 \xC3\xA4");
}

TEST(SoStringTest, WritesTextsAsTheyAre)
{
    EXPECT_EQ(written("a%lu"), "<a%lu");
    EXPECT_EQ(written('c'), "<c");
    EXPECT_EQ(written(SoString("b\0c", 3)).view(), "<b\0c"s);
    EXPECT_EQ(written(static_cast<const char*>(nullptr)), "<");
    SoString chained;
    chained << "a" << 'b' << SoString("c") << 1UL;
    EXPECT_EQ(chained, "abc1");
}

TEST(SoStringTest, WritesNegativeNumbersAsUnsignedOfTheirWidth)
{
    EXPECT_EQ(written(std::int32_t{-1}), "<4294967295");
    EXPECT_EQ(written(-1L), sizeof(long) == 4 ? "<4294967295" : "<18446744073709551615");
    SoString text;
    text.append(-2L);
    EXPECT_EQ(text, sizeof(long) == 4 ? "4294967294" : "18446744073709551614");
}

TEST(SoStringTest, WritesWholeNumbersInDecimal)
{
    EXPECT_EQ(written(0L), "<0");
    EXPECT_EQ(written(std::int32_t{INT_MAX}), "<2147483647");
    EXPECT_EQ(written(std::uint32_t{UINT_MAX}), "<4294967295");
    EXPECT_EQ(written(1234567890UL), "<1234567890");
    EXPECT_EQ(written(ULONG_MAX).view().substr(1), std::to_string(ULONG_MAX));
    SoString text("n=");
    text.append(42L);
    EXPECT_EQ(text, "n=42");
}

TEST(SoStringTest, RoundsFractions)
{
    EXPECT_EQ(written(2.4), "<2");
    EXPECT_EQ(written(2.6), "<3");
    EXPECT_EQ(written(-2.6), "<-3");
    EXPECT_EQ(written(1700000000123.0), "<1700000000123");
    EXPECT_EQ(written(-1.7976931348623157e308).length(), 1 + 1 + 309);
}

TEST(SoStringTest, ConvertsTextsOf16BitUnits)
{
    const SoString text(units(u"a\u00E4\u20AC\U0001F600"));
    EXPECT_EQ(text, "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(text.length(), 10);
    EXPECT_EQ(text.capacity(), 128);
}

TEST(SoStringTest, IsEmptyFromNoUnits)
{
    EXPECT_TRUE(SoString(static_cast<const unsigned short*>(nullptr)).isEmpty());
    EXPECT_TRUE(SoString(units(u"abc"), 0).isEmpty());
    EXPECT_TRUE(SoString(units(u"")).isEmpty());
    EXPECT_EQ(SoString(units(u"")).capacity(), 128);
}

TEST(SoStringTest, FindsRoomForALongTextOfUnits)
{
    const std::u16string wide(50, u'\u20AC');
    const SoString text(units(wide.c_str()));
    EXPECT_EQ(text.length(), 150);
    EXPECT_EQ(text.capacity(), 256);
    EXPECT_EQ(text.get()[149], '\xAC');
    EXPECT_EQ(text.get()[150], '\0');
    EXPECT_EQ(SoString(units(std::u16string(127, u'x').c_str())).capacity(), 128);
    EXPECT_EQ(SoString(units(std::u16string(128, u'x').c_str())).capacity(), 256);
}

TEST(SoStringTest, HasTheLengthOfTheWholeTextForFewerUnits)
{
    const SoString text(units(u"\u00E4bc"), 1);
    EXPECT_EQ(text.length(), 4);
    EXPECT_EQ(text.view(), "\xC3\xA4\0\0"s); // nothing of what lay in memory before
}

TEST(SoStringTest, StopsAtTheTerminatorForMoreUnits)
{
    EXPECT_EQ(SoString(units(u"ab"), 100), "ab");
    EXPECT_EQ(SoString(units(u"ab"), 2), "ab");
}

TEST(SoStringTest, StopsInsideAPairForFewerUnits)
{
    const SoString text(units(u"\U0001F600"), 1);
    EXPECT_EQ(text.view(), "\xED\xA0\xBD\0"s);
}

TEST(SoStringTest, ConvertsTo16BitUnits)
{
    unsigned short out[8] = {};
    EXPECT_EQ(SoString("a\xE2\x82\xAC").convertToUtf16(out, 8), 3U);
    EXPECT_EQ(out[0], 'a');
    EXPECT_EQ(out[1], 0x20AC);
    EXPECT_EQ(out[2], 0);
}

// Where a text lies depends on its length; nothing else does.
TEST(SoStringTest, SwapsAndMovesTextsOfAllLengths)
{
    for (const std::size_t first : {0U, 1U, 31U, 32U, 127U, 128U, 5000U}) {
        for (const std::size_t second : {0U, 1U, 31U, 32U, 127U, 128U, 5000U}) {
            SoString a(letters(first).c_str());
            SoString b(std::string(second, 'y'));
            a.swap(b);
            EXPECT_EQ(a.view(), std::string(second, 'y'));
            EXPECT_EQ(b.view(), letters(first));
            SoString c(std::move(a));
            EXPECT_EQ(c.view(), std::string(second, 'y'));
            c = std::move(b);
            EXPECT_EQ(c.view(), letters(first));
            c << "z" << c;
            EXPECT_EQ(c.view(), letters(first) + "z" + letters(first) + "z");
        }
    }
}

TEST(SoStringTest, GrowsByteByByteWithoutLosingOne)
{
    SoString text("");
    std::string wanted;
    for (char c = 'a'; wanted.size() < 300; c = c == 'z' ? 'a' : static_cast<char>(c + 1)) {
        text += c;
        wanted += c;
        ASSERT_EQ(text.view(), wanted);
        ASSERT_EQ(text.get()[text.length()], '\0');
        ASSERT_EQ(text.capacity(), static_cast<long>((wanted.size() + 128) / 128 * 128));
    }
}

TEST(SoStringTest, TakesItsFrontAway)
{
    SoString text("abcdef");
    text.removeFront(-1);
    text.removeFront(0);
    text.removeFront(7);
    EXPECT_EQ(text, "abcdef");
    text.removeFront(2);
    EXPECT_EQ(text, "cdef");
    text.removeFront(4);
    EXPECT_EQ(text, "");
}
