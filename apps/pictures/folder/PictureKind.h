// What a file holds, as far as its name tells. Nothing is opened. Any thread may call.
#pragma once

#include <QStringView>

#include <cstdint>

namespace pictures {

enum class PictureKind : std::uint8_t {
    kNone, // nothing that a browser of pictures shows
    kJpeg,
    kRaw, // of a camera, DNG included
    kHeif, // HEIC, HEIF, AVIF
    kOther, // PNG, TIFF, WebP, GIF, BMP: what the toolkit's plug-ins read
    kMovie,
    kSidecar, // XMP: belongs to the picture of the same name
    kStillOfMovie // THM: the small JPEG that a camera lays beside a movie or a raw file
};

// By the extension, in any case. A name without one, or with nothing before it, is kNone.
PictureKind kindOfName(QStringView name);

// Whether the kind is shown as a picture by itself.
constexpr bool isPicture(PictureKind kind)
{
    return kind != PictureKind::kNone && kind != PictureKind::kSidecar
        && kind != PictureKind::kStillOfMovie;
}

} // namespace pictures
