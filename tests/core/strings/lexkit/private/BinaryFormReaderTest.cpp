#include "lexkit/private/BinaryFormReader.h"

#include "core/strings/lexkit/private/BinaryBytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace lexkit_test;
using testing::ElementsAre;

using Reading = void (*)(lexkit::Dictionary&, const std::string&);

// A stream that cannot go back.
void readPipe(lexkit::Dictionary& dictionary, const std::string& file)
{
    class Pipe : public std::streambuf {
    public:
        explicit Pipe(std::string bytes)
            : m_bytes(std::move(bytes))
        {
            setg(m_bytes.data(), m_bytes.data(), m_bytes.data() + m_bytes.size());
        }

    private:
        std::string m_bytes;
    };
    Pipe buffer(file);
    std::istream stream(&buffer);
    dictionary.Read(&stream);
}

void readAtId(lexkit::Dictionary& dictionary, const std::string& file)
{
    std::istringstream stream("before" + file);
    stream.seekg(6);
    dictionary.Read(stream);
}

// A block at an odd address.
void readOddBlock(lexkit::Dictionary& dictionary, const std::string& file)
{
    const std::string shifted = "x" + file;
    dictionary.Read(shifted.data() + 1, static_cast<int>(file.size()), true);
}

class BinaryFormReaderTest : public testing::TestWithParam<Reading> {
protected:
    void read(const std::string& file) { GetParam()(m_dictionary, file); }
    std::u16string value(const std::string& key) { return valueOf(m_dictionary, key); }
    bool isBlock() const { return GetParam() == readBlock || GetParam() == readOddBlock; }

    lexkit::Dictionary m_dictionary;
};

INSTANTIATE_TEST_SUITE_P(Ways,
    BinaryFormReaderTest,
    testing::Values(&readBlock, &readOddBlock, &readStream, &readPipe, &readAtId));

Bucket bucketWith(const std::string& key, const std::string& value)
{
    return {bucketOf(key), {{key, value}}};
}

TEST_P(BinaryFormReaderTest, ReadsVersion15InUtf16)
{
    read(
        version15({bucketWith("a", bigUnits(u"one")), bucketWith("b", bigUnits(u"\u6F22^Q#{a}"))}));
    EXPECT_TRUE(m_dictionary.IsValid());
    EXPECT_EQ(value("a"), u"one");
    EXPECT_EQ(value("b"), u"\u6F22^Q#{a}");
}

TEST_P(BinaryFormReaderTest, ReadsVersion15InUtf8)
{
    read(version15({bucketWith("a", "\xC3\xA9\xF0\x9F\x98\x80\\n")}, 1));
    EXPECT_TRUE(m_dictionary.IsValid());
    EXPECT_EQ(value("a"), u"\u00E9\U0001F600\\n");
}

TEST_P(BinaryFormReaderTest, ReadsVersion10InHostOrder)
{
    for (const std::uint32_t start : {0u, 4000u}) {
        lexkit::Dictionary dictionary;
        GetParam()(dictionary,
            version10(
                {bucketWith("a", hostUnits(u"one")), bucketWith("b", hostUnits(u"^Q"))}, 0, start));
        EXPECT_TRUE(dictionary.IsValid());
        EXPECT_EQ(valueOf(dictionary, "a"), u"one");
        EXPECT_EQ(valueOf(dictionary, "b"), u"^Q");
    }
}

TEST_P(BinaryFormReaderTest, ReadsVersion10InUtf8)
{
    read(version10({bucketWith("a", "\xC3\xA9")}, 1));
    EXPECT_EQ(value("a"), u"\u00E9");
}

TEST_P(BinaryFormReaderTest, KeepsTheOrderOfAChain)
{
    const std::vector<Item> items{{"a3c1e1g1i1", bigUnits(u"3")},
        {"a1c1e1g1i1", bigUnits(u"1")},
        {"a2c1e1g1i1", bigUnits(u"2")}};
    const std::uint32_t bucket = bucketOf("a1c1e1g1i1");
    read(version15({{bucket, items}}));
    EXPECT_THAT(keysOf(m_dictionary), ElementsAre("a3c1e1g1i1", "a1c1e1g1i1", "a2c1e1g1i1"));
    lexkit::Dictionary other;
    GetParam()(other, version10({{bucket, items}}));
    EXPECT_THAT(keysOf(other), ElementsAre("a3c1e1g1i1", "a1c1e1g1i1", "a2c1e1g1i1"));
}

TEST_P(BinaryFormReaderTest, ReadsEachItemOfALongChain)
{
    const std::vector<Item> items(20, {"a", ""});
    const std::uint32_t bucket = bucketOf("a");
    read(version15({{bucket, items}, bucketWith("b", "")}));
    EXPECT_EQ(m_dictionary.NumKeys(), 21u);
    lexkit::Dictionary other;
    GetParam()(other, version10({{bucket, items}, bucketWith("b", "")}));
    EXPECT_EQ(other.NumKeys(), 21u);
}

TEST_P(BinaryFormReaderTest, PutsNewEntriesInFrontOfOldOnes)
{
    read(version15({bucketWith("a", bigUnits(u"old")), bucketWith("b", bigUnits(u"b"))}));
    read(version15({bucketWith("a", bigUnits(u"new"))}));
    EXPECT_EQ(value("a"), u"new");
    EXPECT_EQ(value("b"), u"b");
    EXPECT_EQ(m_dictionary.NumKeys(), 3u);
}

TEST_P(BinaryFormReaderTest, ReplacesAllEntriesOfAKeyByALineOfText)
{
    read(version15({bucketWith("a", bigUnits(u"old"))}));
    read(version15({bucketWith("a", bigUnits(u"new"))}));
    readLines(m_dictionary, u"a=text\n");
    EXPECT_EQ(value("a"), u"text");
    EXPECT_EQ(m_dictionary.NumKeys(), 1u);
}

TEST_P(BinaryFormReaderTest, FindsTheFirstOfTwoEntriesWithOneKey)
{
    read(version15({{bucketOf("a"), {{"a", bigUnits(u"first")}, {"a", bigUnits(u"second")}}}}));
    EXPECT_EQ(value("a"), u"first");
    // A bucket that comes twice: its later part goes in front.
    lexkit::Dictionary twice;
    GetParam()(
        twice, version15({bucketWith("a", bigUnits(u"1st")), bucketWith("a", bigUnits(u"2nd"))}));
    EXPECT_EQ(valueOf(twice, "a"), u"2nd");
}

TEST_P(BinaryFormReaderTest, DoesNotFindAKeyInAForeignBucket)
{
    read(version15({{bucketOf("a") + 1, {{"a", bigUnits(u"one")}}}}));
    EXPECT_TRUE(m_dictionary.IsValid());
    EXPECT_EQ(value("a"), kMissing);
    EXPECT_THAT(keysOf(m_dictionary), ElementsAre("a"));
}

TEST_P(BinaryFormReaderTest, ReadsEmptyKeysAndValues)
{
    read(version15({{0, {{"", bigUnits(u"of the empty key")}}}, bucketWith("b", "")}));
    EXPECT_TRUE(m_dictionary.IsValid());
    EXPECT_EQ(value(""), u"of the empty key");
    EXPECT_EQ(value("b"), u"");
}

TEST_P(BinaryFormReaderTest, ReadsAnEmptyKeyWithAnEmptyValueThoughNothingCameBefore)
{
    read(version15({{0, {{"", ""}}}}));
    EXPECT_TRUE(m_dictionary.IsValid());
    EXPECT_EQ(m_dictionary.NumKeys(), 1u);
    EXPECT_EQ(value(""), u"");
}

TEST_P(BinaryFormReaderTest, TakesAMarkInAValueForItsByteOrderAndKeepsTheLength)
{
    read(version15({bucketWith("a",
                        "\xFF\xFE"
                        "x" + std::string(1, '\0')),
        bucketWith("b", "\xFE\xFF" + std::string(1, '\0') + "x")}));
    EXPECT_EQ(value("a"), std::u16string(u"x\0", 2));
    EXPECT_EQ(value("b"), std::u16string(u"x\0", 2));
}

TEST_P(BinaryFormReaderTest, TakesAMarkAloneForAMark)
{
    read(version15({bucketWith("a", "\xFF\xFE"), bucketWith("b", "\xFE\xFF")}));
    EXPECT_EQ(value("a"), std::u16string(1, u'\0'));
    EXPECT_EQ(value("b"), std::u16string(1, u'\0'));
}

TEST_P(BinaryFormReaderTest, LooksForNoMarkBehindHalfAUnit)
{
    // The byte behind the value, the first of the next key, would complete a mark.
    read(version15({{bucketOf("a"), {{"a", "\xFE"}, {"\xFFkey", bigUnits(u"one")}}}}));
    EXPECT_TRUE(m_dictionary.IsValid());
    EXPECT_EQ(value("a"), u"");
    EXPECT_EQ(m_dictionary.NumKeys(), 2u);
}

TEST_P(BinaryFormReaderTest, ReadsValuesOfMoreThan64KiB)
{
    const std::u16string text(0x18000, u'x');
    read(version15({bucketWith("a", bigUnits(text)), bucketWith("b", bigUnits(u"behind it"))}));
    EXPECT_EQ(value("a"), text);
    EXPECT_EQ(value("b"), u"behind it");
    lexkit::Dictionary other;
    GetParam()(other,
        version10({bucketWith("a", hostUnits(text)), bucketWith("b", hostUnits(u"behind it"))}));
    EXPECT_EQ(valueOf(other, "a"), text);
    EXPECT_EQ(valueOf(other, "b"), u"behind it");
}

TEST_P(BinaryFormReaderTest, DropsHalfAUnitAtTheEndOfAValue)
{
    read(version15({bucketWith("a", bigUnits(u"x") + "y"), bucketWith("b", "z")}));
    EXPECT_EQ(value("a"), u"x");
    EXPECT_EQ(value("b"), u"");
}

TEST_P(BinaryFormReaderTest, ReplacesWhatIsNoUtf8)
{
    read(version15({bucketWith("a", "x\xFFy\xC3")}, 1));
    EXPECT_TRUE(m_dictionary.IsValid());
    EXPECT_EQ(value("a"), u"x\uFFFDy\uFFFD");
}

TEST_P(BinaryFormReaderTest, IsEmptyAndValidForVersionsItDoesNotKnow)
{
    for (const auto& [major, minor] : {std::pair(2, 0), {1, 3}, {0, 5}, {1, 6}, {255, 255}}) {
        lexkit::Dictionary dictionary;
        GetParam()(dictionary, head(major, minor, 0) + "anything at all");
        EXPECT_TRUE(dictionary.IsValid());
        EXPECT_EQ(dictionary.NumKeys(), 0u);
    }
}

TEST_P(BinaryFormReaderTest, IsEmptyAndValidForNoBuckets)
{
    read(version15({}));
    read(version10({}));
    read(head(1, 0, 0) + host(std::uint16_t{0}));
    EXPECT_TRUE(m_dictionary.IsValid());
    EXPECT_EQ(m_dictionary.NumKeys(), 0u);
}

// What was cut off last is what is missing; what was whole is there.
TEST_P(BinaryFormReaderTest, KeepsWhatCameBeforeTheCutAtEveryLength)
{
    const std::string one = bigUnits(u"one");
    for (const std::string& whole :
        {version15({bucketWith("a", one), bucketWith("b", one), bucketWith("c", one)}),
            version10({bucketWith("a", one), bucketWith("b", one), bucketWith("c", one)})}) {
        for (std::size_t length = 24; length < whole.size(); ++length) {
            lexkit::Dictionary dictionary;
            GetParam()(dictionary, whole.substr(0, length));
            EXPECT_FALSE(dictionary.IsValid()) << length;
            const std::size_t perItem = whole[22] == 5 ? 7 : 15; // bytes of its payload
            const std::size_t itemsAt = whole.size() - 3 * perItem;
            EXPECT_EQ(dictionary.NumKeys(), length < itemsAt ? 0 : (length - itemsAt) / perItem)
                << length;
        }
    }
}

TEST_P(BinaryFormReaderTest, IsInvalidForAHeadAloneInABlock)
{
    read(head(1, 5, 0));
    EXPECT_FALSE(m_dictionary.IsValid());
    lexkit::Dictionary unknown;
    GetParam()(unknown, head(2, 0, 0));
    EXPECT_EQ(unknown.IsValid(), !isBlock());
}

TEST_P(BinaryFormReaderTest, FailsAtABucketThatIsNone)
{
    const std::string one = bigUnits(u"one");
    for (const std::uint32_t number : {1021u, 0xFFFFu}) {
        for (const std::string& file :
            {version15({bucketWith("a", one), {number, {{"b", one}}}, bucketWith("c", one)}),
                version10({bucketWith("a", one), {number, {{"b", one}}}, bucketWith("c", one)})}) {
            lexkit::Dictionary dictionary;
            GetParam()(dictionary, file);
            EXPECT_FALSE(dictionary.IsValid());
            EXPECT_THAT(keysOf(dictionary), ElementsAre("a"));
        }
    }
    lexkit::Dictionary last;
    GetParam()(last, version15({{1020, {{"x", one}}}}));
    EXPECT_TRUE(last.IsValid());
    EXPECT_EQ(last.NumKeys(), 1u);
}

TEST_P(BinaryFormReaderTest, LeavesTheOldChainWholeWhenItFails)
{
    const std::string one = bigUnits(u"one");
    readLines(m_dictionary, u"a=old\n");
    const std::string file = version15({{bucketOf("a"), {{"x", one}, {"y", one}}}});
    read(file.substr(0, file.size() - 1));
    EXPECT_FALSE(m_dictionary.IsValid());
    EXPECT_EQ(value("a"), u"old");
    EXPECT_THAT(keysOf(m_dictionary), ElementsAre("x", "a"));
}

struct Lie {
    const char* name;
    std::string file;
};

// Each claims more than the file has; none may cost memory or time for what it claims.
TEST_P(BinaryFormReaderTest, FailsAtCountsAndLengthsThatLie)
{
    const std::uint32_t huge = 0xFFFFFFFF;
    const std::string zeros(64, '\0');
    const std::vector<Lie> lies{
        {"buckets", head(1, 5, 0) + big(huge) + zeros},
        {"lengths", head(1, 5, 0) + big(1) + big(huge) + zeros},
        {"an odd count of lengths", head(1, 5, 0) + big(1) + big(1) + big(0) + bigShort(0) + zeros},
        {"an end beyond the last one",
            head(1, 5, 0) + big(2) + big(6) + big(2) + big(0) + big(0) + bigShort(0) + bigShort(1)},
        {"a key", head(1, 5, 0) + big(1) + big(2) + big(huge) + big(0) + bigShort(0) + zeros},
        {"a value", head(1, 5, 0) + big(1) + big(2) + big(0) + big(huge) + bigShort(0) + zeros},
        {"key and value",
            head(1, 5, 0) + big(1) + big(2) + big(0x7FFFFFFF) + big(huge) + bigShort(0) + zeros},
        {"rows", head(1, 0, 0) + host(std::uint16_t{0xFFFF}) + zeros},
        {"a key of 1.0",
            head(1, 0, 0) + host(std::uint16_t{2}) + host(std::uint16_t{0}) + host(std::uint32_t{0})
                + host(std::uint16_t{0}) + host(huge) + host(huge) + zeros},
        {"a value of 1.0",
            head(1, 0, 0) + host(std::uint16_t{2}) + host(std::uint16_t{0}) + host(std::uint32_t{0})
                + host(std::uint16_t{0}) + host(huge) + host(std::uint32_t{0}) + host(huge)
                + zeros},
    };
    for (const Lie& lie : lies) {
        lexkit::Dictionary dictionary;
        GetParam()(dictionary, lie.file);
        EXPECT_FALSE(dictionary.IsValid()) << lie.name;
        EXPECT_LE(dictionary.NumKeys(), 1u) << lie.name;
    }
}

TEST_P(BinaryFormReaderTest, LooksForNoItemInAKeyThatWasCut)
{
    const std::string item = host(std::uint32_t{0}) + host(std::uint32_t{0});
    const std::string whole = version10({{0, {{item + item, ""}}}});
    read(whole.substr(0, whole.size() - 5)); // the length of the value, and one byte of the key
    EXPECT_FALSE(m_dictionary.IsValid());
    EXPECT_EQ(m_dictionary.NumKeys(), 0u);
}

TEST_P(BinaryFormReaderTest, HasNothingInABucketThatEndsBeforeItBegins)
{
    // The second end lies before the first one.
    read(head(1, 5, 0) + big(3) + big(2) + big(0) + big(4) + big(1) + big(0) + big(1) + big(0)
        + bigShort(bucketOf("a")) + bigShort(7) + bigShort(bucketOf("b")) + "ab");
    EXPECT_TRUE(m_dictionary.IsValid());
    EXPECT_THAT(keysOf(m_dictionary), ElementsAre("a", "b"));
}

TEST(BinaryFormIdTest, IsTextWhenOneByteOfItDiffers)
{
    const std::string sound = version15({bucketWith("a", bigUnits(u"one"))});
    for (std::size_t at = 0; at < 21; ++at) {
        std::string file = sound;
        file[at] = file[at] == 'x' ? 'y' : 'x';
        for (const Reading way : {&readBlock, &readStream, &readPipe}) {
            lexkit::Dictionary dictionary;
            way(dictionary, file);
            EXPECT_TRUE(dictionary.IsValid()) << at;
            EXPECT_EQ(dictionary.NumKeys(), 1u);
            EXPECT_EQ(valueOf(dictionary, "a"), kMissing);
        }
    }
}

TEST(BinaryFormIdTest, IsAskedForInAStreamThatStandsAtIt)
{
    lexkit::Dictionary dictionary;
    readAtId(dictionary, "ZString Binary format, and more of it");
    EXPECT_FALSE(dictionary.IsValid());
}

TEST(BinaryFormStreamTest, StandsBehindTheDictionaryAfterwards)
{
    std::istringstream stream(version15({bucketWith("a", bigUnits(u"one"))}) + "rest");
    lexkit::Dictionary dictionary;
    dictionary.Read(stream);
    std::string rest;
    stream >> rest;
    EXPECT_EQ(rest, "rest");
    EXPECT_TRUE(dictionary.IsValid());
}

TEST(BinaryFormStreamTest, ReadsDictionariesThatFollowEachOther)
{
    std::istringstream stream(version10({bucketWith("a", hostUnits(u"one"))})
        + version15({bucketWith("b", bigUnits(u"two"))}));
    lexkit::Dictionary dictionary;
    dictionary.Read(stream);
    dictionary.Read(stream);
    EXPECT_THAT(keysOf(dictionary), ElementsAre("a", "b"));
}

} // namespace
