#include "preference_xml_parser/PreferenceText.h"

#include <random>
#include <utility>

#include <gtest/gtest.h>

using namespace preferences;

namespace {

std::u16string randomUnits(std::mt19937& random)
{
    // Small ranges around what is special, so that each comes up often.
    constexpr char16_t kStarts[] = {0x0,
        0x18,
        0x20,
        0x58,
        0x78,
        0x98,
        0x7f8,
        0x2026,
        0xd7f8,
        0xd800,
        0xdbf8,
        0xdc00,
        0xdff8,
        0xfef8,
        0xfff8};
    std::u16string text;
    for (auto left = random() % 12; left > 0; --left) {
        text.push_back(
            static_cast<char16_t>(kStarts[random() % std::size(kStarts)] + random() % 8));
    }
    return text;
}

} // namespace

TEST(PreferenceTextTest, ConvertsCharactersOfEveryLength)
{
    EXPECT_EQ(utf16FromUtf8("a\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80"), u"a\u00e9\u20ac\U0001f600");
    EXPECT_EQ(utf8FromUtf16(u"a\u00e9\u20ac\U0001f600"), "a\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80");
    EXPECT_EQ(utf8FromUtf16(u"\U0010ffff\ud7ff\ue000\u0080\u0800"),
        "\xf4\x8f\xbf\xbf\xed\x9f\xbf\xee\x80\x80\xc2\x80\xe0\xa0\x80");
}

class BadUtf8Test : public testing::TestWithParam<const char*> { };

TEST_P(BadUtf8Test, IsNoText)
{
    EXPECT_EQ(utf16FromUtf8(GetParam()), std::nullopt);
    EXPECT_FALSE(isXmlText(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Rows,
    BadUtf8Test,
    testing::Values("\x80", // a continuation first
        "\xc3", // cut
        "\xe2\x82", // cut
        "\xf0\x9f\x98", // cut
        "\xc3(", // no continuation
        "\xe2\x82(", // no continuation
        "\xc0\x80", // overlong zero
        "\xc1\xbf", // overlong
        "\xe0\x9f\xbf", // overlong
        "\xf0\x8f\xbf\xbf", // overlong
        "\xed\xa0\x80", // surrogate
        "\xed\xbf\xbf", // surrogate
        "\xf4\x90\x80\x80", // above the last character
        "\xf8\x88\x80\x80\x80", // five bytes
        "\xff"));

TEST(PreferenceTextTest, HasNoUtf8ForLoneSurrogates)
{
    EXPECT_EQ(utf8FromUtf16(std::u16string(1, 0xd800)), std::nullopt);
    EXPECT_EQ(utf8FromUtf16(std::u16string{0xdc00, 0xd800}), std::nullopt);
    EXPECT_EQ(utf8FromUtf16(std::u16string{0xd800, u'a'}), std::nullopt);
}

TEST(PreferenceTextTest, KnowsTheCharactersOfXml)
{
    EXPECT_TRUE(isXmlText("a \t\r\n\x7f\xef\xbb\xbf"));
    EXPECT_FALSE(isXmlText(std::string_view("\0", 1)));
    EXPECT_FALSE(isXmlText("\x01"));
    EXPECT_FALSE(isXmlText("\x1f"));
    EXPECT_FALSE(isXmlText("\xef\xbf\xbe"));
    EXPECT_FALSE(isXmlText("\xef\xbf\xbf"));
}

TEST(PreferenceTextTest, TakesOnlyTextThatComesBackForPlain)
{
    EXPECT_TRUE(isPlainText(u""));
    EXPECT_TRUE(isPlainText(u"C:\\My pictures & <more>  \u00fc\U0001f600"));
    for (const char16_t unit : {u'\0',
             u'\t',
             u'\n',
             u'\r',
             u'\x7f',
             u'\u0085',
             u'\u2028',
             u'\u2029',
             u'\ufeff',
             u'\ufffe',
             u'\uffff'})
        EXPECT_FALSE(isPlainText(std::u16string{u'a', unit, u'a'})) << int{unit};
    EXPECT_FALSE(isPlainText(u" a"));
    EXPECT_FALSE(isPlainText(u"a "));
    EXPECT_FALSE(isPlainText(std::u16string(1, 0xd83d)));
}

TEST(PreferenceTextTest, EscapesWhatIsNotPlainAndNothingElse)
{
    EXPECT_EQ(escapedText(u" a b\\c\r\n\u00e9 "), "\\u0020a b\\\\c\\u000d\\u000a\xc3\xa9\\u0020");
    EXPECT_EQ(escapedText(std::u16string{0xdead, 0xd83d, 0xde00}), "\\udead\xf0\x9f\x98\x80");
}

TEST(PreferenceTextTest, UnescapesBothCasesOfDigits)
{
    EXPECT_EQ(unescapedText("\\u00E9\\u00e9\\\\u"), u"\u00e9\u00e9\\u");
}

class BadEscapeTest : public testing::TestWithParam<const char*> { };

TEST_P(BadEscapeTest, GivesNothing)
{
    EXPECT_EQ(unescapedText(GetParam()), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Rows,
    BadEscapeTest,
    testing::Values("\\",
        "a\\",
        "\\n",
        "\\u",
        "\\u123",
        "\\u12g4",
        "\\U0041",
        "\\u 041",
        "\\u-041",
        "\xc3",
        "\\u0041\xff"));

TEST(PreferenceTextTest, EscapedTextOfAnyUnitsComesBack)
{
    std::mt19937 random(20011);
    for (int round = 0; round < 20000; ++round) {
        const std::u16string text = randomUnits(random);
        const std::string escaped = escapedText(text);
        ASSERT_EQ(unescapedText(escaped), text) << escaped;
        ASSERT_TRUE(isXmlText(escaped));
        if (isPlainText(text)) {
            ASSERT_EQ(utf16FromUtf8(utf8FromUtf16(text).value()), text);
        }
    }
}
