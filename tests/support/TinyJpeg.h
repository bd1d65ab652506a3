// A real JPEG of one grey pixel, with the EXIF tags that a test wants. Needs Exiv2.
#pragma once

#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <exiv2/exiv2.hpp>

namespace tests {

// Pairs of a key such as "Exif.Photo.DateTimeOriginal" and its text.
using ImageTags = std::vector<std::pair<std::string, std::string>>;

inline std::string tinyJpegBytes()
{
    using Bytes = std::vector<unsigned char>;
    const auto append = [](Bytes& to, const Bytes& more) {
        to.insert(to.end(), more.begin(), more.end());
    };
    Bytes jpeg{0xFF, 0xD8, 0xFF, 0xDB, 0x00, 0x43, 0x00}; // quantization table of ones
    append(jpeg, Bytes(64, 1));
    append(jpeg, {0xFF, 0xC0, 0x00, 0x0B, 8, 0, 1, 0, 1, 1, 1, 0x11, 0}); // 1 x 1, one component
    for (const unsigned char table : Bytes{0x00, 0x10}) { // one code of one bit each
        append(jpeg, {0xFF, 0xC4, 0x00, 0x14, table, 1});
        append(jpeg, Bytes(16, 0));
    }
    append(jpeg, {0xFF, 0xDA, 0x00, 0x08, 1, 1, 0x00, 0, 63, 0, 0x3F, 0xFF, 0xD9});
    return {jpeg.begin(), jpeg.end()};
}

// "Exif..." and "Xmp..." keys go where they belong.
inline std::string tinyJpegBytes(const ImageTags& tags)
{
    const std::string plain = tinyJpegBytes();
    const std::vector<Exiv2::byte> bytes(plain.begin(), plain.end());
    const auto image = Exiv2::ImageFactory::open(bytes.data(), static_cast<long>(bytes.size()));
    image->readMetadata();
    for (const auto& [key, text] : tags)
        if (key.rfind("Xmp.", 0) == 0)
            image->xmpData()[key] = text;
        else
            image->exifData()[key] = text;
    image->writeMetadata();
    Exiv2::BasicIo& written = image->io();
    written.open();
    const Exiv2::DataBuf result = written.read(static_cast<long>(written.size()));
    return {result.pData_, result.pData_ + result.size_};
}

// Writes it to `path`.
inline void writeTinyJpeg(const std::string& path, const ImageTags& tags = {})
{
    const std::string bytes = tags.empty() ? tinyJpegBytes() : tinyJpegBytes(tags);
    std::ofstream file(path, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

} // namespace tests
