#include "platform/common/text/TextEncoding.h"

#include "support/Environment.h"

#include <thread>

#include <gtest/gtest.h>

namespace {

std::u16string decoded(const char* encoding, std::string_view bytes)
{
    const Pt::WideText text = Pt::TextEncoding(encoding).decode(bytes);
    return {text.begin(), text.end()};
}

std::string encoded(const char* encoding,
    const std::u16string& text,
    std::size_t limit = Pt::TextEncoding::kNoLimit)
{
    const Pt::WideText units(text.begin(), text.end());
    return Pt::TextEncoding(encoding).encode(units.data(), units.size(), limit);
}

struct Legacy {
    const char* encoding;
    const char* bytes;
    const char16_t* text;
};

TEST(TextEncodingTest, ConvertsLegacyEncodingsBothWays)
{
    for (const Legacy& row : {Legacy{"ISO-8859-1",
                                  "Gr\xF6\xDF"
                                  "e",
                                  u"Gr\u00F6\u00DFe"},
             Legacy{"ISO-8859-15", "\xA4", u"\u20AC"},
             Legacy{"KOI8-R", "\xC1", u"\u0430"},
             Legacy{"EUC-JP", "\xB4\xC1", u"\u6F22"},
             Legacy{"SHIFT_JIS", "\x8A\xBF", u"\u6F22"},
             Legacy{"GB18030", "\x94\x39\xFC\x36", u"\U0001F600"},
             Legacy{"UTF-8", "\xF0\x9F\x98\x80", u"\U0001F600"},
             Legacy{"ISO-2022-JP", "\x1B$B4A\x1B(Bx", u"\u6F22x"}}) {
        EXPECT_EQ(decoded(row.encoding, row.bytes), row.text) << row.encoding;
        EXPECT_EQ(encoded(row.encoding, row.text), row.bytes) << row.encoding;
    }
}

TEST(TextEncodingTest, LeavesAnEncodingWithShiftsAtItsStart)
{
    EXPECT_EQ(encoded("ISO-2022-JP", u"\u6F22"), "\x1B$B4A\x1B(B");
}

TEST(TextEncodingTest, ReplacesWhatOneSideCannotExpress)
{
    EXPECT_EQ(decoded("UTF-8", "a\xFF\xC3"), u"a\uFFFD\uFFFD");
    EXPECT_EQ(decoded("EUC-JP", "a\xB4"), u"a\uFFFD");
    EXPECT_EQ(encoded("ISO-8859-1", u"a\u6F22b\U0001F600c"), "a?b?c");
    EXPECT_EQ(encoded("ISO-8859-1", u"\xD800x\xDC00"), "?x?");
    EXPECT_EQ(encoded("UTF-8", u"x\xD800"), "x?");
}

TEST(TextEncodingTest, CutsAtAWholeCharacter)
{
    EXPECT_EQ(encoded("UTF-8", u"a\u00E9", 2), "a");
    EXPECT_EQ(encoded("UTF-8", u"a\u00E9", 3), "a\xC3\xA9");
    EXPECT_EQ(encoded("ISO-8859-1", u"a\u6F22", 1), "a");
    EXPECT_EQ(encoded("ISO-8859-1", u"abc", 0), "");
}

TEST(TextEncodingTest, ConvertsTextsThatAreLongerThanAStep)
{
    const std::string bytes(100001, '\xE9');
    const std::u16string text = decoded("ISO-8859-1", bytes);
    EXPECT_EQ(text, std::u16string(100001, u'\u00E9'));
    EXPECT_EQ(encoded("ISO-8859-1", text), bytes);
    EXPECT_EQ(encoded("ISO-8859-1", text, 50000), bytes.substr(0, 50000));
}

TEST(TextEncodingTest, TakesAnUnknownEncodingAsUtf8)
{
    EXPECT_TRUE(Pt::TextEncoding("no such encoding").isUtf8());
    EXPECT_EQ(decoded("no such encoding", "\xC3\xA9"), u"\u00E9");
    EXPECT_TRUE(Pt::TextEncoding("utf8").isUtf8());
    EXPECT_FALSE(Pt::TextEncoding("ISO-8859-1").isUtf8());
}

TEST(TextEncodingTest, IsNamedByTheFirstVariableThatIsSet)
{
    test::Environment environment;
    for (const char* const variable : {"LC_ALL", "LC_CTYPE", "LANG"})
        environment.unset(variable);
    EXPECT_EQ(Pt::systemTextEncodingName(), "UTF-8");
    environment.set("LANG", "ja_JP.EUC-JP");
    EXPECT_EQ(Pt::systemTextEncodingName(), "EUC-JP");
    environment.set("LC_CTYPE", "ru_RU.KOI8-R@modifier");
    EXPECT_EQ(Pt::systemTextEncodingName(), "KOI8-R");
    environment.set("LC_ALL", "de_DE.ISO-8859-15");
    EXPECT_EQ(Pt::systemTextEncodingName(), "ISO-8859-15");
    environment.set("LC_ALL", "");
    EXPECT_EQ(Pt::systemTextEncodingName(), "KOI8-R");
}

TEST(TextEncodingTest, IsUtf8WhereNoLocaleNamesOne)
{
    test::Environment environment;
    for (const char* const locale : {"C", "POSIX", "xx_YY", "xx_YY@euro", "de_DE."}) {
        environment.set("LC_ALL", locale);
        EXPECT_EQ(Pt::systemTextEncodingName(), "UTF-8") << locale;
    }
}

TEST(TextEncodingTest, IsWhatTheEnvironmentNamedWhenTheThreadFirstAsked)
{
    test::Environment environment;
    environment.set("LC_ALL", "de_DE.ISO-8859-1");
    std::u16string text;
    std::thread([&] {
        const Pt::WideText units = Pt::TextEncoding::system().decode("\xE9");
        text.assign(units.begin(), units.end());
    }).join();
    EXPECT_EQ(text, u"\u00E9");
}

} // namespace
