#include "platform/common/text/PtUnicode.h"

#include "core/platform/WideLiteral.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

using test::wide;

namespace {

// Converts into a buffer of exactly the measured size, so that a sanitizer sees every excess.
Pt::WideText decoded(const std::string& bytes)
{
    const std::size_t size = UTF8ToUTF16HostEndian(bytes.data(), bytes.size(), nullptr);
    std::vector<unsigned short> out(size / 2);
    EXPECT_EQ(UTF8ToUTF16HostEndian(bytes.data(), bytes.size(), out.data()), size);
    EXPECT_EQ(out.back(), 0);
    return {out.begin(), out.end() - 1};
}

std::string encoded(const Pt::WideText& units)
{
    const std::size_t size = UTF16HostEndianToUTF8(units.data(), units.size() * 2, nullptr);
    std::vector<char> out(size);
    EXPECT_EQ(UTF16HostEndianToUTF8(units.data(), units.size() * 2, out.data()), size);
    EXPECT_EQ(out.back(), 0);
    return {out.begin(), out.end() - 1};
}

// The drop rules told once more, without the shape of the code under test: lead bytes by table,
// overlong forms found by writing the character anew.
Pt::WideText decodedByModel(const std::string& bytes)
{
    Pt::WideText result;
    for (std::size_t i = 0; i < bytes.size() && bytes[i] != '\0';) {
        const auto lead = static_cast<unsigned char>(bytes[i]);
        const bool isStray = (lead >= 0x80 && lead < 0xC0) || lead >= 0xF8;
        const std::size_t length = isStray || lead < 0x80 ? 1
            : lead < 0xE0                                 ? 2
            : lead < 0xF0                                 ? 3
                                                          : 4;
        std::size_t end = i + 1;
        while (end < bytes.size() && end < i + length && U8_IS_TRAIL(bytes[end]))
            ++end;
        const std::string sequence = bytes.substr(i, end - i);
        i = end;
        UChar32 c = 0;
        int32_t offset = 0;
        const auto* const raw = reinterpret_cast<const uint8_t*>(sequence.data());
        const auto size = static_cast<int32_t>(sequence.size());
        U8_NEXT(raw, offset, size, c);
        if (c < 0 || offset != size)
            continue;
        uint16_t units[2];
        int32_t count = 0;
        U16_APPEND_UNSAFE(units, count, c);
        result.append(units, units + count);
    }
    return result;
}

std::string encodedByModel(const Pt::WideText& units)
{
    std::string result;
    for (std::size_t i = 0; i < units.size() && units[i] != 0; ++i) {
        UChar32 c = units[i];
        const bool isPair = U16_IS_LEAD(c) && i + 1 < units.size() && U16_IS_TRAIL(units[i + 1]);
        if (isPair)
            c = U16_GET_SUPPLEMENTARY(c, units[++i]);
        else if (U16_IS_SURROGATE(c))
            continue;
        uint8_t bytes[4];
        int32_t count = 0;
        U8_APPEND_UNSAFE(bytes, count, c);
        result.append(bytes, bytes + count);
    }
    return result;
}

// Mostly bytes that matter, so that sequences and near misses are frequent.
std::string randomBytes(std::mt19937& random)
{
    constexpr unsigned char kBytes[] = {'a',
        0x7F,
        0x80,
        0x8F,
        0x90,
        0x9F,
        0xA0,
        0xBF,
        0xC0,
        0xC1,
        0xC2,
        0xDF,
        0xE0,
        0xE1,
        0xED,
        0xEF,
        0xF0,
        0xF1,
        0xF4,
        0xF5,
        0xF7,
        0xF8,
        0xFF};
    std::uniform_int_distribution<std::size_t> index(0, std::size(kBytes) - 1);
    std::uniform_int_distribution<std::size_t> length(0, 12);
    std::string bytes;
    for (std::size_t n = length(random); n > 0; --n)
        bytes += static_cast<char>(kBytes[index(random)]);
    return bytes;
}

Pt::WideText randomUnits(std::mt19937& random)
{
    constexpr unsigned short kUnits[] = {
        'a', 0x7F, 0x80, 0x7FF, 0x800, 0xD7FF, 0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xE000, 0xFFFF};
    std::uniform_int_distribution<std::size_t> index(0, std::size(kUnits) - 1);
    std::uniform_int_distribution<std::size_t> length(0, 10);
    Pt::WideText units;
    for (std::size_t n = length(random); n > 0; --n)
        units += kUnits[index(random)];
    return units;
}

std::vector<UChar32> randomCharacters(std::mt19937& random)
{
    std::uniform_int_distribution<UChar32> any(1, 0x10FFFF);
    std::uniform_int_distribution<std::size_t> length(0, 40);
    std::vector<UChar32> characters;
    for (std::size_t n = length(random); n > 0; --n) {
        const UChar32 c = any(random) >> any(random) % 21;
        if (c > 0 && !U_IS_SURROGATE(c))
            characters.push_back(c);
    }
    return characters;
}

std::string utf8ByIcu(const std::vector<UChar32>& characters)
{
    std::string bytes;
    for (const UChar32 c : characters) {
        uint8_t sequence[4];
        int32_t count = 0;
        U8_APPEND_UNSAFE(sequence, count, c);
        bytes.append(sequence, sequence + count);
    }
    return bytes;
}

Pt::WideText utf16ByIcu(const std::string& bytes)
{
    std::vector<UChar> out(bytes.size() + 1);
    int32_t length = 0;
    UErrorCode error = U_ZERO_ERROR;
    const auto size = static_cast<int32_t>(bytes.size());
    u_strFromUTF8(out.data(), size + 1, &length, bytes.data(), size, &error);
    EXPECT_TRUE(U_SUCCESS(error)) << u_errorName(error);
    return {out.begin(), out.begin() + length};
}

struct Row {
    const char* name;
    std::string bytes;
    Pt::WideText units;
};

const std::vector<Row>& decodedRows()
{
    static const std::vector<Row> rows = {
        {"ASCII", "a~", wide(u"a~")},
        {"two bytes", "\xC2\x80\xDF\xBF", wide(u"\x80\x7FF")},
        {"three bytes", "\xE0\xA0\x80\xEF\xBF\xBF", wide(u"\x800\xFFFF")},
        {"around the surrogates", "\xED\x9F\xBF\xEE\x80\x80", wide(u"\xD7FF\xE000")},
        {"first beyond 16 bits", "\xF0\x90\x80\x80", wide(u"\xD800\xDC00")},
        {"last of all", "\xF4\x8F\xBF\xBF", wide(u"\xDBFF\xDFFF")},
        {"text ends at NUL", std::string("a\0b", 3), wide(u"a")},
        {"cut three-byte sequence", "\xE2\x82", {}},
        {"cut two-byte sequence", "a\xC3", wide(u"a")},
        {"cut four-byte sequence", "\xF0\x9F\x98", {}},
        {"overlong NUL does not end", "a\xC0\x80z", wide(u"az")},
        {"overlong three bytes", "\xE0\x9F\xBFz", wide(u"z")},
        {"overlong four bytes", "\xF0\x8F\xBF\xBFz", wide(u"z")},
        {"high surrogate", "\xED\xA0\x80z", wide(u"z")},
        {"low surrogate", "\xED\xBF\xBFz", wide(u"z")},
        {"above the last", "\xF4\x90\x80\x80z", wide(u"z")},
        {"far above the last", "\xF7\xBF\xBF\xBFz", wide(u"z")},
        {"stray continuation", "\x80\xBFz", wide(u"z")},
        {"no lead at all", "\xF8\xFE\xFFz", wide(u"z")},
        {"five-byte form byte for byte", "\xF8\x88\x80\x80\x80z", wide(u"z")},
        {"first continuation wrong", "\xE2zz", wide(u"zz")},
        {"second continuation wrong", "\xE2\x82zz", wide(u"zz")},
        {"third continuation wrong", "\xF0\x9F\x98zz", wide(u"zz")},
        {"wrong byte starts anew", "\xE2\xC3\xA4", wide(u"\xE4")},
    };
    return rows;
}

} // namespace

TEST(PtUnicodeTest, DecodesUtf8AndDropsWhatIsNotValid)
{
    for (const Row& row : decodedRows())
        EXPECT_EQ(decoded(row.bytes), row.units) << row.name;
}

TEST(PtUnicodeTest, GivesOnlyTheTerminatorForACutSequence)
{
    unsigned short out[] = {0x7777, 0x7777};
    EXPECT_EQ(UTF8ToUTF16HostEndian("\xE2\x82", 2, out), 2u);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(out[1], 0x7777);
}

TEST(PtUnicodeTest, GivesNothingForAnOverlongNul)
{
    EXPECT_EQ(UTF8ToUTF16HostEndian("\xC0\x80", 2, nullptr), 2u);
}

TEST(PtUnicodeTest, GivesNothingForASurrogateInUtf8)
{
    EXPECT_EQ(UTF8ToUTF16HostEndian("\xED\xA0\x80", 3, nullptr), 2u);
}

TEST(PtUnicodeTest, GivesAPairAboveSixteenBits)
{
    unsigned short out[3] = {};
    EXPECT_EQ(UTF8ToUTF16HostEndian("\xF0\x9F\x98\x80", 4, out), 6u);
    EXPECT_EQ(out[0], 0xD83D);
    EXPECT_EQ(out[1], 0xDE00);
    EXPECT_EQ(out[2], 0);
}

TEST(PtUnicodeTest, ReadsNoFurtherThanTheCount)
{
    EXPECT_EQ(UTF8ToUTF16HostEndian("abc", 2, nullptr), 6u);
    EXPECT_EQ(UTF8ToUTF16HostEndian(nullptr, 0, nullptr), 2u);
    EXPECT_EQ(UTF16HostEndianToUTF8(wide(u"abc").c_str(), 4, nullptr), 3u);
}

TEST(PtUnicodeTest, LeavesAnOddLastByteOfUtf16Unread)
{
    EXPECT_EQ(UTF16HostEndianToUTF8(wide(u"ab").c_str(), 3, nullptr), 2u);
    EXPECT_EQ(UTF16HostEndianToUTF8(wide(u"ab").c_str(), 1, nullptr), 1u);
}

TEST(PtUnicodeTest, WritesJustTheTerminatorWhenNoByteMayBeRead)
{
    char out[] = {'x', 'x'};
    EXPECT_EQ(UTF16HostEndianToUTF8(wide(u"text").c_str(), 0, out), 1u);
    EXPECT_EQ(out[0], '\0');
    EXPECT_EQ(out[1], 'x');
}

TEST(PtUnicodeTest, DropsLoneSurrogatesOfUtf16)
{
    EXPECT_EQ(encoded(wide(u"\xDC00")), "");
    EXPECT_EQ(encoded(wide(u"a\xD83Dz")), "az");
    EXPECT_EQ(encoded(wide(u"\xD83D\xD83D\xDE00")), "\xF0\x9F\x98\x80");
    EXPECT_EQ(encoded(wide(u"\xD83D")), "");
}

TEST(PtUnicodeTest, DropsAPairThatTheCountCuts)
{
    EXPECT_EQ(UTF16HostEndianToUTF8(wide(u"\xD83D\xDE00").c_str(), 3, nullptr), 1u);
    EXPECT_EQ(UTF16HostEndianToUTF8(wide(u"\xD83D\xDE00").c_str(), 4, nullptr), 5u);
}

TEST(PtUnicodeTest, AgreesWithAnotherConverterOnValidText)
{
    std::mt19937 random(20);
    for (int round = 0; round < 3000; ++round) {
        const std::string bytes = utf8ByIcu(randomCharacters(random));
        const Pt::WideText units = utf16ByIcu(bytes);
        ASSERT_EQ(decoded(bytes), units);
        ASSERT_EQ(encoded(units), bytes);
    }
}

TEST(PtUnicodeTest, DropsExactlyTheInvalidPartsOfRandomInput)
{
    std::mt19937 random(21);
    for (int round = 0; round < 20000; ++round) {
        const std::string bytes = randomBytes(random);
        ASSERT_EQ(decoded(bytes), decodedByModel(bytes)) << testing::PrintToString(bytes);
        const Pt::WideText units = randomUnits(random);
        ASSERT_EQ(encoded(units), encodedByModel(units)) << testing::PrintToString(units);
    }
}

TEST(PtUnicodeTest, TakesValidTextCutAtEveryLength)
{
    const std::string bytes = "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80";
    for (std::size_t length = 0; length <= bytes.size(); ++length)
        EXPECT_EQ(decoded(bytes.substr(0, length)), decodedByModel(bytes.substr(0, length)));
}

TEST(PtUnicodeTest, GivesOwnedTexts)
{
    EXPECT_EQ(Pt::toUtf8(wide(u"\u00E4\xDC00").c_str()), "\xC3\xA4");
    EXPECT_EQ(Pt::toUtf8(nullptr), "");
    EXPECT_EQ(Pt::toUtf16("\xC3\xA4\xFF"), wide(u"\u00E4"));
    EXPECT_EQ(Pt::toUtf16({}), Pt::WideText());
}
