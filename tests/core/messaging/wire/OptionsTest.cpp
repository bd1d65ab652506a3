#include "messaging/TevoroTalkUtils.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using ScObjects::SoString;
using ScObjects::SoVector;
using ScObjects::TevoroTalkUtils::parseOptions;
using Words = std::vector<std::string>;

Words wordsOf(const SoString& text)
{
    SoVector<SoString> words;
    const long count = parseOptions(text, words);
    EXPECT_EQ(count, words.length());
    Words result;
    while (SoString* const word = words.removeAt(0)) {
        result.emplace_back(word->view());
        delete word;
    }
    return result;
}

} // namespace

TEST(OptionsTest, DividesAtEqualSignSemicolonAndQuotes)
{
    EXPECT_EQ(wordsOf("a=b;\"c\""), (Words{"a", "b", "c"}));
}

TEST(OptionsTest, DividesAtEveryDelimiter)
{
    EXPECT_EQ(wordsOf("a b=c;d\"e'f:g"), (Words{"a", "b", "c", "d", "e", "f", "g"}));
}

TEST(OptionsTest, DividesAtNothingElse)
{
    EXPECT_EQ(wordsOf("a,b\tc\nd/e-f.g"), Words{"a,b\tc\nd/e-f.g"});
}

TEST(OptionsTest, HasNoEmptyWords)
{
    EXPECT_EQ(wordsOf(""), Words{});
    EXPECT_EQ(wordsOf(" =;\"':"), Words{});
    EXPECT_EQ(wordsOf("  a == b;; "), (Words{"a", "b"}));
}

TEST(OptionsTest, GroupsNothingInQuotes)
{
    EXPECT_EQ(wordsOf("\"one two\" 'three four'"), (Words{"one", "two", "three", "four"}));
}

TEST(OptionsTest, KeepsAllBytesOfAWord)
{
    EXPECT_EQ(wordsOf(SoString("a\0b \xC3\xA4", 6)), (Words{std::string("a\0b", 3), "\xC3\xA4"}));
}

TEST(OptionsTest, AppendsToTheWordsThatAreThere)
{
    SoString first("first");
    SoVector<SoString> words;
    words.append(&first);
    EXPECT_EQ(parseOptions("second third", words), 3);
    EXPECT_EQ(words[0], &first);
    EXPECT_EQ(*words[2], "third");
    delete words.removeAt(2);
    delete words.removeAt(1);
    EXPECT_EQ(parseOptions("", words), 1);
}
