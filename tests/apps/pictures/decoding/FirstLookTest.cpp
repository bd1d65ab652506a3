#include "pictures/decoding/FirstLook.h"

#include "apps/pictures/support/ReaderFixture.h"
#include "pictures/decoding/Orientation.h"

namespace pictures {
namespace {

using namespace tests;

constexpr QSize kFull(240, 160);

class FirstLookTest : public ReaderFixture {
protected:
    Picture look(const std::string& bytes, const std::string& name = "a.jpg") const
    {
        return lookAtFile(QString::fromStdString(m_folder.write(name, bytes)));
    }
    static Picture lookAtFile(const QString& path)
    {
        Picture picture = firstLook({path, {}, nullptr});
        expectConsistent(picture);
        return picture;
    }
    Picture lookAt(const QImage& thumbnail, int orientation = 1, QSize full = kFull) const
    {
        return look(withThumbnail(encoded(slopes(full.width(), full.height()), "jpg"),
            encoded(thumbnail, "jpg"),
            orientation));
    }
};

QImage filled(QSize size, QColor color)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(color);
    return image;
}

TEST_F(FirstLookTest, IsTheSmallPictureInTheExif)
{
    const Picture picture = lookAt(slopes(60, 40));
    ASSERT_EQ(picture.status, ReadStatus::kDone);
    EXPECT_EQ(picture.fullSize, kFull);
    EXPECT_LT(difference(picture.image, slopes(60, 40)), 40);
}

TEST_F(FirstLookTest, StandsUpright)
{
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const Picture picture = lookAt(slopes(60, 40), orientation);
        ASSERT_EQ(picture.status, ReadStatus::kDone) << orientation;
        EXPECT_EQ(picture.fullSize, uprightSize(kFull, orientation));
        EXPECT_LT(difference(picture.image, upright(slopes(60, 40), orientation)), 40)
            << orientation;
    }
}

// As cameras write them: 160 x 120, whatever the picture is.
TEST_F(FirstLookTest, IsCutToThePartThatThePictureShows)
{
    QImage barred = filled({160, 120}, Qt::black);
    for (int y = 0; y < 120; ++y)
        for (int x = 0; x < 160; ++x)
            if (y >= 7 && y < 113)
                barred.setPixelColor(x, y, Qt::red);
    const Picture picture = lookAt(barred);
    ASSERT_EQ(picture.image.size(), QSize(160, 106));
    for (const int y : {2, 50, 104})
        EXPECT_GT(picture.image.pixelColor(80, y).red(), 200) << y;
}

TEST_F(FirstLookTest, IsNothingWhereTheSmallPictureShowsSomethingElse)
{
    EXPECT_EQ(lookAt(slopes(40, 60)).status, ReadStatus::kBroken);
    EXPECT_EQ(lookAt(slopes(90, 30)).status, ReadStatus::kBroken);
    EXPECT_EQ(lookAt(slopes(60, 60)).status, ReadStatus::kDone);
}

TEST_F(FirstLookTest, IsNothingWithoutASmallPicture)
{
    const std::string plain = encoded(slopes(240, 160), "jpg");
    EXPECT_EQ(look(plain).status, ReadStatus::kBroken);
    EXPECT_EQ(look(withOrientation(plain, 6)).status, ReadStatus::kBroken);
    EXPECT_EQ(look(withThumbnail(plain, "no picture")).status, ReadStatus::kBroken);
    EXPECT_EQ(look(encoded(slopes(24, 16), "png"), "a.png").status, ReadStatus::kBroken);
    EXPECT_EQ(look("").status, ReadStatus::kBroken);
    EXPECT_EQ(lookAtFile(QStringLiteral("/none.jpg")).status, ReadStatus::kBroken);
}

TEST_F(FirstLookTest, IsNothingThatTakesLong)
{
    const std::string plain = encoded(slopes(240, 160), "jpg");
    const std::string vast = withDimensions(encoded(slopes(24, 16), "jpg"), 60'000, 40'000);
    EXPECT_EQ(look(withThumbnail(plain, vast)).status, ReadStatus::kBroken);
}

TEST_F(FirstLookTest, IsThereWhateverBecameOfTheRest)
{
    const std::string whole =
        withThumbnail(encoded(slopes(240, 160), "jpg"), encoded(slopes(60, 40), "jpg"));
    const std::size_t scan = whole.rfind("\xFF\xDA");
    EXPECT_EQ(look(whole.substr(0, scan + 20)).status, ReadStatus::kDone);
    for (std::size_t length = 0; length < scan; length += 7)
        look(whole.substr(0, length));
}

} // namespace
} // namespace pictures
