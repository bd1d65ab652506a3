// A program of its own: the choice is made once in a process, by its first conversion.

#include "DictionaryTexts.h"

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

} // namespace
