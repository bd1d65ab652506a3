#include "lexkit/private/DictionaryEntry.h"

#include "core/strings/lexkit/DictionaryTexts.h"

#include <gtest/gtest.h>

namespace {

using namespace lexkit_test;
using namespace lexkit_private;

std::u16string runText(const UnicodeRun& run)
{
    return lexkit_test::textOf(run.GetUnits(), run.GetLength());
}

std::u16string converted(std::u16string_view text)
{
    const Units source = units(text);
    return runText(DictionaryEntry::ConvertEscapeSequences(source.data(), source.size()));
}

std::u16string convertedISO(std::u16string_view text)
{
    const Units source = units(text);
    return runText(
        DictionaryEntry::ConvertEscapeSequencesISO(UnicodeRun(source.data(), source.size())));
}

struct Escape {
    const char16_t* text;
    const char16_t* value;
};

class EscapeTest : public testing::TestWithParam<Escape> { };

TEST_P(EscapeTest, IsConverted)
{
    EXPECT_EQ(converted(GetParam().text), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Backslash,
    EscapeTest,
    testing::Values(Escape{u"\\\"", u"\""},
        Escape{u"\\n\\r\\t\\b", u"\n\r\t\b"},
        Escape{u"\\\\", u"\\"},
        Escape{u"\\\\n", u"\\n"},
        Escape{u"\\x", u"\\x"},
        Escape{u"\\Q", u"\\Q"},
        Escape{u"\\^", u"\\^"},
        Escape{u"a\\", u"a\\"}));

INSTANTIATE_TEST_SUITE_P(Hat,
    EscapeTest,
    testing::Values(Escape{u"^Q", u"\""},
        Escape{u"^[^]^{^}", u"\u201C\u201D\u2018\u2019"},
        Escape{u"^C^R^T^D^B", u"\u00A9\u00AE\u2122\u00B0\u2022"},
        Escape{u"^#^!^I^S", u"\u2318\u00AC\u2206\u2211"},
        Escape{u"^n^r", u"\n\r"},
        Escape{u"^^", u"^"},
        Escape{u"^^Q", u"^Q"},
        Escape{u"^x", u"^x"},
        Escape{u"^1", u"^1"},
        Escape{u"^e", u"^e"},
        Escape{u"^q", u"^q"},
        Escape{u"^\"", u"^\""},
        Escape{u"^\\n", u"^\\n"},
        Escape{u"a^", u"a^"}));

INSTANTIATE_TEST_SUITE_P(References,
    EscapeTest,
    testing::Values(Escape{u"a#{lf}b#{e9}c", u"a\nb\u00E9c"},
        Escape{u"#{euro}", u"\u20AC"},
        Escape{u"#{endl}#{tab}", u"\r\t"},
        Escape{u"#", u"#"},
        Escape{u"#x", u"#x"},
        Escape{u"#xlf}", u"#xlf}"},
        Escape{u"#{\u0100}", u"#{\u0100}"},
        Escape{u"#{\u0161}", u"#{\u0161}"},
        Escape{u"##{a}", u"#\n"},
        Escape{u"#{#{a}", u"#{\n"},
        Escape{u"#{yen}", u"#{yen}"},
        Escape{u"#{12345}", u"#{12345}"},
        Escape{u"#{23}{nbsp}", u"#{nbsp}"},
        Escape{u"^#{nbsp}", u"\u2318{nbsp}"},
        Escape{u"#{5C}n#{5E}Q", u"\\n^Q"},
        Escape{u"#\\{a}", u"#\\{a}"},
        Escape{u"#^^{a}", u"#^{a}"},
        Escape{u"", u""},
        Escape{u"plain", u"plain"}));

TEST(DictionaryEntryTest, ConvertsReferencesAloneInTheSecondPass)
{
    EXPECT_EQ(convertedISO(u"^Q\\n#{lf}"), u"^Q\\n\n");
    EXPECT_EQ(convertedISO(u""), u"");
}

TEST(DictionaryEntryTest, LooksEscapesUpToTheEndOfATable)
{
    constexpr EscapeTableEntry kTable[] = {{u'a', 1}, {u'b', 2}, {0, 0}};
    EXPECT_EQ(DictionaryEntry::LookupEscape(kTable, u'b'), 2);
    EXPECT_EQ(DictionaryEntry::LookupEscape(kTable, u'c'), 0);
    EXPECT_EQ(DictionaryEntry::LookupEscape(kTable, 0), 0);
}

TEST(DictionaryEntryTest, ConvertsTheUnitsItIsMadeFromAndLeavesARunAsItIs)
{
    const ByteRunKey key("k", 1, false);
    const Units text = units(u"^Q");
    EXPECT_EQ(runText(DictionaryEntry(key, text.data(), text.size()).GetValue()), u"\"");
    const UnicodeRun run(text.data(), text.size());
    EXPECT_EQ(runText(DictionaryEntry(key, run).GetValue()), u"^Q");
    const auto entry = DictionaryEntry::Make(key, run);
    EXPECT_EQ(runText(entry->GetValue()), u"^Q");
    EXPECT_NE(entry->GetData(), key.GetData());
    EXPECT_EQ(*entry->GetData(), 'k');
}

std::u16string escaped(std::u16string_view text)
{
    const Units source = units(text);
    unsigned long length = source.size();
    const auto result = do_escapes(source.data(), length);
    return result ? lexkit_test::textOf(result.get(), length) : u"(null)";
}

TEST(DictionaryEntryTest, SpellsThreeCharactersWithABackslash)
{
    EXPECT_EQ(escaped(u"a\rb\"c\nd"), u"a\\rb\\\"c\\nd");
    EXPECT_EQ(escaped(u"\n"), u"\\n");
}

TEST(DictionaryEntryTest, HasNothingToSpellInOtherTexts)
{
    EXPECT_EQ(escaped(u"a\\b^c#{d}\t"), u"(null)");
    EXPECT_EQ(escaped(u""), u"(null)");
}

} // namespace
