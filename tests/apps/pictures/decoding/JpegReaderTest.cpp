#include "pictures/decoding/JpegReader.h"

#include "apps/pictures/support/ReaderFixture.h"
#include "pictures/decoding/Orientation.h"

#include <QColorSpace>

#include <csetjmp>
#include <cstdio>

#include <jpeglib.h>

namespace pictures {
namespace {

using tests::difference;
using tests::encoded;
using tests::expectConsistent;
using tests::slopes;
using tests::withDimensions;
using tests::withOrientation;

class JpegReaderTest : public tests::ReaderFixture { };

// All of one colour in four inks; in the trade's way they are inverted, and a marker says so.
std::string fourInks(bool inverted)
{
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &bytes, &size);
    info.image_width = 16;
    info.image_height = 16;
    info.input_components = 4;
    info.in_color_space = JCS_CMYK;
    jpeg_set_defaults(&info);
    info.write_Adobe_marker = inverted ? TRUE : FALSE;
    jpeg_start_compress(&info, TRUE);
    const unsigned char flip = inverted ? 255 : 0;
    std::vector<JSAMPLE> row;
    for (int x = 0; x < 16; ++x) // no cyan, half magenta, all yellow, no black
        for (const int ink : {0, 128, 255, 0})
            row.push_back(static_cast<JSAMPLE>(ink ^ flip));
    while (info.next_scanline < info.image_height) {
        JSAMPROW pixels = row.data();
        jpeg_write_scanlines(&info, &pixels, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    std::string result(reinterpret_cast<char*>(bytes), size);
    std::free(bytes);
    return result;
}

// The progressive picture with its second scan many times over.
std::string withScans(const std::string& progressive, int count)
{
    const std::string mark("\xFF\xDA", 2);
    const std::size_t first = progressive.find(mark);
    std::size_t second = progressive.find(mark, first + 1);
    std::size_t end = second + 2;
    while (progressive[end] != '\xFF' || progressive[end + 1] == '\0')
        ++end;
    const std::string scan = progressive.substr(second, end - second);
    std::string bomb = progressive.substr(0, end);
    for (int i = 0; i < count; ++i)
        bomb += scan;
    return bomb + progressive.substr(end);
}

TEST_F(JpegReaderTest, GivesThePictureAsItIs)
{
    const QImage image = slopes(64, 48);
    const Picture picture = readBytes("a.jpg", encoded(image, "jpg"));
    EXPECT_EQ(picture.status, ReadStatus::kDone);
    EXPECT_EQ(picture.fullSize, QSize(64, 48));
    EXPECT_EQ(picture.image.format(), QImage::Format_RGB32);
    EXPECT_LE(difference(picture.image, image), 40); // the marked corner's edge
    expectConsistent(picture);
}

TEST_F(JpegReaderTest, ScalesToAtLeastTheBoxAndLessThanTwiceIt)
{
    const std::string bytes = encoded(slopes(800, 600), "jpg");
    for (const int edge : {1, 10, 99, 100, 101, 256, 500, 799, 800, 4000}) {
        const Picture picture = readBytes("a.jpg", bytes, {edge, edge});
        const QSize wanted(std::min(edge, 800), std::max(1, std::min(edge, 800) * 3 / 4));
        EXPECT_GE(picture.image.width(), wanted.width()) << edge;
        EXPECT_GE(picture.image.height(), wanted.height()) << edge;
        EXPECT_LE(picture.image.width(), 2 * wanted.width()) << edge;
        EXPECT_EQ(picture.fullSize, QSize(800, 600));
    }
    EXPECT_EQ(readBytes("a.jpg", bytes, {100, 100}).image.size(), QSize(100, 75));
    const Picture eighth = readBytes("a.jpg", bytes, {100, 100});
    const QImage same =
        slopes(800, 600).scaled(100, 75, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    EXPECT_LE(difference(eighth.image, same), 24);
}

TEST_F(JpegReaderTest, TurnsEachOrientationUprightOnceAtEverySize)
{
    const std::string bytes = encoded(slopes(160, 96), "jpg");
    for (const QSize box : {QSize(), QSize(40, 40)}) {
        const QImage first = readBytes("1.jpg", withOrientation(bytes, 1), box).image;
        ASSERT_FALSE(first.isNull());
        for (int orientation = 2; orientation <= 8; ++orientation) {
            const Picture picture = readBytes("a.jpg", withOrientation(bytes, orientation), box);
            EXPECT_EQ(difference(picture.image, upright(first, orientation)), 0) << orientation;
            EXPECT_EQ(picture.fullSize, uprightSize({160, 96}, orientation)) << orientation;
        }
    }
}

TEST_F(JpegReaderTest, FitsAPictureThatLiesOnItsSideIntoTheUprightBox)
{
    const std::string bytes = withOrientation(encoded(slopes(1600, 800), "jpg"), 6);
    const Picture picture = readBytes("a.jpg", bytes, {50, 100});
    EXPECT_EQ(picture.image.size(), QSize(100, 200)); // an eighth, twice the box
}

TEST_F(JpegReaderTest, TurnsColoursOfAProfileIntoSrgb)
{
    QImage image(32, 32, QImage::Format_RGB32);
    image.fill(qRgb(200, 100, 50));
    const QImage plain = readBytes("a.jpg", encoded(image, "jpg")).image;
    image.setColorSpace(QColorSpace(QColorSpace::AdobeRgb));
    const QImage converted = readBytes("b.jpg", encoded(image, "jpg")).image;
    image.convertToColorSpace(QColorSpace(QColorSpace::SRgb));
    EXPECT_LE(difference(converted, image), 4);
    EXPECT_GT(difference(converted, plain), 10);
    const QImage srgb = readBytes("c.jpg", encoded(image, "jpg")).image;
    EXPECT_LE(difference(srgb, image), 3);
}

TEST_F(JpegReaderTest, ShowsFourInksInBothWays)
{
    for (const bool inverted : {false, true}) {
        const Picture picture = readBytes("a.jpg", fourInks(inverted));
        ASSERT_EQ(picture.status, ReadStatus::kDone) << picture.reason.toStdString();
        QImage wanted(16, 16, QImage::Format_RGB32);
        wanted.fill(qRgb(255, 127, 0));
        EXPECT_LE(difference(picture.image, wanted), 4) << inverted;
    }
}

TEST_F(JpegReaderTest, ShowsGreyPictures)
{
    QImage grey = slopes(40, 30).convertToFormat(QImage::Format_Grayscale8);
    const Picture picture = readBytes("a.jpg", encoded(grey, "jpg"));
    EXPECT_LE(difference(picture.image, grey.convertToFormat(QImage::Format_RGB32)), 40);
}

TEST_F(JpegReaderTest, ShowsProgressivePicturesAndRefusesTheirBombs)
{
    const std::string progressive = encoded(slopes(640, 480), "jpg", true);
    EXPECT_EQ(readBytes("a.jpg", progressive).status, ReadStatus::kDone);
    EXPECT_EQ(readBytes("b.jpg", withScans(progressive, 20)).status, ReadStatus::kDone);
    const Picture bomb = readBytes("c.jpg", withScans(progressive, 1000));
    EXPECT_EQ(bomb.status, ReadStatus::kBroken);
    expectConsistent(bomb);
}

TEST_F(JpegReaderTest, RefusesHeadersOfPicturesThatWouldFillTheMemory)
{
    for (const bool progressive : {false, true})
        for (const QSize box : {QSize(), QSize(256, 256)}) {
            const std::string bytes = encoded(slopes(64, 64), "jpg", progressive);
            const Picture picture = readBytes("a.jpg", withDimensions(bytes, 60'000, 60'000), box);
            EXPECT_EQ(picture.status, ReadStatus::kTooLarge);
            expectConsistent(picture);
        }
}

// A header may promise more than follows: what is missing costs no time.
TEST_F(JpegReaderTest, FillsUpWhatIsMissingWithGrey)
{
    const std::string bytes = withDimensions(encoded(slopes(64, 64), "jpg"), 64, 30'000);
    const Picture picture = readBytes("a.jpg", bytes);
    ASSERT_EQ(picture.status, ReadStatus::kDone);
    EXPECT_LE(difference(picture.image.copy(0, 0, 64, 56), slopes(64, 64).copy(0, 0, 64, 56)), 40);
    EXPECT_EQ(picture.image.pixel(5, 29'000), qRgb(128, 128, 128));
}

TEST_F(JpegReaderTest, GivesWhatThereIsOfACutFile)
{
    for (const bool progressive : {false, true}) {
        const std::string bytes = encoded(slopes(48, 48), "jpg", progressive);
        int shown = 0;
        for (std::size_t length = 0; length < bytes.size(); ++length) {
            const Picture picture = readBytes("a.jpg", bytes.substr(0, length));
            expectConsistent(picture);
            shown += picture.status == ReadStatus::kDone ? 1 : 0;
        }
        EXPECT_GT(shown, 100) << progressive;
        EXPECT_EQ(readBytes("b.jpg", bytes.substr(0, 200)).status, ReadStatus::kBroken);
        EXPECT_EQ(readBytes("c.jpg", bytes.substr(0, bytes.size() - 2)).status, ReadStatus::kDone);
    }
}

TEST_F(JpegReaderTest, GivesNothingOfAFileThatEndsBeforeTheFirstRowOfBlocks)
{
    for (const bool progressive : {false, true}) {
        const std::string bytes = encoded(slopes(48, 48), "jpg", progressive);
        const std::size_t scan = bytes.find("\xFF\xDA");
        ASSERT_NE(scan, std::string::npos);
        const Picture picture = readBytes("a.jpg", bytes.substr(0, scan + 16));
        EXPECT_EQ(picture.status, ReadStatus::kBroken) << progressive;
        expectConsistent(picture);
    }
}

TEST_F(JpegReaderTest, LosesNothingOfAPictureWithoutItsEndMarker)
{
    for (const QSize box : {QSize(), QSize(16, 16)}) {
        const std::string bytes = encoded(slopes(128, 128), "jpg");
        const QImage whole = readBytes("a.jpg", bytes, box).image;
        const QImage cut = readBytes("b.jpg", bytes.substr(0, bytes.size() - 2), box).image;
        EXPECT_EQ(difference(whole, cut), 0);
    }
}

TEST_F(JpegReaderTest, ReadsTheFirstPictureOfSeveral)
{
    const std::string first = encoded(slopes(64, 48), "jpg");
    const Picture picture = readBytes("a.mpo", first + encoded(slopes(20, 20), "jpg"));
    EXPECT_EQ(picture.image.size(), QSize(64, 48));
}

TEST_F(JpegReaderTest, RefusesAPictureWithoutPixels)
{
    const std::string bytes = encoded(slopes(16, 16), "jpg");
    EXPECT_EQ(readBytes("a.jpg", withDimensions(bytes, 0, 16)).status, ReadStatus::kBroken);
    EXPECT_EQ(readBytes("b.jpg", "").status, ReadStatus::kBroken);
}

// Asks for cancellation once it was asked for the second piece.
class CancellingBytes final : public ByteSource {
public:
    CancellingBytes(const std::string& bytes, std::atomic<bool>& cancelled)
        : m_left(bytes)
        , m_cancelled(cancelled)
    {
    }

    std::span<const unsigned char> next() override
    {
        m_cancelled = m_pieces++ > 0;
        const std::size_t count = std::min<std::size_t>(m_left.size(), 4096);
        const std::span piece(reinterpret_cast<const unsigned char*>(m_left.data()), count);
        m_left.remove_prefix(count);
        return piece;
    }
    bool hasFailed() const override { return false; }
    std::size_t left() const { return m_left.size(); }

private:
    std::string_view m_left;
    std::atomic<bool>& m_cancelled;
    int m_pieces = 0;
};

TEST_F(JpegReaderTest, GivesUpBetweenRowsWhenItIsCancelled)
{
    for (const bool progressive : {false, true}) {
        const std::string bytes = encoded(slopes(1000, 1000), "jpg", progressive);
        std::atomic<bool> cancelled = false;
        CancellingBytes source(bytes, cancelled);
        const Picture picture = readJpeg(source, {{}, {}, &cancelled});
        EXPECT_EQ(picture.status, ReadStatus::kCancelled);
        EXPECT_GT(source.left(), bytes.size() / 2);
        expectConsistent(picture);
    }
}

class FailingBytes final : public ByteSource {
public:
    explicit FailingBytes(std::span<const unsigned char> bytes)
        : m_bytes(bytes)
    {
    }
    std::span<const unsigned char> next() override
    {
        m_failed = m_bytes.empty();
        return std::exchange(m_bytes, {});
    }
    bool hasFailed() const override { return m_failed; }

private:
    std::span<const unsigned char> m_bytes;
    bool m_failed = false;
};

// A card that was pulled out is no damaged picture: asking again may help.
TEST_F(JpegReaderTest, TellsAFailedReadFromDamage)
{
    const std::string bytes = encoded(slopes(100, 100), "jpg");
    FailingBytes source({reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size() / 2});
    EXPECT_EQ(readJpeg(source, {}).status, ReadStatus::kUnreadable);
}

TEST_F(JpegReaderTest, ShowsTheSamples)
{
    if (tests::samplePath("jpeg").isEmpty())
        GTEST_SKIP() << "MFX_SAMPLES names no folder of sample media";
    const std::vector<std::pair<std::string, QSize>> rows{{"jpeg/Portrait_6.jpg", {1200, 1800}},
        {"jpeg/Landscape_3.jpg", {1800, 1200}},
        {"raw/CRW_0101.THM", {160, 120}},
        {"jpeg/IMG_0108.JPG", {2272, 1704}}};
    for (const auto& [name, size] : rows) {
        const Picture picture = read(tests::samplePath(name), {160, 160});
        EXPECT_EQ(picture.status, ReadStatus::kDone) << name;
        EXPECT_EQ(picture.fullSize, size) << name;
        EXPECT_GE(std::max(picture.image.width(), picture.image.height()), 160) << name;
    }
}

} // namespace
} // namespace pictures
