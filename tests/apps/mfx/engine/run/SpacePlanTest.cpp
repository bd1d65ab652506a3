#include "mfx/engine/run/SpacePlan.h"

#include "apps/mfx/engine/CardFixture.h"
#include "support/RecordedDng.h"

#include <gtest/gtest.h>

namespace mfx {
namespace {

// Sizes are made up beside the real ones: a card can be listed as larger than any disk.
class SpacePlanTest : public testing::Test {
protected:
    SpacePlanTest() { request.target = target.path(); }

    // A share of the room that is there, in the item's listed size.
    void add(const std::string& name, double share)
    {
        card.add(name);
        shares[name] = share;
    }
    // A file without bytes on the disk, but of that size.
    void stand(const tests::TestCard& place, const std::string& name, std::uint64_t size)
    {
        place.add(name, "");
        std::filesystem::resize_file(place.path(name), size);
    }
    std::uint64_t share(double part) const
    {
        return static_cast<std::uint64_t>(static_cast<double>(room) * part);
    }
    bool isShort()
    {
        CardContents contents = card.scan();
        for (MediaItem& item : contents.items)
            item.status.size =
                share(shares.at(contents.pathOf(item).substr(card.path().size() + 1)));
        return findShortage(contents, request, dng).has_value();
    }

    tests::TestCard card;
    tests::TestCard target;
    tests::TestCard backup;
    const std::uint64_t room = std::filesystem::space(target.path()).available;
    std::map<std::string, double> shares;
    DownloadRequest request;
    DNGSizes dng;
};

TEST_F(SpacePlanTest, SumsTheCard)
{
    add("A.JPG", 0.3);
    add("B.JPG", 0.3);
    EXPECT_FALSE(isShort());
    add("C.JPG", 0.6);
    EXPECT_TRUE(isShort());
}

TEST_F(SpacePlanTest, CountsTargetAndBackupOnOneDiskTwice)
{
    add("A.JPG", 0.6);
    EXPECT_FALSE(isShort());
    request.backupFolder = backup.path("not there yet");
    EXPECT_TRUE(isShort());
}

TEST_F(SpacePlanTest, LeavesOutWhatStandsInItsPlace)
{
    add("A.JPG", 0.6);
    add("B.JPG", 0.6);
    EXPECT_TRUE(isShort());
    stand(target, "A.JPG", share(0.6));
    EXPECT_FALSE(isShort());
    request.backupFolder = backup.path();
    EXPECT_TRUE(isShort());
    stand(backup, "A.JPG", share(0.6));
    stand(backup, "B.JPG", share(0.6));
    EXPECT_FALSE(isShort());
}

TEST_F(SpacePlanTest, LeavesOutNothingForANameAlone)
{
    add("A.JPG", 1.5);
    stand(target, "A.JPG", 10);
    EXPECT_TRUE(isShort());
}

// Two shots of one name and one size: only one of them can stand there.
TEST_F(SpacePlanTest, LeavesOutOneShotForOneFile)
{
    add("100/A.RAF", 1.2);
    add("101/A.RAF", 1.2);
    stand(target, "A.RAF", share(1.2));
    EXPECT_TRUE(isShort());
    stand(target, "A-1.RAF", share(1.2));
    EXPECT_FALSE(isShort());
}

TEST_F(SpacePlanTest, ExpectsADNGBesideItsRawFile)
{
    add("A.CR2", 0.45);
    add("B.JPG", 0.1);
    EXPECT_FALSE(isShort());
    request.convertsToDNG = true; // half as much again, and the raw file beside it
    EXPECT_TRUE(isShort());
}

TEST_F(SpacePlanTest, ExpectsLargerDNGsWhereTheyAreAskedFor)
{
    add("A.CR2", 0.25);
    request.convertsToDNG = true;
    EXPECT_FALSE(isShort());
    dng.uncompressed = true;
    EXPECT_TRUE(isShort());
    dng = {};
    add("B.CR2", 0.1);
    EXPECT_FALSE(isShort());
    dng.embedsRaw = true;
    EXPECT_TRUE(isShort());
}

TEST_F(SpacePlanTest, ExpectsThreeColoursToTakeThreeTimesAsMuch)
{
    request.convertsToDNG = true;
    add("A.CR2", 0.2);
    EXPECT_FALSE(isShort());
    dng.linear = true;
    EXPECT_FALSE(isShort());
    add("B.CR2", 0.1);
    EXPECT_TRUE(isShort());
    dng.linear = false;
    EXPECT_FALSE(isShort());
}

TEST_F(SpacePlanTest, ExpectsNothingOfARawFileThatStandsAsADNG)
{
    request.convertsToDNG = true;
    add("A.CR2", 0.6);
    EXPECT_TRUE(isShort());
    target.add("A.dng", test::dngWithRecord({"A.CR2", {{}, share(0.6)}}));
    EXPECT_FALSE(isShort());
    target.add("A.dng", test::dngWithRecord({"A.CR2", {{}, share(0.5)}}));
    EXPECT_TRUE(isShort()) << "of another file";
}

TEST_F(SpacePlanTest, ExpectsNoDNGOfARawFileThatStands)
{
    add("A.CR2", 0.8);
    stand(target, "A.CR2", share(0.8));
    request.convertsToDNG = true;
    EXPECT_FALSE(isShort());
}

// A group without a name fails in its turn; the check is no place to fall over it.
TEST_F(SpacePlanTest, PassesOverAGroupThatThePatternGivesNoName)
{
    add("A.JPG", 0.6);
    add("B", 0.6);
    request.rules.rename = NamePattern("{ext}");
    EXPECT_TRUE(isShort());
}

// With {seq} the same photo has another name each time.
TEST_F(SpacePlanTest, CountsNothingTwiceThatStandsThereUnderAnotherNumber)
{
    request.rules.rename = NamePattern("P{seq:3}");
    add("A.JPG", 0.6);
    add("B.JPG", 0.6);
    EXPECT_TRUE(isShort());
    stand(target, "P041.JPG", share(0.6));
    EXPECT_FALSE(isShort());
    stand(target, "Q042.JPG", share(0.6));
    add("C.JPG", 0.6);
    EXPECT_TRUE(isShort()) << "no file stands for two items";
}

} // namespace
} // namespace mfx
