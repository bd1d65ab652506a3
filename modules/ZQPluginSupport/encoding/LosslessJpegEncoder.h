// Writes one complete lossless-JPEG stream of a tile: process SOF3, predictor 1, one interleaved
// scan, a code table of its own for each component, made for this tile.
//
// The first sample of a row is predicted from the one above it, the tile's first from half the
// range. Differences are modulo 65536. What it decodes to is exactly what it was given.
//
// Keeps its working memory for the next tile; one thread at a time.
#pragma once

#include "ZQPluginSupport/encoding/CodeTable.h"
#include "ZQPluginSupport/encoding/EntropyWriter.h"
#include "ZQPluginSupport/encoding/SampleView.h"

#include <array>
#include <cstdint>
#include <vector>

namespace dng {

// The fewest bits, 8 to 16, that hold every sample up to this one.
unsigned int precisionFor(std::uint16_t largest);

class LosslessJpegEncoder {
public:
    static constexpr unsigned int kMaxComponents = 3;
    static constexpr std::uint32_t kMaxSide = 65535; // in pixels of the stream

    // 1 to 3 components, 8 to 16 bits; else throws std::invalid_argument.
    LosslessJpegEncoder(unsigned int components, unsigned int precision);

    // The stream of the tile, whose columns count every component. Throws std::invalid_argument if
    // there is no sample, if the columns are no multiple of the components, if a side is too long,
    // or if a sample has more bits than the precision.
    std::vector<std::uint8_t> encode(const SampleView& tile);

private:
    void check(const SampleView& tile) const;
    void takeDifferences(const SampleView& tile);
    template <unsigned int Components>
    void countCategories();
    void makeTables();
    std::uint64_t bitsNeeded() const;
    template <unsigned int Components>
    void encodeDifferences();
    void writeHead(const SampleView& tile, std::vector<std::uint8_t>& stream) const;
    std::vector<std::uint8_t> encodedStream(const SampleView& tile);

    const unsigned int m_components;
    const unsigned int m_precision;
    std::vector<std::uint16_t> m_differences; // of the tile, in the order of the stream
    std::array<CategoryCounts, kMaxComponents> m_counts{};
    std::array<CodeTable, kMaxComponents> m_tables{};
    EntropyWriter m_writer;
};

} // namespace dng
