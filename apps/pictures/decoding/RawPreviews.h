// The JPEG previews in a raw file that its EXIF directories name. Any thread may call; calls take
// turns.
#pragma once

#include <QByteArray>
#include <QSize>

namespace pictures {

struct RawPreview {
    QByteArray jpeg; // empty: there is none
    int orientation = 1; // of the raw file
};

// The smallest one that is at least as large as wanted; the largest, else. The descriptor is
// borrowed; its position moves.
RawPreview exifPreview(int descriptor, QSize wanted);

} // namespace pictures
