// Raw files that tests make themselves: a sensor of noise, as an uncompressed DNG, which is a raw
// file like any other to those who convert.
#pragma once

#include "modules/ZQPluginSupport/encoding/support/Samples.h"
#include "modules/ZQPluginSupport/encoding/support/TinyDng.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace test {

inline std::string tinyRaw(
    std::uint32_t width = 96, std::uint32_t height = 64, std::uint64_t seed = 1)
{
    const Samples samples(width, height, 14, seed);
    dng::EncodedTile strip;
    for (const std::uint16_t sample : samples.packed()) {
        strip.push_back(static_cast<std::uint8_t>(sample & 0xff));
        strip.push_back(static_cast<std::uint8_t>(sample >> 8));
    }
    TinyDng file;
    file.width = width;
    file.height = height;
    file.tile = {width, height};
    file.isCompressed = false;
    file.tiles = {strip};
    return file.bytes();
}

inline std::span<const std::byte> bytesOf(const std::string& text)
{
    return std::as_bytes(std::span(text.data(), text.size()));
}

} // namespace test
