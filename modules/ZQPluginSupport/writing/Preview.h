// Pictures for people inside a DNG: a small one for lists, and one as a JPEG file. Plain functions;
// any thread.
#pragma once

#include "ZQPluginSupport/decoding/RawSource.h"

#include <cstdint>
#include <vector>

namespace dng {

// Each pixel the mean of those that it covers. Requires: no side is 0.
RenderedPicture scaled(const RenderedPicture& picture, std::uint32_t width, std::uint32_t height);

// With its long side so long, in proportion; a picture that is smaller stays.
RenderedPicture fitted(const RenderedPicture& picture, std::uint32_t longSide);

// A whole JPEG file. Throws a ConversionFailure if it has no room in memory.
std::vector<std::uint8_t> jpegOf(const RenderedPicture& picture, int quality);

} // namespace dng
