#include "mfx/engine/card/MediaItem.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace mfx {
namespace {

std::string stemOf(const std::string& name, const std::vector<std::string>& siblings = {})
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
    for (const auto& [name, stem] : rows)
        EXPECT_EQ(stemOf(name), stem) << name;
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
    EXPECT_EQ(mediaKind("CR2"), MediaKind::kRaw);
    EXPECT_EQ(mediaKind("dng"), MediaKind::kRaw);
    EXPECT_EQ(mediaKind("Jpg"), MediaKind::kImage);
    EXPECT_EQ(mediaKind("MOV"), MediaKind::kMovie);
    EXPECT_EQ(mediaKind("wav"), MediaKind::kAudio);
    EXPECT_EQ(mediaKind("THM"), MediaKind::kOther);
    EXPECT_EQ(mediaKind("xmp"), MediaKind::kSidecar);
    EXPECT_EQ(mediaKind("cr2.xmp"), MediaKind::kSidecar);
    EXPECT_EQ(mediaKind(""), MediaKind::kOther);
    EXPECT_EQ(mediaKind("r"), MediaKind::kOther);
    EXPECT_EQ(mediaKind("cr2 crw"), MediaKind::kOther);
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
