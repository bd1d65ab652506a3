#include "pictures/decoding/FirstLook.h"

#include "pictures/decoding/ColorProfile.h"
#include "pictures/decoding/Fitting.h"
#include "pictures/decoding/JpegDecoder.h"
#include "pictures/decoding/Orientation.h"
#include "pictures/decoding/ReadSteps.h"
#include "pictures/decoding/SourceFile.h"

#include <algorithm>

namespace pictures {

namespace {

constexpr int kMaxEdge = 1024; // more is not done at once

Picture nothing()
{
    return broken(QStringLiteral("nothing that can be shown at once"));
}

QImage decodedSmall(const QByteArray& jpeg, const std::atomic<bool>* cancelled)
{
    MemoryBytes bytes({reinterpret_cast<const unsigned char*>(jpeg.constData()),
        static_cast<std::size_t>(jpeg.size())});
    JpegDecoder decoder(bytes, cancelled);
    if (!decoder.readHeader()
        || std::max(decoder.size().width(), decoder.size().height()) > kMaxEdge)
        return {};
    decoder.scaleTo(8);
    return decoder.decode();
}

// The picture in the middle of a small one; null for one that would be less than two thirds of it:
// it shows something else.
QImage withoutBars(const QImage& small, QSize full)
{
    QRect part({}, full.scaled(small.size(), Qt::KeepAspectRatio).expandedTo({1, 1}));
    part.moveCenter(small.rect().center());
    return pixelsOf(part.size()) * 3 < pixelsOf(small.size()) * 2 ? QImage() : small.copy(part);
}

Picture firstLookAtJpeg(ByteSource& source, const ReadRequest& request)
{
    JpegDecoder decoder(source, request.cancelled);
    if (!decoder.readHeader())
        return nothing();
    const QImage small = decodedSmall(decoder.exifThumbnail(), request.cancelled);
    const QImage shown = small.isNull() ? small : withoutBars(small, decoder.size());
    if (shown.isNull())
        return nothing();
    const int orientation = decoder.orientation().value_or(1);
    return done(upright(inSrgb(shown, decoder.iccProfile()), orientation),
        uprightSize(decoder.size(), orientation));
}

} // namespace

Picture firstLook(const ReadRequest& request)
{
    std::error_code error;
    const auto source = openSource(request.path, error);
    if (!source || source->form != FileForm::kJpeg)
        return nothing();
    FileBytes bytes(source->descriptor());
    return firstLookAtJpeg(bytes, request);
}

} // namespace pictures
