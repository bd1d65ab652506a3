#include "pictures/decoding/ExifSegment.h"

#include "ZQPluginSupport/original/TiffDirectory.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace pictures {

namespace {

constexpr std::string_view kName("Exif\0", 5); // a byte of padding follows
constexpr std::uint16_t kPictureOffset = 513;
constexpr std::uint16_t kPictureLength = 514;

// 0 where there is none.
std::uint32_t numberOf(
    const dng::TiffFile& file, const dng::TiffDirectory& directory, std::uint16_t tag)
{
    const dng::TiffEntry* const entry = directory.find(tag);
    const auto numbers = entry ? file.numbers(*entry) : std::vector<std::uint32_t>();
    return numbers.empty() ? 0 : numbers.front();
}

} // namespace

std::span<const unsigned char> exifOfSegment(std::span<const unsigned char> segment)
{
    if (segment.size() <= kName.size()
        || std::memcmp(segment.data(), kName.data(), kName.size()) != 0)
        return {};
    return segment.subspan(kName.size() + 1);
}

std::span<const unsigned char> exifThumbnail(std::span<const unsigned char> tiff)
{
    const dng::MemorySource source(tiff);
    const auto file = dng::TiffFile::open(source);
    const auto second = file ? file->directoryAt(file->first().next) : std::nullopt;
    if (!second)
        return {};
    const std::size_t offset = numberOf(*file, *second, kPictureOffset);
    const std::size_t length = numberOf(*file, *second, kPictureLength);
    if (offset > tiff.size() || length > tiff.size() - offset)
        return {};
    return tiff.subspan(offset, length);
}

} // namespace pictures
