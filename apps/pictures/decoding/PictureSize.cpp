#include "pictures/decoding/PictureSize.h"

#include "pictures/decoding/HeifReader.h"
#include "pictures/decoding/JpegDecoder.h"
#include "pictures/decoding/MovieInput.h"
#include "pictures/decoding/Orientation.h"
#include "pictures/decoding/RawFile.h"
#include "pictures/decoding/SourceFile.h"
#include "pictures/decoding/ToolkitReader.h"

#include <QFile>

#include <exception>
#include <new>

namespace pictures {

namespace {

QSize jpegSize(int descriptor)
{
    FileBytes bytes(descriptor);
    JpegDecoder decoder(bytes, nullptr);
    return decoder.readHeader() ? uprightSize(decoder.size(), decoder.orientation().value_or(1))
                                : QSize();
}

QSize rawSize(int descriptor)
{
    const ReadRequest request;
    const RawFile raw(descriptor, request);
    return raw.isOpen() ? raw.fullSize() : QSize();
}

QSize toolkitSize(int descriptor)
{
    QFile device;
    return device.open(descriptor, QIODevice::ReadOnly) ? sizeWithToolkit(device) : QSize();
}

QSize movieSize(int descriptor)
{
    const MovieInput input(Pt::pathOfOpenFile(descriptor), nullptr);
    return input.isOpen() ? input.frameSize() : QSize();
}

QSize sizeOf(const SourceFile& source)
{
    switch (source.form) {
    case FileForm::kJpeg:
        return jpegSize(source.descriptor());
    case FileForm::kRaw:
        return rawSize(source.descriptor());
    case FileForm::kHeif:
        return heifSize(Pt::pathOfOpenFile(source.descriptor()));
    case FileForm::kToolkit:
        return toolkitSize(source.descriptor());
    case FileForm::kMovie:
        return movieSize(source.descriptor());
    case FileForm::kUnknown:
        break;
    }
    return {};
}

} // namespace

QSize pictureSize(const QString& path)
{
    std::error_code error;
    const auto source = openSource(path, error);
    try {
        const QSize size = source ? sizeOf(*source) : QSize();
        return size.isEmpty() ? QSize() : size;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        return {}; // a library's own fault with a damaged header
    }
}

} // namespace pictures
