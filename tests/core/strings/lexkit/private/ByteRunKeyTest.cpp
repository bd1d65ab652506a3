#include "lexkit/private/ByteRunKey.h"

#include "lexkit/LXErrException.h"

#include <set>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace {

using lexkit_private::ByteRunKey;
using lexkit_private::HashItem;

ByteRunKey keyOf(const std::string& text)
{
    return {text.data(), text.size(), true};
}

std::uint32_t bucketOf(const std::string& text)
{
    return keyOf(text).Hash(1021);
}

bool areAlike(const std::string& left, const std::string& right)
{
    const ByteRunKey key = keyOf(left);
    const HashItem& other = keyOf(right);
    return key.operator==(other);
}

// Computed apart from the library, by the rule: each step takes five bits up, adds a byte, and
// divides.
TEST(ByteRunKeyTest, ChoosesTheBucketsThatFilesAreWrittenFor)
{
    EXPECT_EQ(bucketOf(""), 0u);
    EXPECT_EQ(bucketOf("a"), 97u);
    EXPECT_EQ(bucketOf("ab"), (97u * 32 + 98) % 1021);
    EXPECT_EQ(bucketOf("\xFF"), 255u);
    EXPECT_EQ(bucketOf("abcde"), 606u);
    EXPECT_EQ(bucketOf("/AppSource/Cancel"), 696u);
}

TEST(ByteRunKeyTest, SamplesEveryFifthPartOfAKey)
{
    // Ten bytes: the even places count.
    EXPECT_EQ(bucketOf("a1c1e1g1i1"), bucketOf("a2c3e4g5i6"));
    EXPECT_NE(bucketOf("a1c1e1g1i1"), bucketOf("a1c1e1g1j1"));
    // Eleven bytes: the last place counts, too.
    EXPECT_NE(bucketOf("a1c1e1g1i1k"), bucketOf("a1c1e1g1i1l"));
}

TEST(ByteRunKeyTest, ComparesLengthsAndAllBytes)
{
    EXPECT_TRUE(areAlike("", ""));
    EXPECT_TRUE(areAlike("key", "key"));
    EXPECT_FALSE(areAlike("key", "keY"));
    EXPECT_FALSE(areAlike("key", "ke"));
    EXPECT_FALSE(areAlike("a1c1e1g1i1", "a2c1e1g1i1"));
}

TEST(ByteRunKeyTest, CopiesItsBytesOnlyWhenToldSo)
{
    std::string text = "key";
    const ByteRunKey copy(text.data(), text.size(), true);
    const ByteRunKey reference(text.data(), text.size(), false);
    const ByteRunKey copyOfReference(reference);
    EXPECT_TRUE(copy.OwnsData());
    EXPECT_FALSE(reference.OwnsData());
    EXPECT_EQ(static_cast<const void*>(reference.GetData()), text.data());
    EXPECT_TRUE(copyOfReference.OwnsData());
    EXPECT_NE(static_cast<const void*>(copyOfReference.GetData()), text.data());
}

TEST(ByteRunKeyTest, HasNoBytesWhenItIsEmpty)
{
    EXPECT_EQ(ByteRunKey("x", 0, true).GetData(), nullptr);
    EXPECT_EQ(ByteRunKey("x", 0, false).GetData(), nullptr);
}

TEST(ByteRunKeyTest, RefusesALengthThatItCannotKeep)
{
    EXPECT_THROW(ByteRunKey("x", 0x80000000, false), LXErrException);
    EXPECT_EQ(ByteRunKey("x", 0x7FFFFFFF, false).GetLength(), 0x7FFFFFFFu);
}

TEST(ByteRunKeyTest, CountsTheBytesThatItWrites)
{
    std::ostringstream stream;
    EXPECT_EQ(keyOf("key").Serialize(stream, true, nullptr), 3u);
    EXPECT_EQ(stream.str(), "key");
    EXPECT_EQ(keyOf("key").Serialize(stream, false, nullptr), 10u);
    EXPECT_EQ(keyOf("").Serialize(stream, false, nullptr), 0u);
    EXPECT_EQ(stream.str().size(), 13u);
}

TEST(ByteRunKeyTest, LooksAtEachByteAndAtTheLengthForTheIndex)
{
    std::set<std::uint32_t> hashes;
    std::size_t count = 0;
    for (std::size_t length = 0; length <= 24; ++length) {
        std::string key(length, '\0');
        hashes.insert(keyOf(key).IndexHash(1));
        ++count;
        for (char& byte : key) {
            byte = 'x';
            hashes.insert(keyOf(key).IndexHash(1));
            byte = '\0';
            ++count;
        }
    }
    EXPECT_EQ(hashes.size(), count);
}

// A hash that says nothing would change no result: it would only make each search a long walk.
TEST(ByteRunKeyTest, SpreadsKeysOverTheIndexAnewForEachSeed)
{
    constexpr std::uint32_t kSlots = 1024;
    std::set<std::uint32_t> used;
    int same = 0;
    for (std::uint32_t number = 0; number < kSlots; ++number) {
        const ByteRunKey key = keyOf("/Panel/Text" + std::to_string(number));
        used.insert(key.IndexHash(1) % kSlots);
        same += key.IndexHash(1) % kSlots == key.IndexHash(2) % kSlots ? 1 : 0;
    }
    EXPECT_GT(used.size(), kSlots / 4); // it has 0.42 of them, and chance would have 0.63
    EXPECT_LT(same, 20);
}

} // namespace
