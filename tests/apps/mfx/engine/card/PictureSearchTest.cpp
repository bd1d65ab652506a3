#include "mfx/engine/card/PictureSearch.h"

#include "apps/mfx/engine/CardFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::SizeIs;

namespace mfx {
namespace {

const std::string kJpeg("\xFF\xD8\xFF\xE0picture");
const std::string kNotes("\0\5\26\7notes", 9);

class PictureSearchTest : public testing::Test {
protected:
    bool isOne(const std::string& name, const std::string& bytes)
    {
        card.add(name, bytes);
        return isPicture(card.path(name));
    }

    tests::TestCard card;
};

TEST_F(PictureSearchTest, KnowsPicturesByNameOrByTheirFirstBytes)
{
    EXPECT_TRUE(isOne("a.JPG", "anything"));
    EXPECT_TRUE(isOne("a.cr2", "anything"));
    EXPECT_TRUE(isOne("0001", kJpeg));
    EXPECT_TRUE(isOne("0002", std::string("II*\0rest", 8)));
    EXPECT_TRUE(isOne("0003",
        std::string("\0\0\0\x18"
                    "ftypmp42",
            12)));
    EXPECT_TRUE(isOne("0004", "RIFFxxxxWAVEfmt "));
    EXPECT_FALSE(isOne("0005", "RIFFxxxxWEBP"));
    EXPECT_FALSE(isOne("notes.txt", "text"));
    EXPECT_FALSE(isOne("a.xmp", "<xmp/>"));
}

TEST_F(PictureSearchTest, TellsAPictureFromASystemsNotesOnOne)
{
    EXPECT_TRUE(isOne("._a.JPG", kJpeg));
    EXPECT_FALSE(isOne("._b.JPG", kNotes));
    EXPECT_FALSE(isOne("empty.JPG", ""));
}

TEST_F(PictureSearchTest, CountsAllBelowAFolderAndNamesTheFirstFew)
{
    for (int i = 0; i < 7; ++i)
        card.add("LOST.DIR/deep/" + std::to_string(i), kJpeg);
    card.add("LOST.DIR/text", "text");
    const FoundPictures found = picturesBelow(card.path(), "LOST.DIR");
    EXPECT_EQ(found.count, 7U);
    EXPECT_THAT(found.names, SizeIs(5));
    EXPECT_EQ(found.names.front().rfind("LOST.DIR/deep/", 0), 0U);
}

TEST_F(PictureSearchTest, TakesSmallPicturesAmongThumbnailsForThumbnails)
{
    card.add("M4ROOT/THMBNL/C0001T01.JPG", kJpeg);
    card.add("M4ROOT/THMBNL/large.JPG", kJpeg + std::string(200'000, 'x'));
    EXPECT_THAT(
        picturesBelow(card.path(), "M4ROOT/THMBNL").names, ElementsAre("M4ROOT/THMBNL/large.JPG"));
}

TEST_F(PictureSearchTest, FollowsNoLinks)
{
    const tests::TestCard other;
    other.add("a.JPG", kJpeg);
    card.addFolder(".hidden");
    std::filesystem::create_directory_symlink(other.path(), card.path(".hidden/link"));
    std::filesystem::create_symlink(other.path("a.JPG"), card.path(".hidden/a.JPG"));
    EXPECT_EQ(picturesBelow(card.path(), ".hidden").count, 0U);
}

} // namespace
} // namespace mfx
