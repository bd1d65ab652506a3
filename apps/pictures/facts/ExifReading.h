// What a picture's EXIF and XMP say, as people read it. Numbers that no camera has are left out.
// Whoever calls holds the EXIF library's turn.
#pragma once

#include "pictures/facts/PictureFacts.h"

#include <string>

namespace Exiv2 {
class Image;
}

namespace pictures {

// Everything but the date and the size, of which others know.
PictureFacts exifFacts(const Exiv2::Image& image);

// "Maker Model" with the maker not twice and without the blanks that cameras fill up with.
QString cameraName(const std::string& maker, const std::string& model);

} // namespace pictures
