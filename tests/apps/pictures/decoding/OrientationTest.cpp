#include "pictures/decoding/Orientation.h"

#include "apps/pictures/support/PictureBytes.h"

namespace pictures {
namespace {

using tests::slopes;

// From EXIF's words: which edges of what is seen the stored first row and first column are.
QPoint storedAt(int orientation, QPoint seen, QSize stored)
{
    const int right = stored.width() - 1;
    const int bottom = stored.height() - 1;
    const int x = seen.x();
    const int y = seen.y();
    switch (orientation) {
    case 2:
        return {right - x, y};
    case 3:
        return {right - x, bottom - y};
    case 4:
        return {x, bottom - y};
    case 5:
        return {y, x};
    case 6:
        return {y, bottom - x};
    case 7:
        return {right - y, bottom - x};
    case 8:
        return {right - y, x};
    default:
        return seen;
    }
}

std::optional<int> orientationOf(const std::string& bytes)
{
    return exifOrientation({reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()});
}

const std::string kBig("MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0\x06\0\0", 22);
const std::string kLittle("II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0\x08\0\0\0", 22);

TEST(OrientationTest, TurnsAPictureAsEachOfTheEightSays)
{
    const QImage stored = slopes(12, 8);
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const QImage seen = upright(stored, orientation);
        ASSERT_EQ(seen.size(), uprightSize(stored.size(), orientation)) << orientation;
        for (int y = 0; y < seen.height(); ++y)
            for (int x = 0; x < seen.width(); ++x)
                ASSERT_EQ(
                    seen.pixel(x, y), stored.pixel(storedAt(orientation, {x, y}, stored.size())))
                    << orientation << ": " << x << ", " << y;
    }
}

TEST(OrientationTest, ReadsTheTagInBothByteOrders)
{
    EXPECT_EQ(orientationOf(kBig), 6);
    EXPECT_EQ(orientationOf(kLittle), 8);
}

TEST(OrientationTest, PassesOverOtherTags)
{
    std::string two = kBig.substr(0, 9) + '\x02'
        + std::string("\x01\x0F\0\x02\0\0\0\x01\0\0\0\0", 12) + kBig.substr(10);
    EXPECT_EQ(orientationOf(two), 6);
}

TEST(OrientationTest, FindsNothingInWhatIsCutOrNoneOfTheEight)
{
    for (std::size_t length = 0; length < 20; ++length)
        EXPECT_EQ(orientationOf(kBig.substr(0, length)), std::nullopt) << length;
    for (const char value : {'\0', '\x09'}) {
        std::string bytes = kBig;
        bytes[19] = value;
        EXPECT_EQ(orientationOf(bytes), std::nullopt);
    }
    std::string farAway = kBig;
    farAway[4] = '\xFF';
    EXPECT_EQ(orientationOf(farAway), std::nullopt);
}

TEST(OrientationTest, LooksIntoTheSegmentOfExifOnly)
{
    const auto inSegment = [](const std::string& bytes) {
        return orientationOfSegment(
            {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()});
    };
    EXPECT_EQ(inSegment(std::string("Exif\0\0", 6) + kBig), 6);
    EXPECT_EQ(inSegment(std::string("http\0\0", 6) + kBig), std::nullopt);
    EXPECT_EQ(inSegment(std::string("Exif\0", 5)), std::nullopt);
}

} // namespace
} // namespace pictures
