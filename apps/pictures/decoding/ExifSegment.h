// What lies in a JPEG file's segment of EXIF. Any thread may call; what is given back lies in what
// was given.
#pragma once

#include <span>

namespace pictures {

// The EXIF block, from TIFF's header on, of a segment without its length; empty for another one.
std::span<const unsigned char> exifOfSegment(std::span<const unsigned char> segment);

// The small JPEG picture that cameras put into the second directory of an EXIF block; empty when
// there is none.
std::span<const unsigned char> exifThumbnail(std::span<const unsigned char> tiff);

} // namespace pictures
