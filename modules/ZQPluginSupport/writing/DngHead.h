// The directories of a DNG, made by the TIFF library in memory, with an empty place for everything
// that is large: DngFileWriter fills those. Plain functions; any thread.
#pragma once

#include "ZQPluginSupport/decoding/RawSource.h"
#include "ZQPluginSupport/encoding/TileEncoder.h"

#include <cstdint>
#include <optional>
#include <string>

namespace dng {

struct PreviewFacts {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    const RenderedPicture* thumbnail = nullptr;
};

struct HeadPlan {
    const SensorFacts* facts = nullptr;
    std::uint32_t width = 0; // of the frame
    std::uint32_t height = 0;
    unsigned int samplesPerPixel = 1;
    std::optional<TileSize> tiles; // compressed ones; else one strip without compression
    std::optional<PreviewFacts> preview;
    std::string record; // of the original, as bytes
    std::string originalName;
    bool embedsOriginal = false;
};

std::uint32_t tileCount(const HeadPlan& plan);

// A whole TIFF file, little endian. With a preview the first directory is the thumbnail's, and the
// raw picture and the preview are the first and second below it; else it is the raw picture's.
// Throws a ConversionFailure when the library refuses.
std::string makeDngHead(const HeadPlan& plan);

} // namespace dng
