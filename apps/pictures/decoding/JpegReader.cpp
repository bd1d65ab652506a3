#include "pictures/decoding/JpegReader.h"

#include "pictures/decoding/ColorProfile.h"
#include "pictures/decoding/Fitting.h"
#include "pictures/decoding/JpegDecoder.h"
#include "pictures/decoding/Orientation.h"
#include "pictures/decoding/ReadSteps.h"

#include <memory>

namespace pictures {

namespace {

// However little of it is wanted: all blocks are gone through.
constexpr qint64 kMaxPixels = 1'000'000'000;

// The smallest scale whose result is at least the wanted size.
void chooseScale(JpegDecoder& decoder, QSize wanted)
{
    for (int eighths = 1; eighths <= 8; ++eighths) {
        decoder.scaleTo(eighths);
        const QSize size = decoder.scaledSize();
        if (size.width() >= wanted.width() && size.height() >= wanted.height())
            return;
    }
}

Picture decoded(JpegDecoder& decoder, const ReadRequest& request, int orientation)
{
    const QSize box = uprightSize(request.box, orientation);
    chooseScale(decoder, fittedSize(decoder.size(), box));
    if (pixelsOf(decoder.size()) > kMaxPixels || decoder.memoryNeeded() > kDecodeBound)
        return tooLarge(decoder.size());
    const QByteArray profile = decoder.iccProfile();
    const QImage image = decoder.decode();
    if (isCancelled(request))
        return cancelled();
    if (image.isNull())
        return broken(decoder.problem());
    return done(upright(inSrgb(fitted(image, box), profile), orientation),
        uprightSize(decoder.size(), orientation));
}

} // namespace

Picture readJpeg(ByteSource& source, const ReadRequest& request, int otherwise)
{
    JpegDecoder decoder(source, request.cancelled);
    Picture picture = decoder.readHeader()
        ? decoded(decoder, request, decoder.orientation().value_or(otherwise))
        : broken(decoder.problem());
    if (source.hasFailed() && picture.status != ReadStatus::kCancelled)
        return unreadable(QStringLiteral("the system could not read all of it"));
    return picture;
}

} // namespace pictures
