#include "pictures/thumbnails/ThumbnailPng.h"

#include "pictures/decoding/ColorProfile.h"
#include "pictures/decoding/PngChunks.h"

#include <QBuffer>
#include <QImageReader>
#include <QImageWriter>
#include <QtEndian>

#include <array>
#include <cstdint>

namespace pictures {

namespace {

constexpr int kSignatureBytes = 8;
constexpr int kHeaderEnd = kSignatureBytes + 4 + 4 + 13 + 4; // length, type, contents, check sum
constexpr int kQuickest = 11; // the writer counts to 100, of which this is zlib's level 1

// The check sum of a chunk, by the polynomial of ISO 3309.
constexpr std::array<std::uint32_t, 256> sumsOfBytes()
{
    std::array<std::uint32_t, 256> sums{};
    for (std::uint32_t byte = 0; byte < sums.size(); ++byte) {
        std::uint32_t sum = byte;
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum >> 1U) ^ ((sum & 1U) != 0 ? 0xEDB8'8320U : 0U);
        sums[byte] = sum;
    }
    return sums;
}

std::uint32_t checkSum(const QByteArray& bytes)
{
    static constexpr auto kSums = sumsOfBytes();
    std::uint32_t sum = 0xFFFF'FFFFU;
    for (const char byte : bytes)
        sum = kSums[(sum ^ static_cast<unsigned char>(byte)) & 0xFFU] ^ (sum >> 8U);
    return ~sum;
}

QByteArray bigEndian(std::uint32_t value)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray textChunk(const QByteArray& key, const QByteArray& value)
{
    const QByteArray contents = key + '\0' + value;
    const QByteArray typed = "tEXt" + contents;
    return bigEndian(static_cast<std::uint32_t>(contents.size())) + typed
        + bigEndian(checkSum(typed));
}

// The pixels alone: the writer puts an image's own texts in, packed where they are long.
QByteArray plainPng(const QImage& image)
{
    const QImage opaque = image.hasAlphaChannel() ? image.convertToFormat(QImage::Format_ARGB32)
                                                  : image.convertToFormat(QImage::Format_RGB32);
    const QImage pixels(opaque.constBits(),
        opaque.width(),
        opaque.height(),
        opaque.bytesPerLine(),
        opaque.format());
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "png");
    writer.setCompression(kQuickest);
    return writer.write(pixels) ? buffer.data() : QByteArray();
}

bool isWithin(const QByteArray& png, int maxEdge)
{
    if (png.size() < kHeaderEnd || !png.startsWith("\x89PNG\r\n\x1A\n") || png.mid(12, 4) != "IHDR")
        return false;
    const auto edge = [&png](qsizetype at) {
        return qFromBigEndian<std::uint32_t>(png.constData() + at);
    };
    const auto most = static_cast<std::uint32_t>(maxEdge);
    return edge(16) > 0 && edge(16) <= most && edge(20) > 0 && edge(20) <= most;
}

} // namespace

QByteArray thumbnailPng(const QImage& image, const PngTexts& texts)
{
    QByteArray png = image.isNull() ? QByteArray() : plainPng(image);
    if (png.size() < kHeaderEnd)
        return {};
    QByteArray chunks;
    for (const auto& [key, value] : texts)
        chunks += textChunk(key, value);
    return png.insert(kHeaderEnd, chunks);
}

std::optional<QImage> thumbnailImage(const QByteArray& png, int maxEdge)
{
    if (!isWithin(png, maxEdge))
        return std::nullopt;
    QBuffer buffer;
    buffer.setData(png);
    buffer.open(QIODevice::ReadOnly);
    if (!hasSoundPngChunks(buffer))
        return std::nullopt;
    QImage image = QImageReader(&buffer, "png").read();
    if (image.isNull())
        return std::nullopt;
    const QColorSpace space = image.colorSpace();
    image = image.convertToFormat(
        image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    return inSrgb(image, space);
}

} // namespace pictures
