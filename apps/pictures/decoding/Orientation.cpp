#include "pictures/decoding/Orientation.h"

#include "pictures/decoding/ExifSegment.h"

#include <QTransform>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace pictures {

namespace {

using Bytes = std::span<const unsigned char>;

constexpr std::uint32_t kOrientationTag = 0x0112;
constexpr std::uint32_t kShort = 3; // the type of a number of two bytes
constexpr std::size_t kEntryBytes = 12;
constexpr std::size_t kFirstDirectory = 4; // where its offset stands

class Numbers {
public:
    Numbers(Bytes bytes, bool bigEndian)
        : m_bytes(bytes)
        , m_bigEndian(bigEndian)
    {
    }

    std::optional<std::uint32_t> at(std::size_t offset, std::size_t length) const
    {
        if (offset > m_bytes.size() || length > m_bytes.size() - offset)
            return std::nullopt;
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < length; ++i)
            value = (value << 8U) | m_bytes[offset + (m_bigEndian ? i : length - 1 - i)];
        return value;
    }

private:
    Bytes m_bytes;
    bool m_bigEndian;
};

std::optional<int> orientationInDirectory(const Numbers& numbers, std::size_t directory)
{
    const std::size_t count = numbers.at(directory, 2).value_or(0);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t entry = directory + 2 + i * kEntryBytes;
        const auto tag = numbers.at(entry, 2);
        if (!tag)
            break;
        if (tag != kOrientationTag || numbers.at(entry + 2, 2) != kShort)
            continue;
        const std::uint32_t value = numbers.at(entry + 8, 2).value_or(0);
        if (value >= 1 && value <= 8)
            return static_cast<int>(value);
        break;
    }
    return std::nullopt;
}

bool beginsWith(Bytes bytes, std::string_view text)
{
    return bytes.size() >= text.size()
        && std::equal(text.begin(), text.end(), bytes.begin(), [](char wanted, unsigned char byte) {
               return static_cast<unsigned char>(wanted) == byte;
           });
}

} // namespace

std::optional<int> exifOrientation(Bytes tiff)
{
    const bool bigEndian = beginsWith(tiff, std::string_view("MM\0*", 4));
    if (!bigEndian && !beginsWith(tiff, std::string_view("II*\0", 4)))
        return std::nullopt;
    const Numbers numbers(tiff, bigEndian);
    const auto directory = numbers.at(kFirstDirectory, 4);
    return directory ? orientationInDirectory(numbers, *directory) : std::nullopt;
}

std::optional<int> orientationOfSegment(Bytes segment)
{
    return exifOrientation(exifOfSegment(segment));
}

// As EXIF has it: the number says which edges of the stored picture the first row and the first
// column are. 2, 4, 5 and 7 are mirrored, too.
QImage upright(const QImage& image, int orientation)
{
    switch (orientation) {
    case 2:
        return image.mirrored(true, false);
    case 3:
        return image.mirrored(true, true);
    case 4:
        return image.mirrored(false, true);
    case 5:
        return image.transformed(QTransform().rotate(90)).mirrored(true, false);
    case 6:
        return image.transformed(QTransform().rotate(90));
    case 7:
        return image.transformed(QTransform().rotate(90)).mirrored(false, true);
    case 8:
        return image.transformed(QTransform().rotate(270));
    default:
        return image;
    }
}

} // namespace pictures
