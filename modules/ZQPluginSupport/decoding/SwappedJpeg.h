// The JPEG picture with exchanged bytes that some old cameras keep their sensor's values in. LibRaw
// decodes it and passes over what libjpeg has to complain of. Plain function; any thread.
#pragma once

#include <cstddef>
#include <span>

namespace dng {

// Whether the picture that begins with these bytes is there to its end, and without damage that its
// decoder notices. What stands behind it does not matter.
bool isWholeSwappedJpeg(std::span<const std::byte> bytes);

} // namespace dng
