#include "pictures/decoding/ExifSegment.h"

#include "apps/pictures/support/PictureBytes.h"

#include <gtest/gtest.h>

namespace pictures {
namespace {

std::span<const unsigned char> bytesOf(const std::string& text)
{
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

std::string textOf(std::span<const unsigned char> bytes)
{
    return {bytes.begin(), bytes.end()};
}

// The EXIF of a JPEG that has nothing else: behind two markers and a length.
std::string exifWith(const std::string& thumbnail)
{
    return tests::withThumbnail("\xFF\xD8", thumbnail).substr(6 + 6);
}

std::string thumbnailIn(const std::string& tiff)
{
    return textOf(exifThumbnail(bytesOf(tiff)));
}

TEST(ExifSegmentTest, IsBehindItsNameAndAByte)
{
    const auto block = [](const std::string& segment) {
        return textOf(exifOfSegment(bytesOf(segment)));
    };
    EXPECT_EQ(block(std::string("Exif\0\0MM", 8)), "MM");
    EXPECT_EQ(block(std::string("Exif\0xMM", 8)), "MM") << "whatever the byte is";
    EXPECT_EQ(block(std::string("Exif\0\0", 6)), "");
    EXPECT_EQ(block(std::string("Exif\0", 5)), "");
    EXPECT_EQ(block(std::string("Exix\0\0MM", 8)), "");
    EXPECT_EQ(block(""), "");
}

TEST(ExifSegmentTest, HasTheThumbnailOfItsSecondDirectory)
{
    EXPECT_EQ(thumbnailIn(exifWith("a small picture")), "a small picture");
    EXPECT_EQ(thumbnailIn(exifWith("")), "");
}

TEST(ExifSegmentTest, HasNoneThatIsNotWhole)
{
    const std::string whole = exifWith("a small picture");
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_EQ(thumbnailIn(whole.substr(0, length)), "") << length;
}

TEST(ExifSegmentTest, HasNoneWithoutASecondDirectory)
{
    const std::string one("MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0\x06\0\0\0\0\0\0", 26);
    EXPECT_EQ(thumbnailIn(one), "");
}

} // namespace
} // namespace pictures
