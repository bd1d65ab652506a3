#include "messaging/wire/Identity.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using ScObjects::TevoroTalkData::getDigest;

std::string digest(std::string_view text, std::string_view salt)
{
    return std::string(getDigest(text, salt).view());
}

} // namespace

// The expected digests: printf '%s' 'SALT+TEXT+SALT' | openssl dgst -sha1, and then the zero left
// out in front of each byte below 16.
TEST(DigestTest, IsOfTheTextBetweenTheSalt)
{
    EXPECT_EQ(digest("text", "S"), "6171E91CDAFEFDB26DAE7AC9BD45694979D9E8F");
    EXPECT_EQ(digest("", "0123456789ABCDEF"), "ED4438D630D445125B28A9B96941B3BF5A6F8C5");
}

TEST(DigestTest, IsOfTheTextBetweenPlusSignsWithoutASalt)
{
    EXPECT_EQ(digest("text", ""), "A95CF3E6ECE52D3151EE43327E5C73C688DDF");
}

TEST(DigestTest, PrintsNoLeadingZeros)
{
    // 61 07 35 8b 55 4e 0a 89 5a e3 00 81 0b 7f 59 14 7a 95 eb d4
    EXPECT_EQ(digest("message 1402", "S"), "617358B554EA895AE3081B7F59147A95EBD4");
}

TEST(DigestTest, IsOfAllBytes)
{
    EXPECT_EQ(digest({"a\0b", 3}, "S"), "1D35839615D2E5FAD86557E45355A6C38C2D9BA7");
    EXPECT_EQ(digest(std::string(1048576, 'a'), "S"), "E54E754CBA4083B84F165D31DB327C5D5BCBF06C");
}
