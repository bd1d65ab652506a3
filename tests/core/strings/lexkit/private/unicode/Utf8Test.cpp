#include "lexkit/private/unicode/Utf8.h"

#include "core/strings/lexkit/DictionaryTexts.h"

#include <gtest/gtest.h>

namespace {

using namespace lexkit_test;
using namespace lexkit_private;

std::u16string decoded(const std::string& bytes, unsigned long capacity = 1000)
{
    const auto* const data = reinterpret_cast<const unsigned char*>(bytes.data());
    Units out(capacity, 0xBBBB);
    const unsigned long written = decodeUtf8(data, bytes.size(), out.data(), capacity);
    if (capacity == 1000) {
        EXPECT_EQ(decodedUtf8Size(data, bytes.size()), written);
    }
    return textOf(out.data(), written);
}

std::string encoded(std::u16string_view text, unsigned long capacity = 1000)
{
    const Units source = units(text);
    std::vector<unsigned char> out(capacity);
    const unsigned long written = encodeUtf8(source.data(), source.size(), out.data(), capacity);
    if (capacity == 1000) {
        EXPECT_EQ(encodedUtf8Size(source.data(), source.size()), written);
    }
    return {out.begin(), out.begin() + static_cast<std::ptrdiff_t>(written)};
}

TEST(Utf8Test, ConvertsTheLimitsOfEachLengthBothWays)
{
    for (const auto& [bytes, text] :
        std::initializer_list<std::pair<std::string, std::u16string>>{{"", u""},
            {std::string("\0", 1), std::u16string(u"\0", 1)},
            {"\x7F", u"\u007F"},
            {"\xC2\x80", u"\u0080"},
            {"\xDF\xBF", u"\u07FF"},
            {"\xE0\xA0\x80", u"\u0800"},
            {"\xED\x9F\xBF", u"\uD7FF"},
            {"\xEE\x80\x80", u"\uE000"},
            {"\xEF\xBF\xBF", u"\uFFFF"},
            {"\xEF\xBB\xBFx", u"\uFEFFx"},
            {"\xF0\x90\x80\x80", u"\U00010000"},
            {"\xF4\x8F\xBF\xBF", u"\U0010FFFF"}}) {
        EXPECT_EQ(decoded(bytes), text);
        EXPECT_EQ(encoded(text), bytes);
    }
}

TEST(Utf8Test, ReplacesEachLongestBeginningOfACharacter)
{
    for (const auto& [bytes, text] :
        std::initializer_list<std::pair<std::string, std::u16string>>{{"\x80", u"\uFFFD"},
            {std::string("\x80\0", 2), std::u16string(u"\uFFFD\0", 2)},
            {"\xC0\xAF", u"\uFFFD\uFFFD"},
            {"\xC3", u"\uFFFD"},
            {"\xC3x", u"\uFFFDx"},
            {"\xC3\xC0", u"\uFFFD\uFFFD"},
            {"\xE1\xC0\x80", u"\uFFFD\uFFFD\uFFFD"},
            {"\xE0\x80\x80", u"\uFFFD\uFFFD\uFFFD"},
            {"\xE6\xBC", u"\uFFFD"},
            {"\xE6\xBCx", u"\uFFFDx"},
            {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},
            {"\xF0\x8F\xBF\xBF", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
            {"\xF0\x9F\x98", u"\uFFFD"},
            {"\xF0\x9F\x98\xC3\xA9", u"\uFFFD\u00E9"},
            {"\xF1\xC0\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
            {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
            {"\xF5\x80\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
            {"\xF5\xFF", u"\uFFFD\uFFFD"}})
        EXPECT_EQ(decoded(bytes), text) << testing::PrintToString(bytes);
}

TEST(Utf8Test, WritesAQuestionMarkForHalfAPair)
{
    EXPECT_EQ(encoded(u"a\xD800"), "a?");
    EXPECT_EQ(encoded(u"\xD800x"), "?x");
    EXPECT_EQ(encoded(u"\xDC00\xD800"), "??");
    EXPECT_EQ(encoded(u"\xD83D\xD83D\xDE00"), "?\xF0\x9F\x98\x80");
}

TEST(Utf8Test, StopsAtTheLastWholeCharacterThatFits)
{
    EXPECT_EQ(decoded("a\xF0\x9F\x98\x80", 2), u"a");
    EXPECT_EQ(decoded("a\xF0\x9F\x98\x80", 3), u"a\U0001F600");
    EXPECT_EQ(decoded("ab", 0), u"");
    EXPECT_EQ(encoded(u"a\u00E9", 2), "a");
    EXPECT_EQ(encoded(u"a\u00E9", 3), "a\xC3\xA9");
    EXPECT_EQ(encoded(u"a", 0), "");
}

} // namespace
