// A sensor's mosaic of 24 megapixels and 14 bits, for what converts raw files: light that falls
// off, colours that run, and grain; compressed without loss it takes about 60 percent. Made once.
#pragma once

#include "ZQPluginSupport/encoding/TileEncoder.h"
#include "support/NoiseSource.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace bench {

inline constexpr std::uint32_t kSensorWidth = 6000;
inline constexpr std::uint32_t kSensorHeight = 4000;
inline constexpr unsigned int kSensorBits = 14;

using Samples = std::vector<std::uint16_t>;

// Four numbers of six bits: their sum is nearly as grain is spread.
inline int grainOf(std::uint64_t noise)
{
    int sum = 0;
    for (unsigned int i = 0; i < 4; ++i)
        sum += static_cast<int>(noise >> 12 * i & 0x7fU);
    return sum - 254;
}

inline Samples makeSensorPicture(std::uint64_t seed)
{
    tests::NoiseSource noise(seed);
    Samples samples(std::size_t{kSensorWidth} * kSensorHeight);
    for (std::uint32_t y = 0; y < kSensorHeight; ++y)
        for (std::uint32_t x = 0; x < kSensorWidth; ++x) {
            const std::uint32_t light = 2000 + x + y / 2 + (x / 97 + y / 61) % 40 * 20;
            const std::uint32_t colour = (x + y) % 2 * light / 2 + y % 2 * 600;
            const int value = static_cast<int>(light + colour) + grainOf(noise.next());
            samples[std::size_t{y} * kSensorWidth + x] =
                static_cast<std::uint16_t>(std::clamp(value, 0, (1 << kSensorBits) - 1));
        }
    return samples;
}

inline const Samples& sensorPicture()
{
    static const Samples made = makeSensorPicture(1);
    return made;
}

inline dng::Frame sensorFrame()
{
    return {sensorPicture().data(), kSensorWidth, kSensorWidth, kSensorHeight, 1};
}

inline std::size_t bytesOf(const std::vector<dng::EncodedTile>& tiles)
{
    std::size_t bytes = 0;
    for (const auto& tile : tiles)
        bytes += tile.size();
    return bytes;
}

} // namespace bench
