#include "pictures/decoding/ToolkitReader.h"

#include "pictures/decoding/ColorProfile.h"
#include "pictures/decoding/Fitting.h"
#include "pictures/decoding/PngChunks.h"
#include "pictures/decoding/ReadSteps.h"

#include <QImageReader>

#include <algorithm>
#include <array>
#include <mutex>
#include <string_view>

namespace pictures {

namespace {

// Not what other plug-ins would make of the bytes: drawings may name further files.
constexpr auto kFormats =
    std::to_array<std::string_view>({"png", "tiff", "tif", "webp", "gif", "bmp", "jpeg"});

bool isAllowed(const QByteArray& format)
{
    const std::string_view name(format.constData(), static_cast<std::size_t>(format.size()));
    return std::ranges::find(kFormats, name) != kFormats.end();
}

// The toolkit's own bound, for the whole process, is too small for a picture of 100 megapixels.
void raiseBound()
{
    static std::once_flag raised;
    std::call_once(
        raised, [] { QImageReader::setAllocationLimit(static_cast<int>(kDecodeBound >> 20U)); });
}

bool isSideways(const QImageReader& reader)
{
    return reader.transformation().testFlag(QImageIOHandler::TransformationRotate90);
}

// Once for the pixels and once for turning them.
qint64 memoryNeeded(const QImageReader& reader)
{
    const int depth = QImage::toPixelFormat(reader.imageFormat()).bitsPerPixel();
    return pixelsOf(reader.size()) * std::max(4, depth / 8) * 2;
}

QImage inOurFormat(const QImage& image)
{
    return image.convertToFormat(
        image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
}

Picture readAllowed(QImageReader& reader, const ReadRequest& request)
{
    const QSize stored = reader.size();
    const bool sideways = isSideways(reader);
    const QSize box = sideways ? request.box.transposed() : request.box;
    if (memoryNeeded(reader) > kDecodeBound)
        return tooLarge(stored);
    if (reader.supportsOption(QImageIOHandler::ScaledSize))
        reader.setScaledSize(fittedSize(stored, box));
    QImage image = reader.read();
    if (isCancelled(request))
        return cancelled();
    if (image.isNull())
        return broken(reader.errorString());
    const QColorSpace space = image.colorSpace();
    image = inOurFormat(fitted(image, request.box));
    return done(inSrgb(image, space), sideways ? stored.transposed() : stored);
}

bool isReadable(QImageReader& reader)
{
    reader.setDecideFormatFromContent(true);
    reader.setAutoTransform(true);
    return hasSoundPngChunks(*reader.device()) && reader.canRead() && isAllowed(reader.format());
}

} // namespace

Picture readWithToolkit(QIODevice& device, const ReadRequest& request)
{
    raiseBound();
    QImageReader reader(&device);
    if (!isReadable(reader))
        return broken(QStringLiteral("no picture of a form that is known here"));
    if (reader.size().isEmpty())
        return broken(QStringLiteral("a picture without pixels"));
    return readAllowed(reader, request);
}

QSize sizeWithToolkit(QIODevice& device)
{
    QImageReader reader(&device);
    if (!isReadable(reader))
        return {};
    return isSideways(reader) ? reader.size().transposed() : reader.size();
}

} // namespace pictures
