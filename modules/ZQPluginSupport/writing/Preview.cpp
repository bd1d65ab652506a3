#include "ZQPluginSupport/writing/Preview.h"

#include "ZQPluginSupport/ConversionFailure.h"

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

namespace dng {

namespace {

// Which pixels a new one covers, and by how much the first and the last of them.
struct Cover {
    std::uint32_t first = 0;
    std::vector<float> shares; // their sum is 1
};

// Of the new pixel from `begin` to `end`, in pixels of a picture that has `from` of them.
Cover coverOf(double begin, double end, std::uint32_t from)
{
    Cover cover;
    cover.first = std::min(static_cast<std::uint32_t>(begin), from - 1);
    for (std::uint32_t at = cover.first; at < from && (at < end || at == cover.first); ++at) {
        const double share = std::min<double>(end, at + 1.0) - std::max<double>(begin, at);
        cover.shares.push_back(static_cast<float>(std::max(share, 0.0) / (end - begin)));
    }
    return cover;
}

std::vector<Cover> coversOf(std::uint32_t from, std::uint32_t to)
{
    std::vector<Cover> covers(to);
    const double step = static_cast<double>(from) / to;
    for (std::uint32_t i = 0; i < to; ++i) {
        const double begin = i * step;
        covers[i] = coverOf(begin, std::min<double>(begin + step, from), from);
    }
    return covers;
}

// Rows of the picture, each as wide as the new one.
std::vector<float> narrowed(const RenderedPicture& picture, const std::vector<Cover>& covers)
{
    std::vector<float> result(std::size_t{picture.height} * covers.size() * 3);
    float* out = result.data();
    for (std::uint32_t row = 0; row < picture.height; ++row) {
        const std::uint8_t* const bytes =
            picture.bytes.data() + std::size_t{row} * picture.width * 3;
        for (const Cover& cover : covers)
            for (std::size_t c = 0; c < 3; ++c) {
                float sum = 0;
                for (std::size_t k = 0; k < cover.shares.size(); ++k)
                    sum += cover.shares[k] * static_cast<float>(bytes[(cover.first + k) * 3 + c]);
                *out++ = sum;
            }
    }
    return result;
}

struct JpegError {
    jpeg_error_mgr base; // first: the library knows no more of it
    std::jmp_buf back;
};

void leave(j_common_ptr codec)
{
    std::longjmp(reinterpret_cast<JpegError*>(codec->err)->back, 1);
}

void writeRows(jpeg_compress_struct& codec, const RenderedPicture& picture)
{
    while (codec.next_scanline < codec.image_height) {
        JSAMPROW row = const_cast<std::uint8_t*>(picture.bytes.data())
            + std::size_t{codec.next_scanline} * picture.width * 3;
        jpeg_write_scanlines(&codec, &row, 1);
    }
}

void compress(jpeg_compress_struct& codec, const RenderedPicture& picture, int quality)
{
    codec.image_width = picture.width;
    codec.image_height = picture.height;
    codec.input_components = 3;
    codec.in_color_space = JCS_RGB;
    jpeg_set_defaults(&codec);
    jpeg_set_quality(&codec, quality, TRUE);
    jpeg_start_compress(&codec, TRUE);
    writeRows(codec, picture);
    jpeg_finish_compress(&codec);
}

} // namespace

RenderedPicture scaled(const RenderedPicture& picture, std::uint32_t width, std::uint32_t height)
{
    if (picture.width == width && picture.height == height)
        return picture;
    const std::vector<float> rows = narrowed(picture, coversOf(picture.width, width));
    RenderedPicture result{width, height, {}};
    result.bytes.reserve(std::size_t{width} * height * 3);
    const std::size_t pitch = std::size_t{width} * 3;
    for (const Cover& cover : coversOf(picture.height, height))
        for (std::size_t i = 0; i < pitch; ++i) {
            float sum = 0;
            for (std::size_t k = 0; k < cover.shares.size(); ++k)
                sum += cover.shares[k] * rows[(cover.first + k) * pitch + i];
            result.bytes.push_back(static_cast<std::uint8_t>(std::clamp(sum + 0.5F, 0.0F, 255.0F)));
        }
    return result;
}

RenderedPicture fitted(const RenderedPicture& picture, std::uint32_t longSide)
{
    const std::uint32_t longest = std::max(picture.width, picture.height);
    if (longest <= longSide)
        return picture;
    const auto side = [&](std::uint32_t length) {
        return std::max(1U,
            static_cast<std::uint32_t>(
                std::lround(static_cast<double>(length) * longSide / longest)));
    };
    return scaled(picture, side(picture.width), side(picture.height));
}

std::vector<std::uint8_t> jpegOf(const RenderedPicture& picture, int quality)
{
    JpegError error{};
    jpeg_compress_struct codec{};
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    codec.err = jpeg_std_error(&error.base);
    error.base.error_exit = leave;
    if (setjmp(error.back) != 0) { // NOLINT(cert-err52-cpp): the library's own way
        jpeg_destroy_compress(&codec);
        std::free(bytes);
        throw ConversionFailure(kZQPluginTooLarge);
    }
    jpeg_create_compress(&codec);
    jpeg_mem_dest(&codec, &bytes, &size);
    compress(codec, picture, quality);
    jpeg_destroy_compress(&codec);
    std::vector<std::uint8_t> file(bytes, bytes + size);
    std::free(bytes);
    return file;
}

} // namespace dng
