#include "support/cards/CardPictures.h"

#include <QBuffer>
#include <QByteArray>
#include <QImage>
#include <QImageWriter>
#include <QPainter>
#include <QRadialGradient>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <stdexcept>
#include <string_view>
#include <vector>

#include <exiv2/exiv2.hpp>

namespace tests {

namespace {

constexpr int kQuality = 85;
constexpr int kMaxGrain = 255;

std::string bigEndian(std::uint64_t value, unsigned int bytes)
{
    std::string text;
    for (unsigned int at = bytes; at-- > 0;)
        text += static_cast<char>((value >> (8 * at)) & 0xffU);
    return text;
}

std::string littleEndian(std::uint64_t value, unsigned int bytes)
{
    const std::string text = bigEndian(value, bytes);
    return {text.rbegin(), text.rend()};
}

// A sky that darkens upwards and a sun, in colours and at a place that the noise chooses.
QImage paintSunset(QSize size, NoiseSource& noise)
{
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    const int hue = static_cast<int>(noise.next() % 360);
    QLinearGradient sky(0, 0, 0, size.height());
    sky.setColorAt(0, QColor::fromHsv(hue, 200, 90));
    sky.setColorAt(1, QColor::fromHsv((hue + 40) % 360, 140, 230));
    painter.fillRect(image.rect(), sky);
    const auto place = static_cast<double>(noise.next() % 100) / 100;
    const QPointF centre(size.width() * place, size.height() * 0.7);
    QRadialGradient sun(centre, size.height() * 0.2);
    sun.setColorAt(0, QColor(255, 250, 220));
    sun.setColorAt(1, QColor(255, 250, 220, 0));
    painter.fillRect(image.rect(), sun);
    return image;
}

int grained(int value, std::uint64_t random, int grain)
{
    const int offset = static_cast<int>(random & 0xffU) - 128;
    return std::clamp(value + offset * grain / kMaxGrain, 0, 255);
}

QImage withGrain(QImage image, NoiseSource noise, int grain)
{
    for (int y = 0; y < image.height(); ++y) {
        auto* const row = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const std::uint64_t random = noise.next();
            row[x] = qRgb(grained(qRed(row[x]), random, grain),
                grained(qGreen(row[x]), random >> 8U, grain),
                grained(qBlue(row[x]), random >> 16U, grain));
        }
    }
    return image;
}

std::string jpegBytes(const QImage& image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(kQuality);
    if (!writer.write(image))
        throw std::runtime_error("cannot write a JPEG: " + writer.errorString().toStdString());
    return bytes.toStdString();
}

// The 3:2 size at which a middling grain makes a JPEG of so many bytes.
QSize pictureSize(std::size_t bytes)
{
    constexpr double kPixelsPerByte = 2;
    const double pixels = std::max(1.0, static_cast<double>(bytes) * kPixelsPerByte);
    const int height = std::max(32, static_cast<int>(std::sqrt(pixels / 1.5)));
    return {height * 3 / 2, height};
}

// One entry of an image file directory whose value fits into it.
struct DirectoryEntry {
    unsigned int tag;
    unsigned int type; // 1 byte, 3 short, 4 long
    unsigned int count;
    std::string value; // in the file's order
};

std::string directoryBytes(const std::vector<DirectoryEntry>& entries)
{
    std::string bytes = littleEndian(entries.size(), 2);
    for (const DirectoryEntry& entry : entries) {
        std::string value = entry.value;
        value.resize(4, '\0');
        bytes += littleEndian(entry.tag, 2) + littleEndian(entry.type, 2)
            + littleEndian(entry.count, 4) + value;
    }
    return bytes + littleEndian(0, 4); // no further directory
}

DirectoryEntry shortEntry(unsigned int tag, unsigned int value)
{
    return {tag, 3, 1, littleEndian(value, 2)};
}

DirectoryEntry longEntry(unsigned int tag, std::uint64_t value)
{
    return {tag, 4, 1, littleEndian(value, 4)};
}

// Sixteen bits a pixel behind a red-green-green-blue filter, in one strip after the directory.
std::string sensorTiff(unsigned int width, unsigned int height, const std::string& values)
{
    constexpr unsigned int kHeadSize = 8;
    constexpr unsigned int kEntryCount = 11;
    constexpr unsigned int kStrip = kHeadSize + 2 + kEntryCount * 12 + 4;
    constexpr unsigned int kColourFilterArray = 32803;
    const std::vector<DirectoryEntry> entries{
        longEntry(0x00fe, 0), // the full picture
        longEntry(0x0100, width),
        longEntry(0x0101, height),
        shortEntry(0x0102, 16), // bits per sample
        shortEntry(0x0103, 1), // not compressed
        shortEntry(0x0106, kColourFilterArray),
        longEntry(0x0111, kStrip),
        shortEntry(0x0115, 1), // samples per pixel
        longEntry(0x0117, values.size()),
        {0x828d, 3, 2, littleEndian(2, 2) + littleEndian(2, 2)}, // the filter is 2 by 2
        {0x828e, 1, 4, std::string("\0\1\1\2", 4)},
    };
    return "II" + littleEndian(42, 2) + littleEndian(kHeadSize, 4) + directoryBytes(entries)
        + values;
}

std::string box(std::string_view type, const std::string& contents)
{
    return bigEndian(contents.size() + 8, 4) + std::string(type) + contents;
}

// The movie header in its 32-bit form: nothing to play, a thousand units a second.
std::string movieHeader(const ShotTime& time)
{
    constexpr std::int64_t kFrom1904To1970 = 2'082'844'800;
    const auto seconds =
        static_cast<std::uint64_t>(time.utc().time_since_epoch().count() + kFrom1904To1970);
    const std::string date = bigEndian(seconds, 4);
    const std::string one = bigEndian(0x00010000, 4);
    const std::string matrix =
        one + std::string(12, '\0') + one + std::string(12, '\0') + bigEndian(0x40000000, 4);
    return bigEndian(0, 4) + date + date + bigEndian(1000, 4) + bigEndian(0, 4) + one
        + bigEndian(0x0100, 2) + std::string(10, '\0') + matrix + std::string(24, '\0')
        + bigEndian(1, 4);
}

} // namespace

std::string plainPhotoBytes(std::size_t size, NoiseSource noise)
{
    const QImage sunset = paintSunset(pictureSize(size), noise);
    int low = 0;
    int high = kMaxGrain;
    std::string best = jpegBytes(sunset);
    while (low < high && best.size() < size - size / 20) {
        const int grain = (low + high + 1) / 2;
        std::string bytes = jpegBytes(withGrain(sunset, noise, grain));
        if (bytes.size() > size) {
            high = grain - 1;
        } else {
            low = grain;
            best = std::move(bytes);
        }
    }
    return best;
}

std::string withCameraTags(const std::string& image, const ShotTime& time)
{
    const auto* const bytes = reinterpret_cast<const Exiv2::byte*>(image.data());
    const auto opened = Exiv2::ImageFactory::open(bytes, static_cast<long>(image.size()));
    opened->readMetadata();
    Exiv2::ExifData& exif = opened->exifData();
    exif["Exif.Image.Make"] = "Demo";
    exif["Exif.Image.Model"] = "Demo Camera";
    exif["Exif.Image.DateTime"] = exifDate(time);
    for (const char* const key : {"Original", "Digitized"}) {
        exif[std::string("Exif.Photo.DateTime") + key] = exifDate(time);
        exif[std::string("Exif.Photo.SubSecTime") + key] = exifSubSeconds(time);
        exif[std::string("Exif.Photo.OffsetTime") + key] = exifOffset(time);
    }
    opened->writeMetadata();
    Exiv2::BasicIo& written = opened->io();
    written.open();
    const Exiv2::DataBuf result = written.read(static_cast<long>(written.size()));
    return {reinterpret_cast<const char*>(result.pData_), static_cast<std::size_t>(result.size_)};
}

std::string rawBytes(std::size_t size, NoiseSource noise, const ShotTime& time)
{
    constexpr unsigned int kWidth = 240;
    constexpr std::size_t kRowBytes = kWidth * 2;
    const auto height = static_cast<unsigned int>(std::max<std::size_t>(2, size / kRowBytes));
    return withCameraTags(sensorTiff(kWidth, height, noise.bytes(height * kRowBytes)), time);
}

std::string movieBytes(std::size_t size, NoiseSource noise, const ShotTime& time)
{
    const std::string head = box("ftyp", "isom" + bigEndian(512, 4) + "isommp41")
        + box("moov", box("mvhd", movieHeader(time)));
    const std::size_t rest = size > head.size() + 8 ? size - head.size() - 8 : 0;
    return head + box("mdat", noise.bytes(rest));
}

std::string sidecarBytes()
{
    Exiv2::XmpData tags;
    tags["Xmp.xmp.Rating"] = "4";
    tags["Xmp.dc.subject"] = "sunset";
    std::string packet;
    if (Exiv2::XmpParser::encode(packet, tags) != 0)
        throw std::runtime_error("cannot write an XMP packet");
    return packet;
}

} // namespace tests
