#include "mfx/engine/dates/ExifLibrary.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace mfx {

namespace {

std::span<const unsigned char> bytesOf(const std::string& text)
{
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

// The library's readers of movies loop for ever over some damaged ones. It knows a movie by as few
// as two bytes.
TEST(ExifLibraryTest, OpensNothingThatTheLibraryTakesForAMovie)
{
    const std::string rest(200, '\x10');
    const std::string asf("\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C", 16);
    const std::string quickTime("\0\0\0\x20moov\0\0\0\x10mvhd", 16);
    const ExifTurn turn;
    for (const std::string& beginning : {std::string("RIFFv1\0\0AnI LIST", 16),
             std::string("RI\xFF"
                         "Fv1\0\0AVI LIST",
                 16),
             std::string("\x1A\x45\xDF\xA3"),
             asf,
             quickTime}) {
        const std::string movie = beginning + rest;
        EXPECT_ANY_THROW(openPhoto(bytesOf(movie))) << beginning;
    }
}

TEST(ExifLibraryTest, ShowsNothingOfAMovieThatPosesAsAPhoto)
{
    std::istringstream stream(std::string("RIFFv1\0\0AnI LIST", 16) + std::string(1000, '\1'));
    int looks = 0;
    lookAtExif(stream, [&looks](Exiv2::Image&, bool) {
        ++looks;
        return false;
    });
    EXPECT_EQ(looks, 0);
}

} // namespace

} // namespace mfx
