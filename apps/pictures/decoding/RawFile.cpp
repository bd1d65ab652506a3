#include "pictures/decoding/RawFile.h"

#include "ZQPluginSupport/decoding/RawOrientation.h"
#include "pictures/decoding/Fitting.h"
#include "pictures/decoding/JpegDecoder.h"
#include "pictures/decoding/JpegReader.h"
#include "pictures/decoding/Orientation.h"
#include "pictures/decoding/ReadSteps.h"
#include "platform/common/files/RegularFile.h"

#include <libraw.h>

namespace pictures {

namespace {

constexpr unsigned int kBoundInMegabytes = static_cast<unsigned int>(kDecodeBound / 1'000'000);
constexpr qint64 kMaxPreviewBytes = 200'000'000;

int onProgress(void* request, LibRaw_progress /*stage*/, int /*iteration*/, int /*expected*/)
{
    return isCancelled(*static_cast<const ReadRequest*>(request)) ? 1 : 0;
}

struct FreeProcessed {
    void operator()(libraw_processed_image_t* image) const { LibRaw::dcraw_clear_mem(image); }
};
using Processed = std::unique_ptr<libraw_processed_image_t, FreeProcessed>;

QImage copyOfRgb(const unsigned char* bytes, int width, int height)
{
    return QImage(bytes, width, height, qsizetype{width} * 3, QImage::Format_RGB888)
        .convertToFormat(QImage::Format_RGB32);
}

// Old cameras have pixels that are no squares; the library makes more of them of it.
QSize squareSize(const libraw_image_sizes_t& sizes)
{
    const double aspect = sizes.pixel_aspect;
    if (!(aspect > 0.1 && aspect < 10))
        return {sizes.width, sizes.height};
    return aspect < 1 ? QSize(sizes.width, qRound(sizes.height / aspect))
                      : QSize(qRound(sizes.width * aspect), sizes.height);
}

// The sensor's values, the colours at half the size, and the result twice.
qint64 memoryToDevelop(const libraw_data_t& data)
{
    const qint64 values = qint64{data.sizes.raw_width} * data.sizes.raw_height;
    const qint64 pixels = qint64{data.sizes.width} * data.sizes.height;
    const bool mosaic = data.idata.filters != 0;
    return mosaic ? values * 2 + pixels / 4 * (8 + 4 * 2) : values * 8 + pixels * (8 + 4 * 2);
}

bool stoodUprightAlready(std::span<const unsigned char> jpeg, QSize uprightRaw)
{
    MemoryBytes bytes(jpeg);
    JpegDecoder decoder(bytes, nullptr);
    if (!decoder.readHeader())
        return false;
    const bool isTall = decoder.size().height() > decoder.size().width();
    return isTall == (uprightRaw.height() > uprightRaw.width());
}

} // namespace

RawFile::RawFile(int descriptor, const ReadRequest& request)
    : m_raw(std::make_unique<LibRaw>(
        LIBRAW_OPIONS_NO_MEMERR_CALLBACK | LIBRAW_OPIONS_NO_DATAERR_CALLBACK))
    , m_request(request)
{
    m_raw->set_progress_handler(onProgress, const_cast<ReadRequest*>(&request));
    m_raw->imgdata.params.max_raw_memory_mb = kBoundInMegabytes;
    m_isOpen = m_raw->open_file(Pt::pathOfOpenFile(descriptor).c_str()) == LIBRAW_SUCCESS;
}

RawFile::~RawFile() = default;

int RawFile::orientation() const
{
    return dng::orientationOfFlip(m_raw->imgdata.sizes.flip);
}

QSize RawFile::fullSize() const
{
    return uprightSize(squareSize(m_raw->imgdata.sizes), orientation());
}

Picture RawFile::preview()
{
    const auto& thumbnail = m_raw->imgdata.thumbnail;
    if (thumbnail.tlength > kMaxPreviewBytes || m_raw->unpack_thumb() != LIBRAW_SUCCESS
        || thumbnail.thumb == nullptr)
        return broken(QStringLiteral("no preview in the raw file"));
    if (thumbnail.tformat == LIBRAW_THUMBNAIL_JPEG)
        return previewOfJpeg();
    return previewOfPixels();
}

Picture RawFile::previewOfJpeg()
{
    const auto& thumbnail = m_raw->imgdata.thumbnail;
    return readPreview({reinterpret_cast<const unsigned char*>(thumbnail.thumb), thumbnail.tlength},
        m_request,
        orientation(),
        fullSize());
}

Picture RawFile::previewOfPixels()
{
    const auto& thumbnail = m_raw->imgdata.thumbnail;
    const QSize size(thumbnail.twidth, thumbnail.theight);
    if (thumbnail.tformat != LIBRAW_THUMBNAIL_BITMAP || size.isEmpty()
        || pixelsOf(size) * 3 > qint64{thumbnail.tlength})
        return broken(QStringLiteral("a preview of a form that is not known here"));
    const QImage image = copyOfRgb(
        reinterpret_cast<const unsigned char*>(thumbnail.thumb), size.width(), size.height());
    return done(fitted(upright(image, orientation()), m_request.box), fullSize());
}

// The library turns the result upright.
QImage RawFile::processed()
{
    m_raw->imgdata.params.half_size = 1;
    m_raw->imgdata.params.use_camera_wb = 1;
    m_raw->imgdata.params.output_bps = 8;
    if (m_raw->unpack() != LIBRAW_SUCCESS || m_raw->dcraw_process() != LIBRAW_SUCCESS)
        return {};
    int error = LIBRAW_SUCCESS;
    const Processed image(m_raw->dcraw_make_mem_image(&error));
    if (!image || image->type != LIBRAW_IMAGE_BITMAP || image->colors != 3 || image->bits != 8)
        return {};
    return copyOfRgb(image->data, image->width, image->height);
}

Picture RawFile::developed()
{
    if (memoryToDevelop(m_raw->imgdata) > kDecodeBound)
        return tooLarge(fullSize());
    const QSize size = fullSize();
    const QImage image = processed();
    if (isCancelled(m_request))
        return cancelled();
    if (image.isNull())
        return broken(QStringLiteral("the raw file's values cannot be read"));
    return done(fitted(image, m_request.box), size);
}

Picture readPreview(std::span<const unsigned char> jpeg,
    const ReadRequest& request,
    int orientation,
    QSize uprightRaw)
{
    const bool turned = turnsSideways(orientation) && stoodUprightAlready(jpeg, uprightRaw);
    MemoryBytes bytes(jpeg);
    return readJpeg(bytes, request, turned ? 1 : orientation);
}

} // namespace pictures
