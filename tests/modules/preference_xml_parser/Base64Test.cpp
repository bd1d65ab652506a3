#include "preference_xml_parser/Base64.h"

#include <cstddef>

#include <gtest/gtest.h>

using preferences::base64FromBytes;
using preferences::bytesFromBase64;

TEST(Base64Test, WritesTheKnownTexts)
{
    EXPECT_EQ(base64FromBytes(""), "");
    EXPECT_EQ(base64FromBytes("f"), "Zg==");
    EXPECT_EQ(base64FromBytes("fo"), "Zm8=");
    EXPECT_EQ(base64FromBytes("foo"), "Zm9v");
    EXPECT_EQ(base64FromBytes("foobar"), "Zm9vYmFy");
    EXPECT_EQ(base64FromBytes("\xfb\xff\xfe"), "+//+");
}

TEST(Base64Test, ReadsBackEveryByteAtEveryLength)
{
    std::string bytes;
    for (int value = 0; value < 300; ++value) {
        ASSERT_EQ(bytesFromBase64(base64FromBytes(bytes)), bytes);
        bytes.push_back(static_cast<char>(static_cast<unsigned char>(value * 37)));
    }
}

TEST(Base64Test, SkipsWhiteSpaceThatAnEditorPutIn)
{
    EXPECT_EQ(bytesFromBase64("\n  Zm9v\r\n\tYmFy\n"), "foobar");
    EXPECT_EQ(bytesFromBase64(" \n"), "");
}

class BadBase64Test : public testing::TestWithParam<const char*> { };

TEST_P(BadBase64Test, GivesNothing)
{
    EXPECT_EQ(bytesFromBase64(GetParam()), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Rows,
    BadBase64Test,
    testing::Values("Z", // a lone digit
        "Zg", // padding missing
        "Zg=", // padding cut
        "Zg===", // too much padding
        "====", // nothing but padding
        "Z===", // a digit that makes no byte
        "Zh==", // bits behind the last byte
        "Zm9=", // bits behind the last byte
        "Zg==Zg==", // goes on behind the padding
        "Z=g=", // padding in the middle
        "Zm9-", // the other alphabet
        "Zm9\xc3", // no digit
        "Zm9*"));
