// Pictures made in memory, and how alike two are.
#pragma once

#include <QBuffer>
#include <QImage>
#include <QImageWriter>
#include <QString>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace pictures::tests {

// A picture without a symmetry: colours run across and down, and one corner is marked.
inline QImage slopes(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const bool corner = x < width / 4 && y < height / 4;
            image.setPixel(
                x, y, corner ? qRgb(20, 20, 20) : qRgb(x * 255 / width, y * 255 / height, 128));
        }
    return image;
}

inline std::string encoded(const QImage& image, const char* format, bool progressive = false)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    writer.setQuality(95);
    writer.setProgressiveScanWrite(progressive);
    return writer.write(image) ? buffer.data().toStdString() : std::string();
}

// EXIF with this orientation put into a JPEG, behind its first marker.
inline std::string withOrientation(const std::string& jpeg, int orientation)
{
    std::string segment("\xFF\xE1\x00\x22"
                        "Exif\0\0MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0\0\0\0\0\0\0\0",
        36);
    segment[29] = static_cast<char>(orientation);
    return jpeg.substr(0, 2) + segment + jpeg.substr(2);
}

// EXIF with this orientation and a small picture put into a JPEG, behind its first marker.
inline std::string withThumbnail(
    const std::string& jpeg, const std::string& thumbnail, int orientation = 1)
{
    const auto number = [](std::size_t value, int bytes) {
        std::string text;
        for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
            text += static_cast<char>(value >> static_cast<unsigned int>(shift));
        return text;
    };
    constexpr std::size_t kSecond = 26; // behind a directory of one entry
    constexpr std::size_t kPicture = kSecond + 30;
    const std::string exif = std::string("Exif\0\0MM\0*\0\0\0\x08", 14) + number(1, 2)
        + number(0x0112, 2) + number(3, 2) + number(1, 4)
        + number(static_cast<std::size_t>(orientation), 2) + number(0, 2) + number(kSecond, 4)
        + number(2, 2) + number(513, 2) + number(4, 2) + number(1, 4) + number(kPicture, 4)
        + number(514, 2) + number(4, 2) + number(1, 4) + number(thumbnail.size(), 4) + number(0, 4)
        + thumbnail;
    return jpeg.substr(0, 2) + "\xFF\xE1" + number(exif.size() + 2, 2) + exif + jpeg.substr(2);
}

// The JPEG's header says these dimensions instead of its own.
inline std::string withDimensions(std::string jpeg, unsigned int width, unsigned int height)
{
    for (std::size_t at = 0; at + 9 < jpeg.size(); ++at)
        if (jpeg[at] == '\xFF' && (jpeg[at + 1] == '\xC0' || jpeg[at + 1] == '\xC2')) {
            jpeg[at + 5] = static_cast<char>(height >> 8U);
            jpeg[at + 6] = static_cast<char>(height);
            jpeg[at + 7] = static_cast<char>(width >> 8U);
            jpeg[at + 8] = static_cast<char>(width);
            return jpeg;
        }
    return {};
}

// The largest difference of any channel; 255 when the sizes differ.
inline int difference(const QImage& one, const QImage& other)
{
    if (one.size() != other.size() || one.isNull())
        return 255;
    int worst = 0;
    for (int y = 0; y < one.height(); ++y)
        for (int x = 0; x < one.width(); ++x) {
            const QRgb a = one.pixel(x, y);
            const QRgb b = other.pixel(x, y);
            worst = std::max({worst,
                std::abs(qRed(a) - qRed(b)),
                std::abs(qGreen(a) - qGreen(b)),
                std::abs(qBlue(a) - qBlue(b))});
        }
    return worst;
}

// The folder of sample media with a file's part of the path; empty when there is none on this
// machine.
inline QString samplePath(const std::string& name)
{
    const char* folder = std::getenv("MFX_SAMPLES");
    const std::string path = folder == nullptr ? std::string() : std::string(folder) + '/' + name;
    return !path.empty() && std::filesystem::exists(path) ? QString::fromStdString(path)
                                                          : QString();
}

} // namespace pictures::tests
