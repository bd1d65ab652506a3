#include "messaging/SoUnicode.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace ScObjects;

struct Decoded {
    unsigned long value;
    int consumed;
    bool operator==(const Decoded&) const = default;
};

Decoded decode(const char* text)
{
    Decoded result{};
    result.value = DecodeUTF8(text, result.consumed);
    return result;
}

std::string encode(unsigned long value)
{
    char out[6] = {};
    const int length = EncodeUTF8(value, out);
    return std::string(out, static_cast<std::size_t>(length));
}

using Units = std::vector<unsigned short>;

constexpr unsigned short kUntouched = 0x7E7E;

// What was written, as many units as the result says; checks that nothing lies behind.
Units toUnits(const char* text, unsigned long max)
{
    Units out(2 * max + 8, kUntouched);
    const unsigned long count = UTF8_UTF16(text, out.data(), max);
    EXPECT_LE(count, 2 * max);
    for (std::size_t i = count; i < out.size(); ++i)
        EXPECT_EQ(out[i], kUntouched);
    out.resize(count);
    return out;
}

struct Bytes {
    std::string text;
    unsigned long codePoints;
    bool operator==(const Bytes&) const = default;
};

Bytes toBytes(const std::u16string& text, unsigned long units)
{
    std::string out(4 * text.size() + 8, '\x7E');
    const auto* const source = reinterpret_cast<const unsigned short*>(text.c_str());
    const unsigned long length = UTF16_UTF8(source, out.data(), units);
    EXPECT_EQ(out.substr(length), std::string(out.size() - length, '\x7E'));
    return {out.substr(0, length), units};
}

unsigned long lengthAsUtf8(const char16_t* text)
{
    return UTF8StrLen(reinterpret_cast<const unsigned short*>(text));
}

unsigned long lengthWithMax(const char16_t* text, unsigned long max)
{
    return UTF16StrLenWithMax(reinterpret_cast<const unsigned short*>(text), max);
}

} // namespace

TEST(SoUnicodeTest, DecodesFormsOfOneToSixBytes)
{
    struct Case {
        const char* text;
        Decoded expected;
    };
    for (const Case& each : {Case{"", {0, 1}},
             Case{"a", {'a', 1}},
             Case{"\x7F", {0x7F, 1}},
             Case{"\xC2\x80", {0x80, 2}},
             Case{"\xDF\xBF", {0x7FF, 2}},
             Case{"\xE0\xA0\x80", {0x800, 3}},
             Case{"\xEF\xBF\xBF", {0xFFFF, 3}},
             Case{"\xF0\x90\x80\x80", {0x10000, 4}},
             Case{"\xF7\xBF\xBF\xBF", {0x1FFFFF, 4}},
             Case{"\xF8\x88\x80\x80\x80", {0x200000, 5}},
             Case{"\xFB\xBF\xBF\xBF\xBF", {0x3FFFFFF, 5}},
             Case{"\xFC\x84\x80\x80\x80\x80", {0x4000000, 6}},
             Case{"\xFD\xBF\xBF\xBF\xBF\xBF", {0x7FFFFFFF, 6}}})
        EXPECT_EQ(decode(each.text), each.expected) << std::hex << each.expected.value;
}

TEST(SoUnicodeTest, ConsumesNothingOfABareContinuationByte)
{
    EXPECT_EQ(decode("\x80"), (Decoded{0xFFFD, 0}));
    EXPECT_EQ(decode("\xBF"), (Decoded{0xFFFD, 0}));
}

TEST(SoUnicodeTest, ConsumesByTheFirstByteAlone)
{
    EXPECT_EQ(decode("\xFEzzzzz").consumed, 6);
    EXPECT_EQ(decode("\xFFzzzzz").consumed, 6);
    EXPECT_EQ(decode("\xC2"
                     "A"),
        (Decoded{0x41, 2})); // as if 0x41 were 0x80 + 0x41 - 0x80
}

TEST(SoUnicodeTest, ReadsNothingBehindATerminatorInsideAForm)
{
    // Exact copies on the heap, so that a sanitizer sees a byte too many.
    for (const std::string text :
        {"\xC3", "\xE2", "\xE2\x82", "\xF0\x9F\x98", "\xFD\xBF\xBF\xBF\xBF"}) {
        const std::vector<char> exact(text.c_str(), text.c_str() + text.size() + 1);
        EXPECT_EQ(decode(exact.data()), (Decoded{0xFFFD, static_cast<int>(text.size())}));
    }
}

TEST(SoUnicodeTest, EncodesFormsOfOneToSixBytes)
{
    EXPECT_EQ(encode(0), std::string(1, '\0'));
    EXPECT_EQ(encode(0x7F), "\x7F");
    EXPECT_EQ(encode(0x80), "\xC2\x80");
    EXPECT_EQ(encode(0x7FF), "\xDF\xBF");
    EXPECT_EQ(encode(0x800), "\xE0\xA0\x80");
    EXPECT_EQ(encode(0xFFFF), "\xEF\xBF\xBF");
    EXPECT_EQ(encode(0x10000), "\xF0\x90\x80\x80");
    EXPECT_EQ(encode(0x1FFFFF), "\xF7\xBF\xBF\xBF");
    EXPECT_EQ(encode(0x200000), "\xF8\x88\x80\x80\x80");
    EXPECT_EQ(encode(0x3FFFFFF), "\xFB\xBF\xBF\xBF\xBF");
    EXPECT_EQ(encode(0x4000000), "\xFC\x84\x80\x80\x80\x80");
    EXPECT_EQ(encode(0x7FFFFFFE), "\xFD\xBF\xBF\xBF\xBF\xBE");
}

TEST(SoUnicodeTest, EncodesWhatIsTooLargeAsTheReplacement)
{
    EXPECT_EQ(encode(0x7FFFFFFF), "\xEF\xBF\xBD");
    EXPECT_EQ(encode(0xFFFFFFFF), "\xEF\xBF\xBD");
    EXPECT_EQ(encode(~0UL), "\xEF\xBF\xBD");
}

TEST(SoUnicodeTest, DecodesWhatItEncodes)
{
    for (unsigned long value = 1; value < 0x7FFFFFFF; value = value * 2 + value % 7)
        EXPECT_EQ(decode(encode(value).c_str()).value, value);
}

TEST(SoUnicodeTest, ConvertsToUnitsAndTerminates)
{
    EXPECT_EQ(toUnits("a\xC3\xA4\xE2\x82\xAC", 8), (Units{'a', 0xE4, 0x20AC, 0}));
    EXPECT_EQ(toUnits("", 8), Units{0});
    EXPECT_EQ(toUnits("\xEF\xBF\xBF", 8), (Units{0xFFFF, 0}));
    EXPECT_EQ(toUnits("\xF0\x90\x80\x80", 8), (Units{0xD800, 0xDC00, 0}));
    EXPECT_EQ(toUnits("\xF4\x8F\xBF\xBF", 8), (Units{0xDBFF, 0xDFFF, 0}));
}

TEST(SoUnicodeTest, WritesNothingForAMaximumOfZero)
{
    EXPECT_EQ(toUnits("abc", 0), Units{});
}

TEST(SoUnicodeTest, HasNoTerminatorWhenTheMaximumIsUsedUp)
{
    EXPECT_EQ(toUnits("abc", 3), (Units{'a', 'b', 'c'}));
    EXPECT_EQ(toUnits("abc", 4), (Units{'a', 'b', 'c', 0}));
    EXPECT_EQ(toUnits("abc", 2), (Units{'a', 'b'}));
}

TEST(SoUnicodeTest, CountsAPairOnceAgainstTheMaximum)
{
    EXPECT_EQ(
        toUnits("\xF0\x9F\x98\x80\xF0\x9F\x98\x80z", 2), (Units{0xD83D, 0xDE00, 0xD83D, 0xDE00}));
}

TEST(SoUnicodeTest, ReplacesWhatLiesAboveTheLastCodePoint)
{
    EXPECT_EQ(toUnits("\xF4\x90\x80\x80z", 8), (Units{0xFFFD, 'z', 0}));
    EXPECT_EQ(toUnits("\xFD\xBF\xBF\xBF\xBF\xBFz", 8), (Units{0xFFFD, 'z', 0}));
}

TEST(SoUnicodeTest, RepeatsTheReplacementAtABareContinuationByte)
{
    EXPECT_EQ(toUnits("a\x80z", 4), (Units{'a', 0xFFFD, 0xFFFD, 0xFFFD}));
}

TEST(SoUnicodeTest, ConvertsUnitsToBytes)
{
    EXPECT_EQ(toBytes(u"a\u00E4\u20AC", 3), (Bytes{"a\xC3\xA4\xE2\x82\xAC", 3}));
    EXPECT_EQ(toBytes(u"abc", 2), (Bytes{"ab", 2}));
    EXPECT_EQ(toBytes(u"abc", 0), (Bytes{"", 0}));
}

TEST(SoUnicodeTest, CountsCodePointsWhenItCombinesPairs)
{
    EXPECT_EQ(
        toBytes(u"x\U0001F600\U0001F601", 5), (Bytes{"x\xF0\x9F\x98\x80\xF0\x9F\x98\x81", 3}));
}

TEST(SoUnicodeTest, EncodesALoneSurrogateAsItStands)
{
    EXPECT_EQ(toBytes({0xD83D, u'x'}, 2), (Bytes{"\xED\xA0\xBDx", 2}));
    EXPECT_EQ(toBytes({0xDE00, 0xD83D}, 2), (Bytes{"\xED\xB8\x80\xED\xA0\xBD", 2}));
    // The other half lies behind the range.
    EXPECT_EQ(toBytes({0xD83D, 0xDE00}, 1), (Bytes{"\xED\xA0\xBD", 1}));
}

TEST(SoUnicodeTest, MeasuresWhatTheConversionWrites)
{
    EXPECT_EQ(lengthAsUtf8(u""), 0U);
    EXPECT_EQ(lengthAsUtf8(u"a\u00E4\u20AC\U0001F600"), 1U + 2 + 3 + 4);
    EXPECT_EQ(lengthAsUtf8(std::u16string{0xD83D, u'x'}.c_str()), 3U + 1);
    EXPECT_EQ(lengthAsUtf8(std::u16string{0xD83D}.c_str()), 3U);
}

TEST(SoUnicodeTest, CountsUnitsUpToAMaximum)
{
    EXPECT_EQ(lengthWithMax(u"abc", 10), 3U);
    EXPECT_EQ(lengthWithMax(u"abc", 3), 3U);
    EXPECT_EQ(lengthWithMax(u"abc", 2), 2U);
    EXPECT_EQ(lengthWithMax(u"abc", 0), 0U);
    EXPECT_EQ(lengthWithMax(u"", 5), 0U);
}
