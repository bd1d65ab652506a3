#include "lexkit/private/unicode/UnicodeUtil.h"

#include "core/strings/lexkit/DictionaryTexts.h"

#include <gtest/gtest.h>

namespace {

using namespace lexkit_test;
using lexkit_private::Buffer;
using lexkit_private::UnicodeUtil;

constexpr std::int32_t kRefused = -50;

class UnicodeUtilTest : public testing::Test {
protected:
    ~UnicodeUtilTest() override
    {
        UnicodeUtil::SetConversionProcs(nullptr, nullptr, nullptr, nullptr);
        UnicodeUtil::SetCompareProc(nullptr);
        UnicodeUtil::SetDefaultEncoding(nullptr);
    }
};

std::int32_t refuseSize(
    const unsigned char*, unsigned long, unsigned long*, const lexkit::EncodingInfo*)
{
    return kRefused;
}

std::int32_t twoUnits(
    const unsigned char*, unsigned long, unsigned long* size, const lexkit::EncodingInfo*)
{
    *size = 2;
    return 0;
}

std::int32_t writeSelector(const unsigned char*,
    unsigned long,
    unsigned short* units,
    unsigned long capacity,
    const lexkit::EncodingInfo* encoding)
{
    EXPECT_EQ(capacity, 2u);
    units[0] = encoding ? static_cast<unsigned short>(u'0' + encoding->GetSelector()) : u'-';
    units[1] = u'!';
    return 0;
}

std::int32_t refuseFromUnicode(const unsigned short*,
    unsigned long,
    unsigned char*,
    unsigned long,
    unsigned long* written,
    const lexkit::EncodingInfo*)
{
    *written = 0;
    return kRefused;
}

TEST_F(UnicodeUtilTest, GoesThroughTheProceduresThatWereSet)
{
    EXPECT_TRUE(UnicodeUtil::UsingDefaultConverters());
    UnicodeUtil::SetConversionProcs(twoUnits, writeSelector, nullptr, nullptr);
    EXPECT_FALSE(UnicodeUtil::UsingDefaultConverters());
    const unsigned char bytes[] = {'a'};
    EXPECT_EQ(textOf(lexkit::ZString(bytes, 1, nullptr)), u"-!");
    UnicodeUtil::SetDefaultEncoding(&kUTF8);
    EXPECT_EQ(textOf(lexkit::ZString(bytes, 1, nullptr)), u"1!");
    const lexkit::EncodingInfo system(lexkit::EncodingInfo::kSystem);
    EXPECT_EQ(textOf(lexkit::ZString(bytes, 1, &system)), u"0!");
    UnicodeUtil::SetConversionProcs(nullptr, nullptr, nullptr, nullptr);
    EXPECT_TRUE(UnicodeUtil::UsingDefaultConverters());
    EXPECT_EQ(textOf(lexkit::ZString(bytes, 1, nullptr)), u"a");
}

TEST_F(UnicodeUtilTest, ThrowsTheStatusOfAProcedure)
{
    UnicodeUtil::SetConversionProcs(refuseSize, nullptr, nullptr, refuseFromUnicode);
    const unsigned char bytes[] = {'a'};
    try {
        const lexkit::ZString text(bytes, 1, &kUTF8);
        FAIL() << "the procedure failed";
    } catch (const LXErrException& error) {
        EXPECT_EQ(error.code(), kRefused);
        EXPECT_STREQ(error.what(), "lexkit: the conversion of a text failed");
    }
    // Not a small buffer, so it is not kept back.
    char buffer[4] = {};
    EXPECT_THROW(zstring(u"x").GetCString(buffer, 4, false, &kUTF8), LXErrException);
}

TEST_F(UnicodeUtilTest, WritesIntoNoBufferThatHasNoRoomForTheEnd)
{
    const Units text = units(u"abc");
    char string[] = "????";
    unsigned char pascal[] = {'?', '?', '?', '?'};
    EXPECT_THROW(UnicodeUtil::UnicodeToCString(text.data(), 3, nullptr, 4, &kUTF8), LXErrException);
    EXPECT_THROW(UnicodeUtil::UnicodeToCString(text.data(), 3, string, 0, &kUTF8), LXErrException);
    EXPECT_THROW(
        UnicodeUtil::UnicodeToPascalString(text.data(), 3, nullptr, 4, &kUTF8), LXErrException);
    EXPECT_THROW(
        UnicodeUtil::UnicodeToPascalString(text.data(), 3, pascal, 0, &kUTF8), LXErrException);
    EXPECT_STREQ(string, "????");
    EXPECT_EQ(pascal[0], '?');
    EXPECT_EQ(UnicodeUtil::UnicodeToPascalString(text.data(), 0, pascal, 1, &kUTF8), 0u);
    EXPECT_EQ(pascal[0], 0);
    EXPECT_EQ(UnicodeUtil::UnicodeToPascalString(text.data(), 3, pascal, 4, &kUTF8), 3u);
    EXPECT_EQ(pascal[0], 3);
    EXPECT_EQ(UnicodeUtil::UnicodeToCString(text.data(), 3, string, 4, &kUTF8), 3u);
    EXPECT_STREQ(string, "abc");
}

TEST_F(UnicodeUtilTest, LetsAFailureOutOfReadingAndKeepsWhatWasRead)
{
    lexkit::Dictionary dictionary;
    readLines(dictionary, u"k=v\n");
    UnicodeUtil::SetConversionProcs(refuseSize, nullptr, nullptr, nullptr);
    EXPECT_THROW(readStream(dictionary, "l=w\n"), LXErrException);
    UnicodeUtil::SetConversionProcs(nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(valueOf(dictionary, "k"), u"v");
    EXPECT_EQ(dictionary.NumKeys(), 1u);
}

long byLength(const unsigned short*, unsigned long left, const unsigned short*, unsigned long right)
{
    return static_cast<long>(left) - static_cast<long>(right);
}

TEST_F(UnicodeUtilTest, ComparesByTheProcedureThatWasSet)
{
    UnicodeUtil::SetCompareProc(byLength);
    EXPECT_TRUE(zstring(u"abc") == zstring(u"xyz"));
    UnicodeUtil::SetCompareProc(nullptr);
    EXPECT_FALSE(zstring(u"abc") == zstring(u"xyz"));
}

TEST_F(UnicodeUtilTest, HasNoDefaultEncodingAtFirst)
{
    EXPECT_EQ(UnicodeUtil::GetDefaultEncoding(), nullptr);
    EXPECT_EQ(UnicodeUtil::CheckForDefaultEncoding(nullptr), nullptr);
    EXPECT_EQ(UnicodeUtil::CheckForDefaultEncoding(&kUTF8), &kUTF8);
    UnicodeUtil::SetDefaultEncoding(&kUTF8);
    ASSERT_NE(UnicodeUtil::CheckForDefaultEncoding(nullptr), nullptr);
    EXPECT_EQ(UnicodeUtil::CheckForDefaultEncoding(nullptr)->GetSelector(), 1u);
}

TEST_F(UnicodeUtilTest, MeasuresATerminatedText)
{
    EXPECT_EQ(UnicodeUtil::StringLength(terminated(u"abc").data()), 3u);
    EXPECT_EQ(UnicodeUtil::StringLength(terminated(u"").data()), 0u);
}

TEST_F(UnicodeUtilTest, ReplacesWhatABufferHeld)
{
    Buffer<unsigned short> buffer(1);
    const unsigned char bytes[] = {'a', 'b', 'c'};
    UnicodeUtil::StringToUnicode(bytes, 3, buffer, &kUTF8);
    UnicodeUtil::StringToUnicode(bytes, 2, buffer, &kUTF8);
    EXPECT_EQ(textOf(buffer.GetData(), buffer.GetCount()), u"ab");
}

} // namespace
