#include "mfx/engine/card/CardWatch.h"

#include "apps/mfx/engine/CardFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace mfx {
namespace {

class CardWatchTest : public testing::Test {
protected:
    CardWatchTest()
    {
        card.add("DCIM/A.JPG", "a");
        card.add("DCIM/B.CR2", "b");
        card.add(".hidden.JPG", "h");
    }
    void list() { contents = card.scan({"*.JPG"}); }

    tests::TestCard card;
    CardContents contents;
    CardWatch watch{contents};
};

TEST_F(CardWatchTest, HasNoNewsOfACardThatStaysAsItIs)
{
    list();
    const CardWatch::News news = watch.look();
    EXPECT_THAT(news.added, IsEmpty()); // what was not asked for is no news
    EXPECT_THAT(news.changed, IsEmpty());
}

TEST_F(CardWatchTest, TellsOnceWhatCameOntoTheCard)
{
    list();
    card.add("DCIM/C.CR2", "c");
    card.add(".new.JPG", "n");
    EXPECT_THAT(watch.look().added, ElementsAre("DCIM/C.CR2", ".new.JPG"));
    EXPECT_THAT(watch.look().added, IsEmpty());
    card.add("101/D.JPG", "d");
    EXPECT_THAT(watch.look().added, ElementsAre("101/D.JPG"));
}

TEST_F(CardWatchTest, TellsWhatChanged)
{
    list();
    card.add("DCIM/A.JPG", "another");
    EXPECT_THAT(watch.look().changed, ElementsAre("DCIM/A.JPG"));
    EXPECT_THAT(watch.look().changed, IsEmpty());
}

TEST_F(CardWatchTest, TellsWhatMayHoldOtherBytesUnderItsOldTime)
{
    list();
    const auto time = std::filesystem::last_write_time(card.path("DCIM/A.JPG"));
    card.add("DCIM/A.JPG", "b");
    std::filesystem::last_write_time(card.path("DCIM/A.JPG"), time);
    const CardWatch::News news = watch.look();
    EXPECT_THAT(news.changed, IsEmpty());
    EXPECT_THAT(news.touched, ElementsAre(0U));
}

TEST_F(CardWatchTest, SeesPicturesThatCameIntoFoldersThatArePassedOver)
{
    card.add(".Trash-1000/info", "text");
    list();
    card.add(".Trash-1000/new.JPG", "n");
    EXPECT_THAT(watch.look().added, ElementsAre(".Trash-1000"));
}

TEST_F(CardWatchTest, TakesDeletionsAndWorkFoldersForNoNews)
{
    list();
    std::filesystem::remove(card.path("DCIM/A.JPG"));
    card.add("DCIM/.mfxdownload/1-1/marker", "");
    const CardWatch::News news = watch.look();
    EXPECT_THAT(news.added, IsEmpty());
    EXPECT_THAT(news.changed, IsEmpty());
}

TEST_F(CardWatchTest, PassesOverWhatTheDownloadSavesOntoTheCard)
{
    list();
    watch.passOver(card.path("Saved"));
    card.add("Saved/A.JPG", "a");
    card.add("Saved2/A.JPG", "a");
    EXPECT_THAT(watch.look().added, ElementsAre("Saved2/A.JPG"));
}

} // namespace
} // namespace mfx
