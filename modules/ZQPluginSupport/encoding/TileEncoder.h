// Cuts a frame of samples into tiles of one size and encodes each, on all of the threads that it is
// lent. What comes out does not depend on how many there are.
//
// A tile that reaches beyond the frame is filled up with samples of the frame that have the same
// place in the mosaic: to the right its last columns, below its first ones again and again, which
// costs little to encode. Borrows the threads; one thread at a time.
#pragma once

#include "ZQPluginSupport/encoding/SampleView.h"
#include "ZQPluginSupport/encoding/WorkerThreads.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace dng {

struct Frame {
    const std::uint16_t* samples = nullptr;
    std::size_t pitch = 0; // samples from one row to the next
    std::uint32_t width = 0; // pixels
    std::uint32_t height = 0;
    unsigned int samplesPerPixel = 1; // 1 or 3
};

struct TileSize {
    std::uint32_t width = 0; // pixels
    std::uint32_t height = 0;

    friend bool operator==(const TileSize&, const TileSize&) = default;
};

// A size between 176 and 512 pixels a side (less for a smaller frame), multiples of 16, that leaves
// little of the last tiles outside the frame, and that decoders in use read: never a single tile
// that is wider than the frame (but for one of less than 16 pixels a side, which only a strip can
// hold for them), nor two side by side that fill it.
TileSize chooseTileSize(std::uint32_t width, std::uint32_t height);

struct TileCoding {
    // Else the bytes are the samples, little endian. Decoders in use want them in strips: take the
    // frame's own size for the only "tile".
    bool isCompressed = true;
    // A mosaic is coded as two interleaved components, even and odd columns, so that each predicts
    // from its own colour. Requires one sample per pixel.
    bool isMosaic = false;
    unsigned int precision = 16; // bits of the largest sample, 8 to 16
    unsigned int repeat = 0; // of the mosaic, in pixels: 1, 2 or 6; 0 is 2 for a mosaic, else 1
};

using EncodedTile = std::vector<std::uint8_t>;

class TileEncoder {
public:
    explicit TileEncoder(WorkerThreads& threads);

    // The tiles of the frame, from left to right and top to bottom. Throws std::invalid_argument
    // for what cannot be coded so.
    std::vector<EncodedTile> encode(
        const Frame& frame, const TileSize& size, const TileCoding& coding);

private:
    WorkerThreads& m_threads;
};

} // namespace dng
