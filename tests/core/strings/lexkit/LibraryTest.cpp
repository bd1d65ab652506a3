// What the shared library gives to an application, which links nothing else of ours.

#include "core/strings/lexkit/DictionaryTexts.h"
#include "lexkit/basic_ifstream.h"

#include <gtest/gtest.h>

namespace {

using namespace lexkit_test;

TEST(LibraryTest, ReadsLooksUpAndWrites)
{
    lexkit::Dictionary dictionary;
    readLines(dictionary, u"\"/greeting=Hello, ^1\"\n");
    lexkit::ZString text = dictionary.Lookup("$$$/greeting=Hi ^1", nullptr);
    text.Replace(1, zstring(u"world"));
    EXPECT_EQ(textOf(text), u"Hello, world");
    std::ostringstream file;
    dictionary.Compile(file, nullptr);
    lexkit::Dictionary again;
    readStream(again, file.str());
    EXPECT_EQ(keysOf(again), keysOf(dictionary));
}

TEST(LibraryTest, LetsItsExceptionBeCaughtOutside)
{
    EXPECT_THROW(zstring(u"long").GetUnicode(nullptr, 0, true), LXErrException);
    EXPECT_THROW(zstring(u"long").GetUnicode(nullptr, 0, true), std::exception);
}

} // namespace
