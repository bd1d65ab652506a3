#include "pictures/decoding/PngChunks.h"

#include "apps/pictures/support/ReaderFixture.h"

#include <QBuffer>
#include <QtEndian>

namespace pictures {
namespace {

using tests::encoded;
using tests::slopes;

// The check sum is not looked at here.
std::string chunk(const std::string& type, const std::string& contents, std::uint32_t length)
{
    std::string head(4, '\0');
    qToBigEndian(length, head.data());
    return head + type + contents + std::string(4, '\0');
}

std::string chunk(const std::string& type, const std::string& contents)
{
    return chunk(type, contents, static_cast<std::uint32_t>(contents.size()));
}

// Put behind the header.
std::string pngWith(const std::string& chunk)
{
    std::string png = encoded(slopes(9, 9), "png");
    return png.insert(33, chunk);
}

bool isSound(const std::string& bytes)
{
    QBuffer device;
    device.setData(QByteArray::fromStdString(bytes));
    device.open(QIODevice::ReadOnly);
    const bool sound = hasSoundPngChunks(device);
    EXPECT_EQ(device.pos(), 0);
    return sound;
}

const std::string kLong(600'000, 'x');

TEST(PngChunksTest, LetsPicturesThrough)
{
    EXPECT_TRUE(isSound(encoded(slopes(300, 200), "png")));
    EXPECT_TRUE(isSound(encoded(slopes(300, 200), "jpg")));
    EXPECT_TRUE(isSound(""));
    EXPECT_TRUE(isSound(pngWith(chunk("tEXt", kLong))));
    EXPECT_TRUE(isSound(pngWith(chunk("iTXt", std::string("XML:adobe\0\0\0\0\0", 14) + kLong))));
    EXPECT_TRUE(isSound(pngWith(chunk("zTXt", "short"))));
}

TEST(PngChunksTest, StopsAChunkThatIsLongerThanTheFile)
{
    EXPECT_FALSE(isSound(pngWith(chunk("tEXt", "short", 0x4000'0000))));
    EXPECT_FALSE(isSound(pngWith(chunk("zzzz", "short", 0xFFFF'FFFF))));
}

TEST(PngChunksTest, StopsWhatWouldGrowBeyondMeasure)
{
    EXPECT_FALSE(isSound(pngWith(chunk("zTXt", kLong))));
    EXPECT_FALSE(isSound(pngWith(chunk("iCCP", kLong))));
    EXPECT_FALSE(isSound(pngWith(chunk("iTXt", std::string("key\0\1\0\0\0", 8) + kLong))));
    EXPECT_FALSE(isSound(pngWith(chunk("iTXt", kLong))));
}

TEST(PngChunksTest, LeavesACutPictureToItsReader)
{
    const std::string whole = encoded(slopes(300, 200), "png");
    EXPECT_TRUE(isSound(whole.substr(0, whole.size() / 2)));
}

class PngBombTest : public tests::ReaderFixture { };

TEST_F(PngBombTest, IsNoPicture)
{
    const Picture picture = readBytes("a.png", pngWith(chunk("tEXt", "short", 0x4000'0000)));
    EXPECT_EQ(picture.status, ReadStatus::kBroken);
}

} // namespace
} // namespace pictures
