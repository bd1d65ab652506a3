#include "pictures/decoding/RawPreviews.h"

#include "mfx/engine/dates/ExifLibrary.h"
#include "pictures/decoding/Orientation.h"
#include "platform/common/files/FileAccess.h"

#include <QFile>

#include <span>

namespace pictures {

namespace {

// Nothing when it is too large for this.
QByteArray bytesOf(int descriptor)
{
    QFile file;
    if (Pt::seekToStart(descriptor) != 0 || !file.open(descriptor, QIODevice::ReadOnly)
        || file.size() > qint64{mfx::kMaxExifBytes})
        return {};
    return file.readAll();
}

std::span<const unsigned char> viewOf(const QByteArray& bytes)
{
    return {reinterpret_cast<const unsigned char*>(bytes.constData()),
        static_cast<std::size_t>(bytes.size())};
}

int orientationOf(const Exiv2::ExifData& exif)
{
    const auto found = exif.findKey(Exiv2::ExifKey("Exif.Image.Orientation"));
    const long value = found == exif.end() || found->count() == 0 ? 1 : found->toLong();
    return value >= 1 && value <= 8 ? static_cast<int>(value) : 1;
}

bool isEnough(const Exiv2::PreviewProperties& preview, QSize wanted)
{
    return static_cast<qint64>(preview.width_) >= wanted.width()
        && static_cast<qint64>(preview.height_) >= wanted.height();
}

// They come in the order of their sizes.
QByteArray chosen(const Exiv2::Image& image, QSize wanted)
{
    Exiv2::PreviewManager manager(image);
    QByteArray jpeg;
    for (const Exiv2::PreviewProperties& preview : manager.getPreviewProperties()) {
        if (preview.mimeType_ != "image/jpeg")
            continue;
        const Exiv2::PreviewImage found = manager.getPreviewImage(preview);
        jpeg = QByteArray(
            reinterpret_cast<const char*>(found.pData()), static_cast<qsizetype>(found.size()));
        if (isEnough(preview, wanted))
            break;
    }
    return jpeg;
}

} // namespace

RawPreview exifPreview(int descriptor, QSize wanted)
{
    const QByteArray bytes = bytesOf(descriptor);
    if (bytes.isEmpty())
        return {};
    const mfx::ExifTurn turn;
    try {
        const auto image = mfx::openPhoto(viewOf(bytes));
        image->readMetadata();
        return {chosen(*image, wanted), orientationOf(image->exifData())};
    } catch (const std::exception&) {
        return {}; // no form that the library knows, or damaged beyond what it bears
    }
}

} // namespace pictures
