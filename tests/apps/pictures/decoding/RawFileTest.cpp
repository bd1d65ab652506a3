#include "pictures/decoding/RawFile.h"

#include "apps/pictures/support/ReaderFixture.h"
#include "pictures/decoding/Orientation.h"

namespace pictures {
namespace {

using tests::difference;
using tests::encoded;
using tests::slopes;

Picture preview(const std::string& jpeg, int orientation, QSize raw)
{
    return readPreview(
        {reinterpret_cast<const unsigned char*>(jpeg.data()), jpeg.size()}, {}, orientation, raw);
}

TEST(RawFileTest, TurnsAPreviewAsTheRawFileSays)
{
    const std::string jpeg = encoded(slopes(60, 40), "jpg");
    const QImage stored = preview(jpeg, 1, {600, 400}).image;
    for (const int orientation : {3, 6, 8}) {
        const QSize raw = uprightSize({600, 400}, orientation);
        EXPECT_EQ(
            difference(preview(jpeg, orientation, raw).image, upright(stored, orientation)), 0)
            << orientation;
    }
}

TEST(RawFileTest, FollowsThePreviewsOwnOrientation)
{
    const std::string jpeg = tests::withOrientation(encoded(slopes(60, 40), "jpg"), 8);
    const QImage stored = preview(encoded(slopes(60, 40), "jpg"), 1, {600, 400}).image;
    EXPECT_EQ(difference(preview(jpeg, 1, {600, 400}).image, upright(stored, 8)), 0);
    EXPECT_EQ(difference(preview(jpeg, 3, {600, 400}).image, upright(stored, 8)), 0);
}

TEST(RawFileTest, LeavesAPreviewThatStandsUprightAlready)
{
    const std::string jpeg = encoded(slopes(40, 60), "jpg");
    EXPECT_EQ(preview(jpeg, 6, {400, 600}).image.size(), QSize(40, 60));
    EXPECT_EQ(preview(encoded(slopes(60, 40), "jpg"), 6, {400, 600}).image.size(), QSize(40, 60));
}

} // namespace
} // namespace pictures
