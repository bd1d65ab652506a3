#include "mfx/engine/saving/TargetSpot.h"

#include "apps/mfx/engine/SavingFixture.h"
#include "support/OrdinaryUser.h"
#include "support/RecordedDng.h"

#include <gmock/gmock.h>
#include <unistd.h>

using testing::ElementsAre;

namespace mfx {
namespace {

class TargetSpotTest : public tests::SavingFixture {
protected:
    // A group that is planned and not staged.
    GroupWork planned(const std::string& subfolder = "")
    {
        insertCard();
        GroupWork work;
        work.folder = &folders.open(subfolder);
        work.target = groupTarget(contents, groups.front(), {}, rules, 1);
        for (const std::uint32_t item : groups.front().members) {
            work.members.emplace_back();
            work.members.back().item = item;
            work.members.back().source = contents.pathOf(contents.items[item]);
        }
        return work;
    }
    TargetSpot spot()
    {
        GroupWork work = planned();
        return findSpot(work, work.folder->stems);
    }
};

TEST_F(TargetSpotTest, TakesThePlainNamesWhereTheyAreFree)
{
    card.add("IMG_1.CR2", "raw");
    card.add("IMG_1.JPG", "jpeg");
    EXPECT_EQ(spot().number, 0U);
    EXPECT_TRUE(spot().isFree());
    EXPECT_FALSE(spot().holdsAll());
}

TEST_F(TargetSpotTest, KnowsTheSameBytesAgain)
{
    card.add("IMG_1.CR2", "raw");
    card.add("IMG_1.JPG", "jpeg");
    target.add("IMG_1.CR2", "raw");
    EXPECT_THAT(spot().occupants, ElementsAre(Occupant::kSameBytes, Occupant::kNone));
    target.add("IMG_1.JPG", "jpeg");
    EXPECT_EQ(spot().number, 0U);
    EXPECT_TRUE(spot().holdsAll());
}

TEST_F(TargetSpotTest, TakesADNGForItsRawFileWhereOneIsWanted)
{
    card.add("IMG_1.CR2", "raw");
    card.add("IMG_1.JPG", "jpeg");
    target.add("IMG_1.JPG", "jpeg");
    target.add("IMG_1.dng", test::recordedDng("IMG_1.CR2", "raw"));
    GroupWork work = planned();
    EXPECT_THAT(findSpot(work).occupants, ElementsAre(Occupant::kNone, Occupant::kSameBytes));
    work.members[0].wantsDNG = true;
    const TargetSpot spot = findSpot(work);
    EXPECT_THAT(spot.occupants, ElementsAre(Occupant::kDNG, Occupant::kSameBytes));
    EXPECT_THAT(spot.dngs, ElementsAre(work.folder->ownPath + "/IMG_1.dng", ""));
    EXPECT_TRUE(spot.holdsAll());
    const TargetSpot backup =
        findSpotIn(work.folder->ownPath, *work.target, work, {}, [](std::size_t, const auto&) {
            return false;
        });
    EXPECT_EQ(backup.occupants[0], Occupant::kNone) << "a second copy has the bytes themselves";
}

TEST_F(TargetSpotTest, NumbersAllMembersWhereOneNameIsTaken)
{
    card.add("IMG_1.CR2", "raw");
    card.add("IMG_1.xmp", "mine");
    target.add("IMG_1.xmp", "edited since");
    target.add("IMG_1-1.CR2", "an other");
    EXPECT_EQ(spot().number, 2U);
    EXPECT_TRUE(spot().isFree());
}

TEST_F(TargetSpotTest, TakesNoOtherBytesOfTheSameSizeForThem)
{
    card.add("IMG_1.JPG", "12345");
    target.add("IMG_1.JPG", "12346");
    EXPECT_EQ(spot().number, 1U);
}

TEST_F(TargetSpotTest, FindsItsOwnNumberedFormAgain)
{
    card.add("IMG_1.JPG", "new");
    target.add("IMG_1.JPG", "old");
    target.add("IMG_1-1.JPG", "new");
    EXPECT_EQ(spot().number, 1U);
    EXPECT_TRUE(spot().holdsAll());
}

TEST_F(TargetSpotTest, TakesWhatIsNoFileForNoCopy)
{
    card.add("IMG_1.JPG", "same");
    target.add("elsewhere", "same");
    std::filesystem::create_symlink("elsewhere", target.path("IMG_1.JPG"));
    std::filesystem::create_symlink("nowhere", target.path("IMG_1-1.JPG"));
    target.addFolder("IMG_1-2.JPG");
    EXPECT_EQ(spot().number, 3U);
}

// A folder that is sorted into itself, or a card that is mounted twice.
TEST_F(TargetSpotTest, TakesTheSourceItselfForNoCopyOfIt)
{
    card.add("IMG_1.JPG", "the only one");
    std::filesystem::create_hard_link(card.path("IMG_1.JPG"), target.path("IMG_1.JPG"));
    EXPECT_EQ(spot().number, 1U);
    EXPECT_TRUE(spot().isFree());
}

TEST_F(TargetSpotTest, PassesOverAStemThatBelongsToOthers)
{
    card.add("IMG_1.JPG", "jpeg");
    target.add("IMG_1.xmp", "another photo's");
    EXPECT_EQ(spot().number, 1U);
    GroupWork work = planned();
    EXPECT_EQ(findSpot(work).number, 0U) << "without the register, names alone decide";
}

TEST_F(TargetSpotTest, KeepsTheDigestOfASourceThatItRead)
{
    card.add("IMG_1.JPG", "same");
    target.add("IMG_1.JPG", "same");
    GroupWork work = planned();
    findSpot(work);
    ASSERT_TRUE(work.members[0].digest);
    std::error_code error;
    EXPECT_EQ(work.members[0].digest, Pt::digestOfFile(card.path("IMG_1.JPG"), error));
}

TEST_F(TargetSpotTest, ReadsNoSourceWithoutNeed)
{
    card.add("IMG_1.JPG", "short");
    target.add("IMG_1.JPG", "of another size");
    GroupWork work = planned();
    findSpot(work);
    EXPECT_FALSE(work.members[0].digest);
}

TEST_F(TargetSpotTest, EndsWhereTheFolderTellsNothing)
{
    card.add("IMG_1.JPG", "x");
    target.add("shut/IMG_1.JPG", "x");
    GroupWork work = planned("shut");
    ::chmod(target.path("shut").c_str(), 0);
    const int seen = test::askedAsOrdinaryUser([&work] {
        ::alarm(10); // ends a search without end
        const TargetSpot found = findSpot(work);
        return found.error == std::errc::permission_denied && !found.isFree() && !found.holdsAll()
            ? 0
            : 1;
    });
    ::chmod(target.path("shut").c_str(), 0755);
    EXPECT_EQ(seen, 0);
}

} // namespace
} // namespace mfx
