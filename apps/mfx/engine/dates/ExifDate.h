// The date in a still picture's EXIF or XMP, in any form of file that holds them, or in an XMP
// sidecar, and the camera's name. Any thread; one call at a time is at work.
#pragma once

#include "mfx/engine/dates/CaptureDate.h"

#include <istream>

namespace mfx {

// No moment when the stream is no such file or holds no possible date.
PhotoFacts exifFacts(std::istream& stream);

} // namespace mfx
