// The date in a movie's container: QuickTime and MP4 boxes, AVI chunks.
//
// The stream is outside bytes: every size is held against its parent before it is used, depth and
// number of reads are bounded, and media are stepped over, never read. Any thread, one stream each.
#pragma once

#include "mfx/engine/dates/CaptureDate.h"

#include <istream>

namespace mfx {

// No moment when the stream is no movie of these forms, holds no possible date, or is damaged.
CaptureDate movieDate(std::istream& stream);

} // namespace mfx
