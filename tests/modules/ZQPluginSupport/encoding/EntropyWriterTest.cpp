#include "ZQPluginSupport/encoding/EntropyWriter.h"

#include "support/NoiseSource.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using dng::EntropyWriter;
using Bytes = std::vector<std::uint8_t>;

// As the writer should, a bit at a time.
class PlainWriter {
public:
    void put(std::uint64_t bits, unsigned int length)
    {
        for (unsigned int i = length; i-- > 0;)
            m_bits += (bits >> i & 1U) != 0 ? '1' : '0';
    }
    Bytes finish()
    {
        m_bits.resize((m_bits.size() + 7) / 8 * 8, '1');
        Bytes bytes;
        for (std::size_t at = 0; at < m_bits.size(); at += 8) {
            bytes.push_back(
                static_cast<std::uint8_t>(std::stoul(m_bits.substr(at, 8), nullptr, 2)));
            if (bytes.back() == 0xff)
                bytes.push_back(0);
        }
        return bytes;
    }
    std::size_t size() const { return m_bits.size(); }

private:
    std::string m_bits;
};

} // namespace

TEST(EntropyWriterTest, WritesNothingForNothing)
{
    EntropyWriter writer;
    writer.begin(0);
    Bytes bytes;
    writer.finishInto(bytes);
    EXPECT_EQ(bytes, Bytes());
}

TEST(EntropyWriterTest, AppendsAndFillsUpWithOnes)
{
    EntropyWriter writer;
    writer.begin(3);
    writer.put(0b010, 3);
    Bytes bytes{1, 2};
    writer.finishInto(bytes);
    EXPECT_EQ(bytes, (Bytes{1, 2, 0b01011111}));
}

TEST(EntropyWriterTest, WritesAsOneThatTakesBitAfterBit)
{
    tests::NoiseSource noise(1);
    EntropyWriter writer;
    for (unsigned int longest = 1; longest <= EntropyWriter::kMaxPut; ++longest) {
        PlainWriter plain;
        writer.begin(200ULL * longest);
        for (int i = 0; i < 200; ++i) {
            const auto length = static_cast<unsigned int>(1 + noise.next() % longest);
            // Half of them ones, so that bytes of ones come about.
            const std::uint64_t bits =
                (noise.next() % 2 == 0 ? ~0ULL : noise.next()) >> (64 - length);
            writer.put(bits, length);
            plain.put(bits, length);
        }
        Bytes bytes;
        writer.finishInto(bytes);
        EXPECT_EQ(bytes, plain.finish()) << "up to " << longest << " bits";
    }
}

TEST(EntropyWriterTest, FindsAByteOfOnesAtEveryPlace)
{
    for (std::size_t place = 0; place < 20; ++place)
        for (const unsigned int other : {0x00U, 0x01U, 0x7fU, 0x80U, 0xfeU}) {
            EntropyWriter writer;
            writer.begin(20 * 8);
            for (std::size_t i = 0; i < 20; ++i)
                writer.put(i == place ? 0xff : other, 8);
            Bytes expected(20, static_cast<std::uint8_t>(other));
            expected[place] = 0xff;
            expected.insert(expected.begin() + static_cast<std::ptrdiff_t>(place) + 1, 0);
            Bytes bytes;
            writer.finishInto(bytes);
            EXPECT_EQ(bytes, expected) << place << ", " << other;
        }
}
