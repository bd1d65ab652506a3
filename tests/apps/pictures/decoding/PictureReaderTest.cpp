#include "pictures/decoding/PictureReader.h"

#include "apps/pictures/support/ReaderFixture.h"
#include "pictures/decoding/Orientation.h"

#include <QColor>
#include <QColorSpace>

#include <random>

#include <sys/stat.h>

namespace pictures {
namespace {

using tests::difference;
using tests::encoded;
using tests::expectConsistent;
using tests::samplePath;
using tests::slopes;
using tests::withOrientation;

class PictureReaderTest : public tests::ReaderFixture { };

void expectNoDescriptorIsLeft(std::ptrdiff_t before)
{
    EXPECT_EQ(test::openDescriptors(), before);
}

TEST_F(PictureReaderTest, ReadsWhatThePlugInsReadWithoutLoss)
{
    for (const char* format : {"png", "tiff", "bmp"}) {
        const QImage image = slopes(60, 40);
        const Picture picture = readBytes(std::string("a.") + format, encoded(image, format));
        EXPECT_EQ(difference(picture.image, image), 0) << format;
        EXPECT_EQ(picture.fullSize, QSize(60, 40)) << format;
        expectConsistent(picture);
    }
    const Picture webp = readBytes("a.webp", encoded(slopes(60, 40), "webp"));
    EXPECT_LE(difference(webp.image, slopes(60, 40)), 60);
}

TEST_F(PictureReaderTest, ScalesThemIntoTheBox)
{
    for (const char* format : {"png", "tiff", "bmp", "webp"}) {
        const Picture picture =
            readBytes(std::string("a.") + format, encoded(slopes(600, 300), format), {100, 100});
        EXPECT_EQ(picture.image.size(), QSize(100, 50)) << format;
        EXPECT_EQ(picture.fullSize, QSize(600, 300)) << format;
    }
}

TEST_F(PictureReaderTest, GivesEightBitsOfADeepOrGreyPictureAndKeepsItsHoles)
{
    const QImage deep = slopes(30, 20).convertToFormat(QImage::Format_RGBX64);
    const Picture flat = readBytes("a.png", encoded(deep, "png"));
    EXPECT_EQ(flat.image.format(), QImage::Format_RGB32);
    EXPECT_LE(difference(flat.image, slopes(30, 20)), 1);
    const QImage grey = slopes(30, 20).convertToFormat(QImage::Format_Grayscale16);
    EXPECT_EQ(readBytes("b.png", encoded(grey, "png")).image.format(), QImage::Format_RGB32);
    QImage holes = slopes(30, 20).convertToFormat(QImage::Format_ARGB32);
    holes.setPixel(3, 3, 0);
    const Picture seen = readBytes("c.png", encoded(holes, "png"));
    EXPECT_EQ(seen.image.format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(qAlpha(seen.image.pixel(3, 3)), 0);
}

TEST_F(PictureReaderTest, TurnsTheColoursOfPngIntoSrgb)
{
    QImage image(20, 20, QImage::Format_RGB32);
    image.fill(qRgb(200, 100, 50));
    image.setColorSpace(QColorSpace(QColorSpace::AdobeRgb));
    const Picture picture = readBytes("a.png", encoded(image, "png"));
    image.convertToColorSpace(QColorSpace(QColorSpace::SRgb));
    EXPECT_LE(difference(picture.image, image), 2);
    EXPECT_FALSE(picture.image.colorSpace().isValid());
}

TEST_F(PictureReaderTest, GoesByTheFirstBytesAndNotByTheName)
{
    const std::string jpeg = encoded(slopes(60, 40), "jpg");
    for (const char* name : {"a.CR2", "a.mov", "a.heic", "a.png", "a.txt", "a"})
        EXPECT_EQ(readBytes(name, jpeg).image.size(), QSize(60, 40)) << name;
    EXPECT_EQ(readBytes("b.jpg", encoded(slopes(60, 40), "png")).image.size(), QSize(60, 40));
    EXPECT_EQ(readBytes("b.nef", encoded(slopes(60, 40), "webp")).image.size(), QSize(60, 40));
}

// The writer puts the tag of an upright picture in; its value is changed in place.
TEST_F(PictureReaderTest, TurnsATiffUprightOnce)
{
    QImage image = slopes(60, 40);
    std::string bytes = encoded(image, "tiff");
    const std::string upright("\x12\x01\x03\0\x01\0\0\0\x01\0", 10);
    const std::size_t at = bytes.find(upright);
    ASSERT_NE(at, std::string::npos);
    for (int orientation = 1; orientation <= 8; ++orientation) {
        bytes[at + 8] = static_cast<char>(orientation);
        const Picture picture = readBytes("a.tif", bytes);
        EXPECT_EQ(difference(picture.image, pictures::upright(image, orientation)), 0)
            << orientation;
        EXPECT_EQ(picture.fullSize, uprightSize({60, 40}, orientation));
    }
}

TEST_F(PictureReaderTest, RefusesWhatIsNoFileWithoutWaiting)
{
    const std::ptrdiff_t before = test::openDescriptors();
    ASSERT_EQ(::mkfifo(m_folder.path("pipe.jpg").c_str(), 0600), 0);
    std::filesystem::create_symlink("/dev/zero", m_folder.path("device.jpg"));
    std::filesystem::create_directory(m_folder.path("folder.jpg"));
    for (const char* name : {"pipe.jpg", "device.jpg", "folder.jpg", "none.jpg"}) {
        const Picture picture = read(QString::fromStdString(m_folder.path(name)));
        EXPECT_EQ(picture.status, ReadStatus::kUnreadable) << name;
        expectConsistent(picture);
    }
    expectNoDescriptorIsLeft(before);
}

TEST_F(PictureReaderTest, RefusesAPngThatWouldFillTheMemory)
{
    std::string bytes = encoded(slopes(16, 16), "png");
    const auto put = [&bytes](std::size_t at, std::uint32_t value) {
        for (std::size_t i = 0; i < 4; ++i)
            bytes[at + i] = static_cast<char>(value >> (24 - 8 * i));
    };
    put(16, 60'000);
    put(20, 60'000);
    // The check sum of the header, so that nothing else is wrong with it.
    const auto checkSum = [&bytes] {
        std::uint32_t value = 0xFFFF'FFFFU;
        for (std::size_t i = 12; i < 29; ++i) {
            value ^= static_cast<unsigned char>(bytes[i]);
            for (int bit = 0; bit < 8; ++bit)
                value = (value >> 1U) ^ ((value & 1U) != 0 ? 0xEDB8'8320U : 0U);
        }
        return ~value;
    };
    put(29, checkSum());
    const Picture picture = readBytes("a.png", bytes);
    EXPECT_EQ(picture.status, ReadStatus::kTooLarge) << picture.reason.toStdString();
    expectConsistent(picture);
}

TEST_F(PictureReaderTest, GivesNothingForACancelledRequest)
{
    const std::atomic<bool> cancelled = true;
    const QString path =
        QString::fromStdString(m_folder.write("a.png", encoded(slopes(9, 9), "png")));
    const Picture picture = readPicture({path, {}, &cancelled});
    EXPECT_EQ(picture.status, ReadStatus::kCancelled);
    expectConsistent(picture);
}

// Whatever is behind the first bytes of each form, and under whichever name, gives a picture or a
// reason.
TEST_F(PictureReaderTest, SurvivesRandomBytesBehindEveryMagic)
{
    std::mt19937 random(7);
    const std::vector<std::string> magics{"",
        "\xFF\xD8\xFF\xE1",
        "\x89PNG\r\n\x1A\n",
        "GIF89a",
        "BM",
        "RIFF\xFF\xFF\0\0WEBPVP8 ",
        "RIFF\xFF\xFF\0\0AVI LIST",
        std::string("II*\0\x08\0\0\0", 8),
        std::string("MM\0*\0\0\0\x08", 8),
        std::string("II\x1A\0\0\0HEAPCCDR", 14),
        "FUJIFILMCCD-RAW ",
        std::string("\0MRM\0\0\1\0", 8),
        "FOVb",
        std::string("\0\0\0\x18"
                    "ftypheic\0\0\0\0mif1heic",
            24),
        std::string("\0\0\0\x18"
                    "ftypcrx \0\0\0\0crx isom",
            24),
        std::string("\0\0\0\x18"
                    "ftypqt  \0\0\0\0qt  isom",
            24),
        std::string("\0\0\1\xBA", 4),
        "\x1A\x45\xDF\xA3"};
    const std::ptrdiff_t before = test::openDescriptors();
    for (const std::string& magic : magics)
        for (const char* extension : {"jpg", "nef", "dng", "mov", "heic", "tif", "mts", "raf"}) {
            std::string bytes = magic;
            for (int i = 0; i < 3000; ++i)
                bytes.push_back(static_cast<char>(random()));
            expectConsistent(readBytes(std::string("a.") + extension, bytes, {64, 64}));
        }
    expectNoDescriptorIsLeft(before);
}

struct Sample {
    std::string name;
    QSize fullSize;
};

class SampleReaderTest : public PictureReaderTest {
protected:
    void SetUp() override
    {
        if (samplePath("raw").isEmpty())
            GTEST_SKIP() << "MFX_SAMPLES names no folder of sample media";
    }
};

TEST_F(SampleReaderTest, ShowsEveryKindThatCamerasWrite)
{
    const std::vector<Sample> rows{{"raw/CRW_0101.CRW", {2312, 1720}},
        {"raw/CRW_0112.CRW", {2312, 1720}},
        {"raw/P003914.KDC", {1301, 976}},
        {"raw/P003917.KDC", {1301, 976}},
        {"raw/colorchart.dng", {1734, 1156}},
        {"raw/dng_with_preview.dng", {600, 338}},
        {"synthetic/gbrg_rot6.dng", {344, 516}},
        {"synthetic/rggb_odd.dng", {515, 343}},
        {"synthetic/xtrans.dng", {780, 522}},
        {"video/IMG_3589.HEIC", {4032, 3024}},
        {"video/IMG_3589.mov", {1440, 1080}},
        {"video/MVI_0121.AVI", {160, 120}}};
    // The libraries open things of their own for good when they are used first.
    for (const Sample& row : rows)
        read(samplePath(row.name), {128, 128});
    const std::ptrdiff_t before = test::openDescriptors();
    for (const Sample& row : rows)
        for (const int edge : {128, 1000}) {
            const Picture picture = read(samplePath(row.name), {edge, edge});
            expectConsistent(picture);
            EXPECT_EQ(picture.status, ReadStatus::kDone)
                << row.name << ": " << picture.reason.toStdString();
            EXPECT_EQ(picture.fullSize, row.fullSize) << row.name;
            // Half of the size that fits, or more, and never twice of it.
            const QSize fitting = row.fullSize.scaled(edge, edge, Qt::KeepAspectRatio);
            const QSize wanted = fitting.boundedTo(row.fullSize);
            EXPECT_GE(picture.image.width() * 2 + 2, wanted.width()) << row.name;
            EXPECT_LE(picture.image.width(), wanted.width() * 2) << row.name;
            EXPECT_NEAR(1.0 * picture.image.width() / picture.image.height(),
                1.0 * wanted.width() / wanted.height(),
                0.03)
                << row.name;
        }
    expectNoDescriptorIsLeft(before);
}

// Its colours are those of a wide space: a red patch is redder in sRGB than its numbers say.
TEST_F(SampleReaderTest, TurnsTheColoursOfHeifIntoSrgb)
{
    for (const int edge : {128, 1000}) {
        const QImage image = read(samplePath("video/IMG_3589.HEIC"), {edge, edge}).image;
        ASSERT_FALSE(image.isNull());
        const QColor red = image.pixelColor(image.width() * 37 / 100, image.height() * 58 / 100);
        EXPECT_NEAR(red.red(), 0xC5, 4) << edge; // 0xB5 as it is stored
        EXPECT_NEAR(red.green(), 0x2D, 4) << edge; // 0x3B
    }
}

TEST_F(SampleReaderTest, ShowsThePreviewsOfFilesThatAreCut)
{
    for (const char* name : {"damaged/sample.arw", "damaged/sample.cr2"}) {
        const Picture picture = read(samplePath(name), {128, 128});
        EXPECT_EQ(picture.status, ReadStatus::kDone) << name; // their previews stand in front
    }
}

} // namespace
} // namespace pictures
