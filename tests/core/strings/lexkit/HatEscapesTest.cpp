// A program of its own: the choice is made once in a process, by its first conversion.

#include "core/strings/lexkit/DictionaryTexts.h"

#include <cstdlib>

#include <gtest/gtest.h>

namespace {

using namespace lexkit_test;

TEST(HatEscapesTest, AreChosenByTheFirstConversionOfTheProcess)
{
    lexkit::EnableZQHatEscapes = true;
    lexkit::Dictionary dictionary;
    EXPECT_EQ(textOf(dictionary.Lookup("k=plain", nullptr)), u"plain");
    lexkit::EnableZQHatEscapes = false;
    EXPECT_EQ(textOf(dictionary.Lookup("k=^e^Q", nullptr)), u"\u00E9\"");
}

// In a process of its own, where nothing was converted before.
TEST(HatEscapesDeathTest, AreChosenByALineOfTextThoughItHasNoEscapes)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto readBoth = [] {
        lexkit::EnableZQHatEscapes = true;
        lexkit::Dictionary dictionary;
        readLines(dictionary, u"first=\n");
        lexkit::EnableZQHatEscapes = false;
        readLines(dictionary, u"k=^e^Q\n");
        std::exit(valueOf(dictionary, "k") == u"\u00E9\"" ? 0 : 1);
    };
    EXPECT_EXIT(readBoth(), testing::ExitedWithCode(0), "");
}

} // namespace
