// The date in a CIFF raw file (CRW): the time record of its heaps.
//
// The record counts seconds of the camera's own clock, which knows no zone. It is read here because
// the EXIF library turns it with the zone of this machine. Outside bytes: offsets are held against
// their heap, depth and number of entries are bounded. Any thread, one stream each.
#pragma once

#include "mfx/engine/dates/CaptureDate.h"

#include <istream>
#include <string_view>

namespace mfx {

// Whether a file with these first bytes (at least 14) is of this form.
bool isCiff(std::string_view beginning);

// No moment when the stream is no such file, holds no possible date, or is damaged.
CaptureDate ciffDate(std::istream& stream);

} // namespace mfx
