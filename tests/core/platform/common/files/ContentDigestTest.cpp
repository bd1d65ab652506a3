#include "platform/common/files/ContentDigest.h"

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

namespace {

std::string hexadecimal(const Pt::ContentDigest& digest)
{
    std::string text;
    for (const unsigned char byte : digest.sha256) {
        char digits[3] = {};
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

Pt::ContentDigest digestOf(const std::string& bytes)
{
    Pt::ContentDigester digester;
    digester.add(bytes.data(), bytes.size());
    return digester.finish();
}

} // namespace

// The examples published with the algorithm.
TEST(ContentDigestTest, GivesThePublishedDigests)
{
    EXPECT_EQ(hexadecimal(digestOf("")),
        "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(hexadecimal(digestOf("abc")),
        "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(hexadecimal(digestOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq")),
        "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(hexadecimal(digestOf(std::string(1'000'000, 'a'))),
        "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(ContentDigestTest, TakesItsBytesInAnyPieces)
{
    const std::string bytes(1000, 'x');
    Pt::ContentDigester digester;
    for (std::size_t done = 0; done < bytes.size(); done += 7)
        digester.add(bytes.data() + done, std::min<std::size_t>(7, bytes.size() - done));
    digester.add(nullptr, 0);
    const Pt::ContentDigest digest = digester.finish();
    EXPECT_EQ(digest, digestOf(bytes));
    EXPECT_EQ(digest.size, 1000U);
}

TEST(ContentDigestTest, BeginsAnewBehindItsEnd)
{
    Pt::ContentDigester digester;
    digester.add("first", 5);
    EXPECT_EQ(digester.finish(), digestOf("first"));
    EXPECT_EQ(digester.finish(), digestOf(""));
    digester.add("abc", 3);
    EXPECT_EQ(digester.finish(), digestOf("abc"));
}

TEST(ContentDigestTest, TellsContentsApart)
{
    EXPECT_NE(digestOf("a"), digestOf("b"));
    EXPECT_NE(digestOf(""), digestOf(std::string(1, '\0')));
}
