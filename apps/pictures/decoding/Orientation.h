// Which way up a picture is: the EXIF orientation, from 1 (upright) to 8. Any thread may call.
#pragma once

#include <QImage>
#include <QSize>

#include <optional>
#include <span>

namespace pictures {

// From the bytes of an EXIF block, which begin with TIFF's header; nothing when there is no such
// tag or its value is none of the eight. Looks at the first directory only, within the bytes.
std::optional<int> exifOrientation(std::span<const unsigned char> tiff);

// From the segment that a JPEG file keeps EXIF in, without its length; nothing for another segment.
std::optional<int> orientationOfSegment(std::span<const unsigned char> segment);

// Whether width and height change places.
constexpr bool turnsSideways(int orientation)
{
    return orientation >= 5 && orientation <= 8;
}

inline QSize uprightSize(QSize size, int orientation)
{
    return turnsSideways(orientation) ? size.transposed() : size;
}

QImage upright(const QImage& image, int orientation);

} // namespace pictures
