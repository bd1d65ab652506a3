#include "lexkit/private/unicode/UnicodeConversion.h"

#include "core/strings/lexkit/DictionaryTexts.h"

#include <gtest/gtest.h>

namespace {

using namespace lexkit_test;
using lexkit_private::UnicodeConversion;

constexpr lexkit::EncodingInfo kSystem(lexkit::EncodingInfo::kSystem);
const unsigned char kBytes[] = {'a', 0xC3, 0xA9}; // "aé"

TEST(UnicodeConversionTest, MeasuresUtf8)
{
    unsigned long size = 0;
    EXPECT_EQ(UnicodeConversion::ToUnicodeSize(kBytes, 3, &size, &kUTF8), 0);
    EXPECT_EQ(size, 2u);
    const Units text = units(u"a\u00E9");
    EXPECT_EQ(UnicodeConversion::FromUnicodeSize(text.data(), 2, &size, &kUTF8), 0);
    EXPECT_EQ(size, 4u); // with a terminator
}

TEST(UnicodeConversionTest, RefusesUtf8ThatDoesNotFit)
{
    unsigned short out[2] = {9, 9};
    EXPECT_EQ(UnicodeConversion::ConvertToUnicode(kBytes, 3, out, 1, &kUTF8),
        LXErrException::kBadParameter);
    EXPECT_EQ(out[0], 9);
    EXPECT_EQ(UnicodeConversion::ConvertToUnicode(kBytes, 3, out, 2, &kUTF8), 0);
    EXPECT_EQ(textOf(out, 2), u"a\u00E9");
}

TEST(UnicodeConversionTest, FillsABufferThatIsTooSmallForTheSystemsEncoding)
{
    const unsigned char bytes[] = {'a', 'b'};
    for (const lexkit::EncodingInfo* const encoding :
        {&kSystem, static_cast<decltype(&kSystem)>(nullptr)}) {
        unsigned short out[2] = {9, 9};
        EXPECT_EQ(UnicodeConversion::ConvertToUnicode(bytes, 2, out, 1, encoding),
            LXErrException::kBufferTooSmall);
        EXPECT_EQ(out[0], u'a');
        EXPECT_EQ(out[1], 9);
    }
}

TEST(UnicodeConversionTest, TellsWhatItWroteIntoABufferThatIsTooSmall)
{
    const Units text = units(u"a\u00E9");
    for (const lexkit::EncodingInfo* const encoding : {&kUTF8, &kSystem}) {
        unsigned char out[3] = {};
        unsigned long written = 9;
        EXPECT_EQ(UnicodeConversion::ConvertFromUnicode(text.data(), 2, out, 1, &written, encoding),
            LXErrException::kBufferTooSmall);
        EXPECT_EQ(written, 1u);
        EXPECT_EQ(UnicodeConversion::ConvertFromUnicode(nullptr, 0, out, 0, &written, encoding), 0);
        EXPECT_EQ(written, 0u);
    }
}

} // namespace
