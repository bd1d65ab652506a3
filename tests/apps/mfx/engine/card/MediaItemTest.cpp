#include "mfx/engine/card/MediaItem.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace mfx {
namespace {

std::string stemOf(std::string const& name, std::vector<std::string> const& siblings = {})
{
    return name.substr(0, stemLength(name, [&siblings](std::string_view other) {
        return std::find(siblings.begin(), siblings.end(), other) != siblings.end();
    }));
}

TEST(MediaItemTest, SplitsAtTheLastDot)
{
    const std::vector<std::pair<std::string, std::string>> rows{
        {"IMG_1.JPG", "IMG_1"},
        {"my.trip.jpg", "my.trip"},
        {"a..jpg", "a."},
        {"noextension", "noextension"},
        {".hidden", ".hidden"},
        {".hidden.jpg", ".hidden"},
        {"trailing.", "trailing."},
        {"a.", "a."},
        {".", "."},
        {"..", ".."},
        {"", ""},
        {"a." + std::string(32, 'x'), "a"},
        {"a." + std::string(33, 'x'), "a." + std::string(33, 'x')},
        {"\xFF.\xFE", "\xFF"},
    };
    for (auto const& [name, stem] : rows) {
        EXPECT_EQ(stemOf(name), stem) << name;
    }
}

TEST(MediaItemTest, GivesASidecarTheStemOfWhatItBelongsTo)
{
    EXPECT_EQ(stemOf("a.xmp"), "a");
    EXPECT_EQ(stemOf("a.cr2.xmp"), "a");
    EXPECT_EQ(stemOf("a.JPG.XMP"), "a");
    EXPECT_EQ(stemOf("my.trip.nef.xmp"), "my.trip");
    EXPECT_EQ(stemOf("a.zzz.xmp", {"a.zzz"}), "a"); // a new raw form lies beside it
}

TEST(MediaItemTest, LeavesADotInASidecarsStemThatNamesNoMedia)
{
    EXPECT_EQ(stemOf("my.trip.xmp"), "my.trip");
    EXPECT_EQ(stemOf("a.zzz.xmp", {"b.zzz"}), "a.zzz");
    EXPECT_EQ(stemOf("a.toolong.xmp", {"a.toolong"}), "a.toolong");
    EXPECT_EQ(stemOf("a.b c.xmp", {"a.b c"}), "a.b c");
    EXPECT_EQ(stemOf("a.cr2.jpg"), "a.cr2"); // no sidecar
    EXPECT_EQ(stemOf(".cr2.xmp"), ".cr2");
    EXPECT_EQ(stemOf("a..xmp"), "a.");
}

TEST(MediaItemTest, KnowsTheKindByTheExtension)
{
    EXPECT_EQ(mediaKind("CR2"), MediaKind::Raw);
    EXPECT_EQ(mediaKind("dng"), MediaKind::Raw);
    EXPECT_EQ(mediaKind("Jpg"), MediaKind::Image);
    EXPECT_EQ(mediaKind("MOV"), MediaKind::Movie);
    EXPECT_EQ(mediaKind("wav"), MediaKind::Audio);
    EXPECT_EQ(mediaKind("THM"), MediaKind::Other);
    EXPECT_EQ(mediaKind("xmp"), MediaKind::Sidecar);
    EXPECT_EQ(mediaKind("cr2.xmp"), MediaKind::Sidecar);
    EXPECT_EQ(mediaKind(""), MediaKind::Other);
    EXPECT_EQ(mediaKind("r"), MediaKind::Other);
    EXPECT_EQ(mediaKind("cr2 crw"), MediaKind::Other);
}

TEST(MediaItemTest, KnowsTheCompanionsOfAMovieFromOtherOthers)
{
    for (const char* extension : {"thm", "THM", "LRV", "glv"})
        EXPECT_TRUE(isMovieCompanion(extension)) << extension;
    for (const char* extension : {"", "txt", "xmp", "mp4", "thm.xmp"})
        EXPECT_FALSE(isMovieCompanion(extension)) << extension;
}

} // namespace
} // namespace mfx
