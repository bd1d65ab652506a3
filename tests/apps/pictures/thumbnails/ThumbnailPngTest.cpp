#include "pictures/thumbnails/ThumbnailPng.h"

#include "apps/pictures/support/PictureBytes.h"

#include <random>

namespace pictures {
namespace {

using tests::difference;
using tests::slopes;

QByteArray png()
{
    return thumbnailPng(slopes(60, 40), {{"Thumb::URI", "file:///a"}, {"Software", "x"}});
}

TEST(ThumbnailPngTest, GivesBackImageAndTexts)
{
    const auto image = thumbnailImage(png(), 128);
    ASSERT_TRUE(image.has_value());
    EXPECT_EQ(difference(*image, slopes(60, 40)), 0);
    EXPECT_EQ(image->text(QStringLiteral("Thumb::URI")), QStringLiteral("file:///a"));
    EXPECT_EQ(image->text(QStringLiteral("Software")), QStringLiteral("x"));
}

TEST(ThumbnailPngTest, KeepsTheHolesOfAnImage)
{
    QImage holes = slopes(9, 9).convertToFormat(QImage::Format_ARGB32_Premultiplied);
    holes.setPixel(3, 3, 0);
    const auto image = thumbnailImage(thumbnailPng(holes, {}), 128);
    ASSERT_TRUE(image.has_value());
    EXPECT_EQ(qAlpha(image->pixel(3, 3)), 0);
    EXPECT_EQ(qAlpha(image->pixel(4, 3)), 255);
}

// Other programs read them without unpacking anything: long ones are no exception.
TEST(ThumbnailPngTest, WritesPlainTexts)
{
    QImage image = slopes(9, 9);
    image.setText(QStringLiteral("Other"), QStringLiteral("not ours"));
    const QByteArray uri = "file:///" + QByteArray(500, 'a');
    const QByteArray bytes = thumbnailPng(image, {{"Thumb::URI", uri}});
    EXPECT_TRUE(bytes.contains(QByteArray("tEXtThumb::URI\0", 15) + uri));
    EXPECT_FALSE(bytes.contains("zTXt"));
    EXPECT_FALSE(bytes.contains("not ours"));
}

TEST(ThumbnailPngTest, ReadsPackedTextsOfOtherPrograms)
{
    QImage image = slopes(9, 9);
    const QString uri = QStringLiteral("file:///") + QString(500, u'a');
    image.setText(QStringLiteral("Thumb::URI"), uri);
    const std::string bytes = tests::encoded(image, "png");
    ASSERT_NE(bytes.find("zTXt"), std::string::npos);
    const auto read = thumbnailImage(QByteArray::fromStdString(bytes), 128);
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->text(QStringLiteral("Thumb::URI")), uri);
}

TEST(ThumbnailPngTest, RefusesWhatIsLargerThanItMayBeBeforeDecoding)
{
    EXPECT_TRUE(thumbnailImage(thumbnailPng(slopes(128, 1), {}), 128).has_value());
    EXPECT_FALSE(thumbnailImage(thumbnailPng(slopes(129, 1), {}), 128).has_value());
    EXPECT_FALSE(thumbnailImage(thumbnailPng(slopes(1, 129), {}), 128).has_value());
    QByteArray bomb = png();
    bomb.replace(16, 8, QByteArray("\x7F\xFF\xFF\xFF\x7F\xFF\xFF\xFF", 8));
    EXPECT_FALSE(thumbnailImage(bomb, 1024).has_value());
    EXPECT_TRUE(thumbnailPng({}, {}).isEmpty());
}

TEST(ThumbnailPngTest, SurvivesDamage)
{
    const QByteArray whole = png();
    for (qsizetype length = 0; length < whole.size(); ++length) {
        const auto image = thumbnailImage(whole.left(length), 128);
        EXPECT_TRUE(!image || image->size() == QSize(60, 40)) << length;
    }
    std::mt19937 random(3);
    for (int i = 0; i < 500; ++i) {
        QByteArray damaged = whole;
        damaged[static_cast<qsizetype>(random() % static_cast<unsigned>(whole.size()))] =
            static_cast<char>(random());
        const auto image = thumbnailImage(damaged, 128);
        EXPECT_TRUE(!image || image->width() <= 128);
    }
    EXPECT_FALSE(thumbnailImage(QByteArray::fromStdString(tests::encoded(slopes(9, 9), "jpg")), 128)
                     .has_value());
}

} // namespace
} // namespace pictures
