#include "ZQPluginSupport/encoding/LosslessJpegEncoder.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <stdexcept>
#include <utility>

namespace dng {

namespace {

constexpr unsigned int kLeastPrecision = 8;
constexpr unsigned int kMaxPrecision = 16;
constexpr unsigned int kPredictor = 1; // the sample to the left

using Stream = std::vector<std::uint8_t>;

enum Marker : unsigned int {
    kStartOfImage = 0xffd8,
    kEndOfImage = 0xffd9,
    kHuffmanTable = 0xffc4,
    kLosslessFrame = 0xffc3,
    kStartOfScan = 0xffda,
};

void put8(Stream& stream, std::size_t value)
{
    stream.push_back(static_cast<std::uint8_t>(value));
}

void put16(Stream& stream, std::size_t value)
{
    put8(stream, value >> 8U);
    put8(stream, value);
}

void putTable(Stream& stream, unsigned int number, const CodeTable& table)
{
    const auto used = kCategories - std::count(table.lengths.begin(), table.lengths.end(), 0);
    put16(stream, kHuffmanTable);
    put16(stream, static_cast<std::size_t>(2 + 1 + 16 + used));
    put8(stream, number);
    for (unsigned int length = 1; length <= 16; ++length)
        put8(stream,
            static_cast<std::size_t>(
                std::count(table.lengths.begin(), table.lengths.end(), length)));
    for (unsigned int length = 1; length <= 16; ++length)
        for (std::size_t category = 0; category < kCategories; ++category)
            if (table.lengths[category] == length)
                put8(stream, category);
}

void putFrame(
    Stream& stream, unsigned int precision, const SampleView& tile, unsigned int components)
{
    put16(stream, kLosslessFrame);
    put16(stream, 8 + 3 * std::size_t{components});
    put8(stream, precision);
    put16(stream, tile.rows);
    put16(stream, tile.columns / components);
    put8(stream, components);
    for (unsigned int component = 0; component < components; ++component) {
        put8(stream, component);
        put8(stream, 0x11); // not subsampled
        put8(stream, 0); // no quantisation
    }
}

void putScan(Stream& stream, unsigned int components)
{
    put16(stream, kStartOfScan);
    put16(stream, 6 + 2 * std::size_t{components});
    put8(stream, components);
    for (unsigned int component = 0; component < components; ++component) {
        put8(stream, component);
        put8(stream, component << 4U); // its table
    }
    put8(stream, kPredictor);
    put16(stream, 0); // no end of a spectrum, all bits
}

// How many bits the difference has. Written without a branch: noise would mislead it.
inline unsigned int categoryOf(std::uint16_t difference)
{
    const auto value = static_cast<std::int16_t>(difference);
    const auto magnitude = static_cast<std::uint32_t>(value < 0 ? -std::int32_t{value} : value);
    return static_cast<unsigned int>(std::bit_width(2 * magnitude + 1)) - 1;
}

// A category's code, with room below for the bits that tell a difference from others of the
// category.
struct Prefix {
    std::uint32_t code = 0;
    std::uint32_t mask = 0; // of the room
    unsigned int length = 0; // bits, the room's included
};

// By category. -32768, the only difference with 16 bits, needs no more to be told.
using Prefixes = std::array<Prefix, kCategories>;

constexpr unsigned int extraBits(unsigned int category)
{
    return category & 15U;
}

Prefixes prefixesOf(const CodeTable& table)
{
    Prefixes prefixes;
    for (unsigned int category = 0; category < kCategories; ++category) {
        const unsigned int extra = extraBits(category);
        prefixes[category] = {std::uint32_t{table.codes[category]} << extra,
            (1U << extra) - 1,
            table.lengths[category] + extra};
    }
    return prefixes;
}

inline void putDifference(EntropyWriter& writer, std::uint16_t difference, const Prefixes& prefixes)
{
    const Prefix& prefix = prefixes[categoryOf(difference)];
    // Negative ones are counted from below, so that the first bit tells the sign.
    const std::uint32_t value = difference - (std::uint32_t{difference} >> 15U);
    writer.put(prefix.code | (value & prefix.mask), prefix.length);
}

} // namespace

unsigned int precisionFor(std::uint16_t largest)
{
    return std::max(kLeastPrecision, static_cast<unsigned int>(std::bit_width(largest)));
}

LosslessJpegEncoder::LosslessJpegEncoder(unsigned int components, unsigned int precision)
    : m_components(components)
    , m_precision(precision)
{
    if (components < 1 || components > kMaxComponents)
        throw std::invalid_argument("a tile has 1 to 3 components");
    if (precision < kLeastPrecision || precision > kMaxPrecision)
        throw std::invalid_argument("a sample has 8 to 16 bits");
}

void LosslessJpegEncoder::check(const SampleView& tile) const
{
    if (tile.columns == 0 || tile.rows == 0 || tile.columns % m_components != 0)
        throw std::invalid_argument("a tile has whole pixels, one at least");
    if (tile.rows > kMaxSide || tile.columns / m_components > kMaxSide)
        throw std::invalid_argument("a side of the tile is too long for a stream");
}

void LosslessJpegEncoder::takeDifferences(const SampleView& tile)
{
    m_differences.resize(std::size_t{tile.rows} * tile.columns);
    std::uint16_t* to = m_differences.data();
    unsigned int allBits = 0;
    for (std::uint32_t y = 0; y < tile.rows; ++y, to += tile.columns) {
        const std::uint16_t* const row = tile.row(y);
        const unsigned int half = 1U << (m_precision - 1);
        for (unsigned int c = 0; c < m_components; ++c) {
            allBits |= row[c];
            to[c] = static_cast<std::uint16_t>(row[c] - (y == 0 ? half : tile.row(y - 1)[c]));
        }
        for (std::uint32_t x = m_components; x < tile.columns; ++x) {
            allBits |= row[x];
            to[x] = static_cast<std::uint16_t>(row[x] - row[x - m_components]);
        }
    }
    if (allBits >> m_precision != 0)
        throw std::invalid_argument("a sample has more bits than the precision");
}

template <unsigned int Components>
void LosslessJpegEncoder::countCategories()
{
    // Two of each by turns: neighbours are often alike, and would wait for each other's count.
    std::array<CategoryCounts, 2 * Components> counts{};
    const std::uint16_t* at = m_differences.data();
    const std::uint16_t* const end = at + m_differences.size();
    for (; end - at >= 2 * std::ptrdiff_t{Components}; at += 2 * Components)
        for (unsigned int i = 0; i < 2 * Components; ++i)
            ++counts[i][categoryOf(at[i])];
    for (unsigned int i = 0; at + i != end; ++i)
        ++counts[i][categoryOf(at[i])];
    m_counts = {};
    for (unsigned int i = 0; i < 2 * Components; ++i)
        for (unsigned int category = 0; category < kCategories; ++category)
            m_counts[i % Components][category] += counts[i][category];
}

std::uint64_t LosslessJpegEncoder::bitsNeeded() const
{
    std::uint64_t bits = 0;
    for (unsigned int c = 0; c < m_components; ++c)
        for (unsigned int category = 0; category < kCategories; ++category)
            bits += std::uint64_t{m_counts[c][category]}
                * (m_tables[c].lengths[category] + extraBits(category));
    return bits;
}

void LosslessJpegEncoder::writeHead(const SampleView& tile, Stream& stream) const
{
    put16(stream, kStartOfImage);
    for (unsigned int c = 0; c < m_components; ++c)
        putTable(stream, c, m_tables[c]);
    putFrame(stream, m_precision, tile, m_components);
    putScan(stream, m_components);
}

void LosslessJpegEncoder::makeTables()
{
    for (unsigned int c = 0; c < m_components; ++c)
        m_tables[c] = CodeTable::optimal(m_counts[c]);
}

template <unsigned int Components>
void LosslessJpegEncoder::encodeDifferences()
{
    countCategories<Components>();
    makeTables();
    std::array<Prefixes, Components> prefixes;
    for (unsigned int c = 0; c < Components; ++c)
        prefixes[c] = prefixesOf(m_tables[c]);
    m_writer.begin(bitsNeeded());
    EntropyWriter writer = std::move(m_writer); // of its own, so that its state stays in registers
    const std::uint16_t* const end = m_differences.data() + m_differences.size();
    for (const std::uint16_t* at = m_differences.data(); at != end; at += Components)
        for (unsigned int c = 0; c < Components; ++c)
            putDifference(writer, at[c], prefixes[c]);
    m_writer = std::move(writer);
}

std::vector<std::uint8_t> LosslessJpegEncoder::encodedStream(const SampleView& tile)
{
    Stream stream;
    writeHead(tile, stream);
    m_writer.finishInto(stream);
    put16(stream, kEndOfImage);
    return stream;
}

std::vector<std::uint8_t> LosslessJpegEncoder::encode(const SampleView& tile)
{
    check(tile);
    takeDifferences(tile);
    if (m_components == 1)
        encodeDifferences<1>();
    else if (m_components == 2)
        encodeDifferences<2>();
    else
        encodeDifferences<3>();
    return encodedStream(tile);
}

} // namespace dng
