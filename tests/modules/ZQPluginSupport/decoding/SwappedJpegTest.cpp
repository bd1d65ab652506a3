#include "ZQPluginSupport/decoding/SwappedJpeg.h"

#include "ZQPluginSupport/writing/Preview.h"

#include <gtest/gtest.h>

namespace dng {
namespace {

std::vector<std::byte> swappedJpeg()
{
    RenderedPicture picture{64, 48, {}};
    for (std::uint32_t i = 0; i < 64 * 48 * 3; ++i)
        picture.bytes.push_back(static_cast<std::uint8_t>(i * 7 % 251));
    std::vector<std::uint8_t> jpeg = jpegOf(picture, 90);
    jpeg.resize((jpeg.size() + 1) & ~std::size_t{1});
    std::vector<std::byte> swapped(jpeg.size());
    for (std::size_t i = 0; i < jpeg.size(); ++i)
        swapped[i] = static_cast<std::byte>(jpeg[i ^ 1U]);
    return swapped;
}

TEST(SwappedJpegTest, IsWholeToItsEnd)
{
    std::vector<std::byte> jpeg = swappedJpeg();
    EXPECT_TRUE(isWholeSwappedJpeg(jpeg));
    jpeg.resize(jpeg.size() + 1001, std::byte{0x5a});
    EXPECT_TRUE(isWholeSwappedJpeg(jpeg)) << "what stands behind it does not matter";
}

TEST(SwappedJpegTest, IsNotWholeWhereverItIsCut)
{
    const std::vector<std::byte> jpeg = swappedJpeg();
    for (std::size_t length = 0; length + 4 < jpeg.size(); ++length)
        EXPECT_FALSE(isWholeSwappedJpeg(std::span(jpeg).first(length))) << length;
}

TEST(SwappedJpegTest, IsNotWholeWithAHole)
{
    std::vector<std::byte> jpeg = swappedJpeg();
    std::fill_n(jpeg.begin() + static_cast<std::ptrdiff_t>(jpeg.size() / 2), 200, std::byte{0});
    EXPECT_FALSE(isWholeSwappedJpeg(jpeg));
}

TEST(SwappedJpegTest, IsNoOtherFile)
{
    EXPECT_FALSE(isWholeSwappedJpeg({}));
    const std::vector<std::byte> noise(1000, std::byte{0x37});
    EXPECT_FALSE(isWholeSwappedJpeg(noise));
}

} // namespace
} // namespace dng
