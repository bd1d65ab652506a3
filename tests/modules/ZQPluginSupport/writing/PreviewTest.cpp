#include "ZQPluginSupport/writing/Preview.h"

#include <gmock/gmock.h>

namespace dng {
namespace {

using testing::Each;
using testing::ElementsAre;

RenderedPicture flat(std::uint32_t width, std::uint32_t height, std::uint8_t value)
{
    return {width, height, std::vector<std::uint8_t>(std::size_t{width} * height * 3, value)};
}

TEST(PreviewTest, PixelsAreTheMeanOfWhatTheyCover)
{
    const RenderedPicture picture{2, 2, {0, 0, 0, 100, 0, 0, 0, 0, 0, 100, 200, 0}};
    EXPECT_THAT(scaled(picture, 1, 1).bytes, ElementsAre(50, 50, 0));
    EXPECT_THAT(scaled(picture, 2, 1).bytes, ElementsAre(0, 0, 0, 100, 100, 0));
}

TEST(PreviewTest, AFlatPictureStaysFlatAtAnySize)
{
    for (const std::uint32_t width : {1U, 7U, 100U, 333U})
        EXPECT_THAT(scaled(flat(100, 61, 77), width, 9).bytes, Each(77)) << width;
}

TEST(PreviewTest, FitsInProportion)
{
    const RenderedPicture wide = fitted(flat(3000, 2000, 1), 1024);
    EXPECT_EQ(wide.width, 1024U);
    EXPECT_EQ(wide.height, 683U);
    const RenderedPicture tall = fitted(flat(20, 3000, 1), 256);
    EXPECT_EQ(tall.width, 2U);
    EXPECT_EQ(tall.height, 256U);
    EXPECT_EQ(fitted(flat(1, 3000, 1), 256).width, 1U);
}

TEST(PreviewTest, ASmallPictureStays)
{
    EXPECT_EQ(fitted(flat(30, 20, 1), 1024).width, 30U);
}

TEST(PreviewTest, IsAJpegFile)
{
    const std::vector<std::uint8_t> file = jpegOf(flat(30, 20, 1), 85);
    ASSERT_GT(file.size(), 100U);
    EXPECT_EQ(file[0], 0xff);
    EXPECT_EQ(file[1], 0xd8);
    EXPECT_EQ(file[file.size() - 2], 0xff);
    EXPECT_EQ(file.back(), 0xd9);
    EXPECT_EQ(jpegOf(flat(30, 20, 1), 85), file);
}

} // namespace
} // namespace dng
