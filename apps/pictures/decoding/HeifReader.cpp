#include "pictures/decoding/HeifReader.h"

#include "pictures/decoding/ColorProfile.h"
#include "pictures/decoding/Fitting.h"
#include "pictures/decoding/ReadSteps.h"

#include <array>
#include <memory>
#include <vector>

#include <libheif/heif.h>

namespace pictures {

namespace {

template <typename Thing, void (*Free)(Thing*)>
struct Freed {
    void operator()(Thing* thing) const { Free(thing); }
};
using Context = std::unique_ptr<heif_context, Freed<heif_context, heif_context_free>>;
struct ReleaseHandle {
    void operator()(const heif_image_handle* handle) const { heif_image_handle_release(handle); }
};
using Handle = std::unique_ptr<heif_image_handle, ReleaseHandle>;
struct ReleaseImage {
    void operator()(const heif_image* image) const { heif_image_release(image); }
};
using Pixels = std::unique_ptr<heif_image, ReleaseImage>;
using Options = std::unique_ptr<heif_decoding_options,
    Freed<heif_decoding_options, heif_decoding_options_free>>;
using Nclx = std::unique_ptr<heif_color_profile_nclx,
    Freed<heif_color_profile_nclx, heif_nclx_color_profile_free>>;

constexpr int kMaxEdge = 32'768;
constexpr int kMaxThumbnails = 16; // looked at
constexpr qint64 kBytesPerPixel = 16; // planes of the codec, our colours, and both once more
constexpr std::size_t kMaxProfile = std::size_t{16} * 1024 * 1024;

QSize sizeOf(const Handle& handle)
{
    return {heif_image_handle_get_width(handle.get()), heif_image_handle_get_height(handle.get())};
}

// The smallest embedded one that is large enough and shows the same cut; null when there is none.
Handle thumbnailFor(const Handle& whole, QSize wanted)
{
    std::array<heif_item_id, kMaxThumbnails> ids{};
    const int count =
        heif_image_handle_get_list_of_thumbnail_IDs(whole.get(), ids.data(), kMaxThumbnails);
    Handle best;
    for (int i = 0; i < count; ++i) {
        heif_image_handle* found = nullptr;
        if (heif_image_handle_get_thumbnail(whole.get(), ids[static_cast<std::size_t>(i)], &found)
                .code
            != heif_error_Ok)
            continue;
        Handle handle(found);
        const QSize size = sizeOf(handle);
        const QSize sameCut = fittedSize(sizeOf(whole), size);
        const bool large = size.width() >= wanted.width() && size.height() >= wanted.height();
        const bool same =
            size.width() - sameCut.width() <= 2 && size.height() - sameCut.height() <= 2;
        if (large && same && (!best || pixelsOf(size) < pixelsOf(sizeOf(best))))
            best = std::move(handle);
    }
    return best;
}

QColorSpace spaceOfPrimaries(const Handle& handle)
{
    heif_color_profile_nclx* found = nullptr;
    if (heif_image_handle_get_nclx_color_profile(handle.get(), &found).code != heif_error_Ok)
        return {};
    const Nclx nclx(found);
    const bool isP3 = nclx && nclx->color_primaries == heif_color_primaries_SMPTE_EG_432_1;
    return isP3 ? QColorSpace(QColorSpace::DisplayP3) : QColorSpace();
}

QColorSpace spaceOf(const Handle& handle)
{
    const std::size_t size = heif_image_handle_get_raw_color_profile_size(handle.get());
    if (size == 0 || size > kMaxProfile)
        return spaceOfPrimaries(handle);
    QByteArray profile(static_cast<qsizetype>(size), '\0');
    if (heif_image_handle_get_raw_color_profile(handle.get(), profile.data()).code != heif_error_Ok)
        return {};
    return QColorSpace::fromIccProfile(profile);
}

QImage imageOf(const Pixels& pixels, bool hasAlpha)
{
    int stride = 0;
    const std::uint8_t* bytes =
        heif_image_get_plane_readonly(pixels.get(), heif_channel_interleaved, &stride);
    if (bytes == nullptr)
        return {};
    const int width = heif_image_get_width(pixels.get(), heif_channel_interleaved);
    const int height = heif_image_get_height(pixels.get(), heif_channel_interleaved);
    return QImage(bytes, width, height, stride, QImage::Format_RGBA8888)
        .convertToFormat(hasAlpha ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
}

QImage decoded(const Handle& handle, QString& problem)
{
    const Options options(heif_decoding_options_alloc());
    if (options)
        options->convert_hdr_to_8bit = 1;
    heif_image* found = nullptr;
    const heif_error error = heif_decode_image(
        handle.get(), &found, heif_colorspace_RGB, heif_chroma_interleaved_RGBA, options.get());
    const Pixels pixels(found);
    problem = QString::fromUtf8(error.message);
    return error.code == heif_error_Ok
        ? imageOf(pixels, heif_image_handle_has_alpha_channel(handle.get()) != 0)
        : QImage();
}

Picture readWhole(const Handle& whole, const ReadRequest& request)
{
    const QSize size = sizeOf(whole);
    if (pixelsOf(size) * kBytesPerPixel > kDecodeBound)
        return tooLarge(size);
    QString problem;
    QImage image;
    if (const Handle thumbnail = thumbnailFor(whole, fittedSize(size, request.box)))
        image = decoded(thumbnail, problem);
    if (image.isNull() && !isCancelled(request))
        image = decoded(whole, problem);
    if (isCancelled(request))
        return cancelled();
    if (image.isNull())
        return broken(problem);
    return done(inSrgb(fitted(image, request.box), spaceOf(whole)), size);
}

// A picture that is open: the handle needs its context.
struct Opened {
    Context context;
    Handle whole; // null when there is none
    QString problem;
};

heif_error readPrimary(heif_context* context, const std::string& path, Handle& primary)
{
    heif_error error = heif_context_read_from_file(context, path.c_str(), nullptr);
    heif_image_handle* found = nullptr;
    if (error.code == heif_error_Ok)
        error = heif_context_get_primary_image_handle(context, &found);
    primary.reset(found);
    return error;
}

Opened open(const std::string& path)
{
    Opened opened;
    opened.context.reset(heif_context_alloc());
    heif_context* context = opened.context.get();
    heif_context_set_maximum_image_size_limit(context, kMaxEdge);
    const heif_error error = readPrimary(context, path, opened.whole);
    opened.problem = QString::fromUtf8(error.message);
    if (opened.whole && sizeOf(opened.whole).isEmpty())
        opened.whole.reset();
    return opened;
}

} // namespace

Picture readHeif(const std::string& path, const ReadRequest& request)
{
    const Opened opened = open(path);
    return opened.whole ? readWhole(opened.whole, request) : broken(opened.problem);
}

QSize heifSize(const std::string& path)
{
    const Opened opened = open(path);
    return opened.whole ? sizeOf(opened.whole) : QSize();
}

} // namespace pictures
