// The numbers of the layout that EmbeddedOriginal.h describes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace dng {

constexpr std::size_t kBlockBytes = 65536; // of the file, in each block but the last
constexpr std::size_t kParts = 8;
constexpr std::size_t kPreviewPart = 4;
constexpr std::array<std::uint8_t, 4> kEmptyPart{};

constexpr std::size_t blocksOf(std::uint32_t length)
{
    return (std::size_t{length} + kBlockBytes - 1) / kBlockBytes;
}

// Where the first block begins, from the part's beginning: behind the length and the offsets of
// the blocks and of the end. A part without a file is its length alone.
constexpr std::uint64_t headBytes(std::uint32_t length)
{
    return length == 0 ? 4 : 4 + 4 * (std::uint64_t{blocksOf(length)} + 1);
}

} // namespace dng
