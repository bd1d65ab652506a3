// HEIC, HEIF and AVIF: the picture itself or, where it is large enough, the thumbnail that it
// carries. Turned as the container says; EXIF's orientation repeats that and is not looked at.
#pragma once

#include "pictures/decoding/PictureReader.h"

#include <string>

namespace pictures {

// The request's box and flag; the file is opened by `path`.
Picture readHeif(const std::string& path, const ReadRequest& request);

// Upright; invalid where the container does not tell.
QSize heifSize(const std::string& path);

} // namespace pictures
