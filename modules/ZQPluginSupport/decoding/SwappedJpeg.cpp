#include "ZQPluginSupport/decoding/SwappedJpeg.h"

#include <algorithm>
#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <vector>

#include <jpeglib.h> // needs <cstdio> before it

namespace dng {

namespace {

std::vector<std::uint8_t> swapped(std::span<const std::byte> bytes)
{
    std::vector<std::uint8_t> result(bytes.size() & ~std::size_t{1});
    for (std::size_t i = 0; i < result.size(); ++i)
        result[i] = static_cast<std::uint8_t>(bytes[i ^ 1U]);
    return result;
}

struct Decoder {
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    std::jmp_buf jump{};
};

void onError(j_common_ptr info)
{
    std::longjmp(static_cast<Decoder*>(info->client_data)->jump, 1);
}

// Warnings are counted, as the library does, and printed nowhere.
void onMessage(j_common_ptr info, int level)
{
    if (level < 0)
        ++info->err->num_warnings;
}

// A jump out of the library lands here: nothing with a destructor may live in it.
bool decodes(
    Decoder& decoder, const std::vector<std::uint8_t>& jpeg, std::vector<std::uint8_t>& row)
{
    if (setjmp(decoder.jump) != 0)
        return false;
    jpeg_create_decompress(&decoder.info);
    jpeg_mem_src(&decoder.info, jpeg.data(), jpeg.size());
    jpeg_read_header(&decoder.info, TRUE);
    jpeg_start_decompress(&decoder.info);
    row.resize(std::size_t{decoder.info.output_width}
        * static_cast<unsigned int>(decoder.info.output_components));
    JSAMPROW rows = row.data();
    while (decoder.info.output_scanline < decoder.info.output_height)
        jpeg_read_scanlines(&decoder.info, &rows, 1);
    jpeg_finish_decompress(&decoder.info);
    return decoder.errors.num_warnings == 0;
}

} // namespace

bool isWholeSwappedJpeg(std::span<const std::byte> bytes)
{
    const std::vector<std::uint8_t> jpeg = swapped(bytes);
    std::vector<std::uint8_t> row;
    Decoder decoder;
    decoder.info.err = jpeg_std_error(&decoder.errors);
    decoder.info.client_data = &decoder;
    decoder.errors.error_exit = onError;
    decoder.errors.emit_message = onMessage;
    const bool isWhole = decodes(decoder, jpeg, row);
    jpeg_destroy_decompress(&decoder.info);
    return isWhole;
}

} // namespace dng
