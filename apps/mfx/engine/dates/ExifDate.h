// The date in a still picture's EXIF or XMP, in any form of file that holds them, or in an XMP
// sidecar, and the camera's name.
//
// The picture is read into memory piece by piece, a small beginning first and never more than
// 128 MiB: a card that is pulled out while it is read gives a failed read, where a mapped file
// would end the process; and nothing that could write ever sees the file. One call at a time is at
// work.
#pragma once

#include "mfx/engine/dates/CaptureDate.h"

#include <istream>

namespace mfx {

// No moment when the stream is no such file or holds no possible date.
PhotoFacts exifFacts(std::istream& stream);

} // namespace mfx
