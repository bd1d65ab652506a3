// Frames of samples that tests encode: noise of so many bits, in rows with a gap between them that
// must not be read as picture.
#pragma once

#include "ZQPluginSupport/encoding/SampleView.h"
#include "ZQPluginSupport/encoding/TileEncoder.h"
#include "support/NoiseSource.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace test {

class Samples {
public:
    Samples(std::uint32_t columns, std::uint32_t rows, unsigned int bits, std::uint64_t seed = 1)
        : m_columns(columns)
        , m_rows(rows)
        , m_samples(std::size_t{pitch()} * rows)
    {
        tests::NoiseSource noise(seed);
        for (auto& sample : m_samples)
            sample = static_cast<std::uint16_t>(noise.next() >> (64 - bits));
    }

    std::uint16_t& at(std::size_t x, std::size_t y) { return m_samples[y * pitch() + x]; }
    std::uint16_t at(std::size_t x, std::size_t y) const { return m_samples[y * pitch() + x]; }

    template <typename Value>
    void fill(Value value)
    {
        for (std::size_t y = 0; y < m_rows; ++y)
            for (std::size_t x = 0; x < m_columns; ++x)
                at(x, y) = static_cast<std::uint16_t>(value(x, y));
    }

    dng::SampleView view() const { return {m_samples.data(), pitch(), m_columns, m_rows}; }
    dng::Frame frame(unsigned int samplesPerPixel = 1) const
    {
        return {m_samples.data(), pitch(), m_columns / samplesPerPixel, m_rows, samplesPerPixel};
    }

    // One row behind the other.
    std::vector<std::uint16_t> packed() const
    {
        std::vector<std::uint16_t> result;
        for (std::size_t y = 0; y < m_rows; ++y)
            for (std::size_t x = 0; x < m_columns; ++x)
                result.push_back(at(x, y));
        return result;
    }

private:
    std::uint32_t pitch() const { return m_columns + 5; }

    std::uint32_t m_columns;
    std::uint32_t m_rows;
    std::vector<std::uint16_t> m_samples;
};

} // namespace test
