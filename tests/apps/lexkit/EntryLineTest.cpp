#include "lexkit/EntryLine.h"

#include "core/strings/lexkit/DictionaryTexts.h"

#include <random>

#include <gtest/gtest.h>

namespace {

using namespace lexkit_test;
using namespace lexkit_private;

std::unique_ptr<DictionaryEntry> entryOf(const std::string& key, const std::u16string& value)
{
    const Units text = units(value);
    return DictionaryEntry::Make(
        ByteRunKey(key.data(), key.size(), true), UnicodeRun(text.data(), text.size()));
}

std::u16string lineOf(const std::string& key, const std::u16string& value)
{
    const auto line = lexkit_cli::entryLine(*entryOf(key, value));
    return line ? textOf(line->data(), line->size()) : u"(none)";
}

TEST(EntryLineTest, SpellsOnlyWhatMustBeSpelt)
{
    EXPECT_EQ(lineOf("k", u"plain 100% #1 ^1"), u"\"k=plain 100% #1 ^1\"\n");
    EXPECT_EQ(lineOf("k", u"a\"b\nc\rd"), u"\"k=a\\\"b\\nc\\rd\"\n");
    EXPECT_EQ(lineOf("k", u"C:\\name"), u"\"k=C:#{005C}name\"\n");
    EXPECT_EQ(lineOf("k", u"^Q ^1"), u"\"k=#{005E}Q ^1\"\n");
    EXPECT_EQ(lineOf("k", u"#{lf}"), u"\"k=#{0023}{lf}\"\n");
}

TEST(EntryLineTest, PutsMarksBeforeAKeyThatNeedsThem)
{
    EXPECT_EQ(lineOf("", u"v"), u"\"$$$=v\"\n");
    EXPECT_EQ(lineOf("$k", u"v"), u"\"$$$$k=v\"\n");
}

TEST(EntryLineTest, HasNoLineForSomeKeys)
{
    for (const std::string& key :
        {std::string("a=b"), std::string("a\nb"), std::string("a\"b"), std::string("a\0b", 3)})
        EXPECT_EQ(lineOf(key, u"v"), u"(none)") << key;
}

TEST(EntryLineTest, HoldsEveryValue)
{
    std::mt19937 random(1);
    constexpr std::u16string_view kUnits = u"\\^#{}\"nQ12eU+af \n\r\t\u2028\u2029\0=$"
                                           u"\u00E9\xD800\xFEFF";
    for (int round = 0; round < 20000; ++round) {
        std::u16string value;
        for (unsigned left = static_cast<unsigned>(random() % 12); left > 0; --left)
            value += kUnits[random() % kUnits.size()];
        const std::u16string line = lineOf("/k", value);
        lexkit::Dictionary dictionary;
        readLines(dictionary, line);
        ASSERT_EQ(valueOf(dictionary, "/k"), value) << testing::PrintToString(line);
        ASSERT_EQ(dictionary.NumKeys(), 1u);
    }
}

} // namespace
