#include "lexkit/private/BinaryFormWriter.h"

#include "core/strings/lexkit/private/BinaryBytes.h"
#include "lexkit/private/BinaryFormId.h"

#include <gtest/gtest.h>

namespace {

using namespace lexkit_test;

struct Written {
    std::string bytes;
    unsigned long count;
};

Written serialized(const lexkit::Dictionary& dictionary, const lexkit::EncodingInfo* encoding)
{
    std::ostringstream stream;
    const unsigned long count = dictionary.Serialize(stream, true, encoding);
    return {stream.str(), count};
}

std::string compiled(const lexkit::Dictionary& dictionary, const lexkit::EncodingInfo* encoding)
{
    std::ostringstream stream;
    dictionary.Compile(stream, encoding);
    return stream.str();
}

// Two keys in one bucket, the newer one first, one in another bucket, and one that is empty.
class BinaryFormWriterTest : public testing::Test {
protected:
    BinaryFormWriterTest()
    {
        readLines(m_dictionary, u"a1c1e1g1i1=x\na2c1e1g1i1=\u00E9\u6F22\n=0\nb=\n");
    }

    const std::uint32_t m_shared = bucketOf("a1c1e1g1i1");
    lexkit::Dictionary m_dictionary;
};

TEST_F(BinaryFormWriterTest, SerializesEveryNumberAndUnitInHostOrder)
{
    ASSERT_LT(bucketOf("b"), m_shared);
    const auto number = [](std::uint32_t value) { return host(value); };
    const auto bucket = [](std::uint32_t value) { return host(static_cast<std::uint16_t>(value)); };
    const std::string expected = head(1, 5, 0) + number(3) //
        + number(2) + number(4) + number(8) // ends
        + number(0) + number(2) + number(1) + number(0) + number(10) + number(4) + number(10)
        + number(2) // lengths
        + bucket(0) + bucket(bucketOf("b")) + bucket(m_shared) //
        + hostUnits(u"0") + "b" + "a2c1e1g1i1" + hostUnits(u"\u00E9\u6F22") + "a1c1e1g1i1"
        + hostUnits(u"x");
    const Written written = serialized(m_dictionary, nullptr);
    EXPECT_EQ(written.bytes, expected);
    EXPECT_EQ(written.count, 24u + 4u + 2 + 1 + 10 + 4 + 10 + 2); // without the tables
}

TEST_F(BinaryFormWriterTest, WritesValuesInTheEncodingThatIsGiven)
{
    const Written written = serialized(m_dictionary, &kUTF8);
    EXPECT_EQ(written.bytes.substr(0, 24), head(1, 5, 1));
    EXPECT_TRUE(written.bytes.ends_with("0b"
                                        "a2c1e1g1i1\xC3\xA9\xE6\xBC\xA2"
                                        "a1c1e1g1i1x"));
    EXPECT_EQ(written.count, 24u + 4u + 1 + 1 + 10 + 5 + 10 + 1);
}

TEST_F(BinaryFormWriterTest, MarksTheFileAsUtf8ForAnyEncoding)
{
    const lexkit::EncodingInfo system(lexkit::EncodingInfo::kSystem);
    EXPECT_EQ(serialized(m_dictionary, &system).bytes.substr(0, 24), head(1, 5, 1));
}

TEST_F(BinaryFormWriterTest, CompilesWhatReadersExpect)
{
    const std::string one = bigUnits(u"x");
    EXPECT_EQ(compiled(m_dictionary, nullptr),
        version15({{0, {{"", bigUnits(u"0")}}},
            {bucketOf("b"), {{"b", ""}}},
            {m_shared, {{"a2c1e1g1i1", bigUnits(u"\u00E9\u6F22")}, {"a1c1e1g1i1", one}}}}));
    EXPECT_EQ(compiled(m_dictionary, &kUTF8),
        version15({{0, {{"", "0"}}},
                      {bucketOf("b"), {{"b", ""}}},
                      {m_shared, {{"a2c1e1g1i1", "\xC3\xA9\xE6\xBC\xA2"}, {"a1c1e1g1i1", "x"}}}},
            1));
}

TEST(BinaryFormWriterEmptyTest, WritesAHeadAndACountOfNothing)
{
    const lexkit::Dictionary empty;
    EXPECT_EQ(serialized(empty, nullptr).bytes, head(1, 5, 0) + host(std::uint32_t{0}));
    EXPECT_EQ(serialized(empty, nullptr).count, 28u);
    EXPECT_EQ(compiled(empty, &kUTF8), version15({}, 1));
}

TEST(BinaryFormIdWriterTest, WritesIdAndVersionBytes)
{
    std::ostringstream stream;
    EXPECT_EQ(lexkit_private::zbfwrite_zbfid(stream, lexkit_private::zbfid_utf8), 24u);
    EXPECT_EQ(stream.str(), head(1, 5, 1));
}

TEST(BinaryFormIdWriterTest, TellsByTheStreamThatItCouldNotWrite)
{
    class Full : public std::streambuf {
    } full;
    std::ostream stream(&full);
    EXPECT_EQ(lexkit_private::zbfwrite_zbfid(stream, lexkit_private::zbfid), 0u);
    EXPECT_TRUE(stream.bad());
}

} // namespace
