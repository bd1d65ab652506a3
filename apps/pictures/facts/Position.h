// Where a picture was taken, as its EXIF or XMP says. Both coordinates are possible, or there is no
// position.
#pragma once

#include <optional>
#include <string>

#include <exiv2/exiv2.hpp>

namespace pictures {

struct Position {
    double latitude = 0; // degrees, north positive
    double longitude = 0; // degrees, east positive
};

std::optional<Position> exifPosition(const Exiv2::ExifData& exif);
std::optional<Position> xmpPosition(const Exiv2::XmpData& xmp);

// "38,58.2N" or "38,58,12N", as XMP writes degrees; `positive` and `negative` are the letters of
// the two directions.
std::optional<double> xmpDegrees(const std::string& text, char positive, char negative);

} // namespace pictures
