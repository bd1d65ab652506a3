// A program of its own: the system's encoding is the one that the environment named at first.

#include "core/strings/lexkit/DictionaryTexts.h"
#include "support/Environment.h"

#include <gtest/gtest.h>

namespace {

using namespace lexkit_test;

class Latin1Environment : public testing::Environment {
public:
    void SetUp() override { ::setenv("LC_ALL", "de_DE.ISO-8859-1", 1); }
};

testing::Environment* const gEnvironment = testing::AddGlobalTestEnvironment(new Latin1Environment);

constexpr lexkit::EncodingInfo kSystem(lexkit::EncodingInfo::kSystem);

TEST(SystemEncodingTest, IsThatOfATextWithoutAMark)
{
    ASSERT_NE(gEnvironment, nullptr);
    lexkit::Dictionary dictionary;
    readStream(dictionary,
        "k=Gr\xF6\xDF"
        "e\n");
    EXPECT_EQ(valueOf(dictionary, "k"), u"Gr\u00F6\u00DFe");
}

TEST(SystemEncodingTest, IsThatOfNullAndOfSelectorZero)
{
    const unsigned char bytes[] = {0xE9};
    EXPECT_EQ(textOf(lexkit::ZString(bytes, 1, nullptr)), u"\u00E9");
    EXPECT_EQ(textOf(lexkit::ZString(bytes, 1, &kSystem)), u"\u00E9");
}

TEST(SystemEncodingTest, GivesWayToTheDefaultEncodingForNullAlone)
{
    lexkit::SetDefaultEncoding(&kUTF8);
    const unsigned char bytes[] = {0xC3, 0xA9};
    EXPECT_EQ(textOf(lexkit::ZString(bytes, 2, nullptr)), u"\u00E9");
    EXPECT_EQ(textOf(lexkit::ZString(bytes, 2, &kSystem)), u"\u00C3\u00A9");
    lexkit::SetDefaultEncoding(nullptr);
}

TEST(SystemEncodingTest, WritesAQuestionMarkForWhatItDoesNotHave)
{
    const lexkit::ZString text = zstring(u"\u00E9\u6F22\U0001F600x");
    EXPECT_EQ(text.GetCStringSize(&kSystem), 5u);
    char buffer[8] = {};
    text.GetCString(buffer, sizeof buffer, true, &kSystem);
    EXPECT_STREQ(buffer, "\xE9??x");
    EXPECT_THROW(text.GetCString(buffer, 4, true, &kSystem), LXErrException);
    EXPECT_STREQ(buffer, "\xE9??");
}

TEST(SystemEncodingTest, FillsABufferThatIsTooSmall)
{
    const unsigned char bytes[] = {0xE9, 0xE8};
    lexkit::ZString text;
    text.MakeFromCString("\xE9\xE8", 2, &kSystem);
    EXPECT_EQ(textOf(text), u"\u00E9\u00E8");
    EXPECT_EQ(textOf(lexkit::ZString(bytes, 2, &kSystem)), u"\u00E9\u00E8");
}

// Selectors above 1 are measured as UTF-8 and converted as the system's text.
TEST(SystemEncodingTest, KeepsItsWayWithOtherSelectors)
{
    const lexkit::EncodingInfo other(2);
    const unsigned char bytes[] = {'a', 'b'};
    EXPECT_EQ(textOf(lexkit::ZString(bytes, 2, &other)), u"ab");
    const unsigned char accented[] = {0xC3, 0xA9}; // one character as UTF-8, two here
    EXPECT_THROW(lexkit::ZString(accented, 2, &other), LXErrException);
}

} // namespace
