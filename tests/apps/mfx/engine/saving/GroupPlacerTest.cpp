#include "mfx/engine/saving/GroupPlacer.h"

#include "apps/mfx/engine/SavingFixture.h"
#include "support/OrdinaryUser.h"

#include <gmock/gmock.h>
#include <unistd.h>

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace mfx {
namespace {

using tests::bytesOf;
using tests::namesBelow;

class GroupPlacerTest : public tests::SavingFixture {
protected:
    void addPair()
    {
        card.add("IMG_1.CR2", "raw");
        card.add("IMG_1.JPG", "jpeg");
    }
};

TEST_F(GroupPlacerTest, MovesAGroupIntoPlaceAndLeavesNothingBehind)
{
    addPair();
    const auto work = stageOne();
    decideNames(*work);
    EXPECT_THAT(finalNames(*work), ElementsAre("IMG_1.CR2", "IMG_1.JPG"));
    place(*work);
    dropItemFolder(*work);
    EXPECT_FALSE(work->failed);
    EXPECT_THAT(namesInTarget(), ElementsAre("IMG_1.CR2", "IMG_1.JPG"));
    EXPECT_EQ(bytesOf(target.path("IMG_1.CR2")), "raw");
}

TEST_F(GroupPlacerTest, TakesAnotherNumberWhenANameIsTakenAtTheLastMoment)
{
    addPair();
    const auto work = stageOne();
    decideNames(*work);
    target.add("IMG_1.JPG", "somebody else's");
    place(*work);
    dropItemFolder(*work);
    EXPECT_FALSE(work->failed);
    EXPECT_THAT(namesInTarget(), ElementsAre("IMG_1-1.CR2", "IMG_1-1.JPG", "IMG_1.JPG"));
    EXPECT_EQ(bytesOf(target.path("IMG_1.JPG")), "somebody else's");
    EXPECT_EQ(bytesOf(target.path("IMG_1-1.JPG")), "jpeg");
    EXPECT_THAT(finalNames(*work), ElementsAre("IMG_1-1.CR2", "IMG_1-1.JPG"));
}

TEST_F(GroupPlacerTest, MakesNoTwinOfTheSameBytesThatAppearMeanwhile)
{
    addPair();
    const auto work = stageOne();
    decideNames(*work);
    target.add("IMG_1.JPG", "jpeg");
    place(*work);
    dropItemFolder(*work);
    EXPECT_THAT(namesInTarget(), ElementsAre("IMG_1.CR2", "IMG_1.JPG"));
    EXPECT_TRUE(work->members[0].isPlaced());
    EXPECT_TRUE(work->members[1].alreadyPresent());
}

TEST_F(GroupPlacerTest, TakesTheStagedCopyWhenBytesThatAppearedGoAwayAgain)
{
    addPair();
    const auto work = stageOne();
    target.add("IMG_1.JPG", "jpeg");
    decideNames(*work);
    EXPECT_TRUE(work->members[1].alreadyPresent());
    std::filesystem::remove(target.path("IMG_1.JPG"));
    decideNames(*work);
    EXPECT_EQ(work->members[1].state, MemberState::kStaged);
    place(*work);
    dropItemFolder(*work);
    EXPECT_FALSE(work->failed);
    EXPECT_THAT(namesInTarget(), ElementsAre("IMG_1.CR2", "IMG_1.JPG"));
}

TEST_F(GroupPlacerTest, TakesAllBackWhenOneMemberCannotBeMoved)
{
    addPair();
    const auto work = stageOne();
    decideNames(*work);
    std::filesystem::remove(work->itemFolder + "/IMG_1.JPG");
    place(*work);
    EXPECT_TRUE(work->failed);
    for (const MemberWork& member : work->members) {
        EXPECT_EQ(member.state, MemberState::kStaged);
        EXPECT_THAT(member.error, HasSubstr("No such file"));
    }
    EXPECT_EQ(bytesOf(work->itemFolder + "/IMG_1.CR2"), "raw");
    dropItemFolder(*work);
    EXPECT_THAT(namesInTarget(), IsEmpty());
    EXPECT_EQ(bytesOf(card.path("IMG_1.CR2")), "raw");
}

TEST_F(GroupPlacerTest, NumbersTwinsFromSeveralFolders)
{
    card.add("100/IMG_1.JPG", "first");
    card.add("101/IMG_1.JPG", "second");
    card.add("102/IMG_1.JPG", "third");
    for (const auto& work : stageAll()) {
        decideNames(*work);
        place(*work);
        dropItemFolder(*work);
    }
    EXPECT_THAT(namesInTarget(), ElementsAre("IMG_1-1.JPG", "IMG_1-2.JPG", "IMG_1.JPG"));
    EXPECT_EQ(bytesOf(target.path("IMG_1.JPG")), "first");
    EXPECT_EQ(bytesOf(target.path("IMG_1-2.JPG")), "third");
}

TEST_F(GroupPlacerTest, SavesTheSameBytesFromTwoFoldersOnce)
{
    card.add("100/IMG_1.JPG", "same");
    card.add("101/IMG_1.JPG", "same");
    std::vector<bool> present;
    for (const auto& work : stageAll()) {
        decideNames(*work);
        place(*work);
        dropItemFolder(*work);
        present.push_back(work->members[0].alreadyPresent());
    }
    EXPECT_THAT(present, ElementsAre(false, true));
    EXPECT_THAT(namesInTarget(), ElementsAre("IMG_1.JPG"));
}

TEST_F(GroupPlacerTest, CompletesAGroupOfWhichAPartStands)
{
    addPair();
    target.add("IMG_1.CR2", "raw");
    const auto work = stageOne();
    EXPECT_EQ(work->members[0].state, MemberState::kPlanned);
    decideNames(*work);
    place(*work);
    dropItemFolder(*work);
    EXPECT_FALSE(work->failed);
    EXPECT_THAT(namesInTarget(), ElementsAre("IMG_1.CR2", "IMG_1.JPG"));
}

TEST_F(GroupPlacerTest, GivesUpWhenTheStandingPartGoesAway)
{
    addPair();
    target.add("IMG_1.CR2", "raw");
    const auto work = stageOne();
    std::filesystem::remove(target.path("IMG_1.CR2"));
    decideNames(*work);
    EXPECT_TRUE(work->failed);
    EXPECT_THAT(work->members[0].error, HasSubstr("went away"));
    EXPECT_THAT(work->members[1].error, HasSubstr("IMG_1.CR2 belongs to it"));
    place(*work);
    dropItemFolder(*work);
    EXPECT_THAT(namesInTarget(), IsEmpty());
}

TEST_F(GroupPlacerTest, PreviewsTheNamesThatItGives)
{
    card.add("100/IMG_1.JPG", "first");
    card.add("101/IMG_1.JPG", "second");
    card.add("101/IMG_1.xmp", "sidecar");
    card.add("102/IMG_2.CR2", "raw");
    target.add("IMG_2.JPG", "of another");
    dryRun = true;
    std::vector<std::vector<std::string>> previewed;
    for (const auto& work : stageAll()) {
        previewNames(*work);
        previewed.push_back(finalNames(*work));
    }
    EXPECT_THAT(namesInTarget(), ElementsAre("IMG_2.JPG"));
    dryRun = false;
    FinalFolders afresh(target.path(), places);
    std::vector<std::vector<std::string>> given;
    for (const auto& work : stageAll()) {
        work->folder = &afresh.open(""); // the preview has noted its names in the other
        decideNames(*work);
        place(*work);
        dropItemFolder(*work);
        given.push_back(finalNames(*work));
    }
    EXPECT_EQ(previewed, given);
    EXPECT_THAT(given,
        ElementsAre(ElementsAre("IMG_1.JPG"),
            ElementsAre("IMG_1-1.JPG", "IMG_1-1.xmp"),
            ElementsAre("IMG_2-1.CR2")));
}

TEST_F(GroupPlacerTest, SaysWhereAGroupCannotBeMovedTo)
{
    addPair();
    const auto work = stageOne();
    decideNames(*work);
    ::chmod(target.path().c_str(), 0555);
    std::filesystem::permissions(work->itemFolder, std::filesystem::perms::all);
    const int seen = test::askedAsOrdinaryUser([&work, this] {
        place(*work);
        const bool named = work->members[0].error.find(target.path()) != std::string::npos;
        return work->failed && named && bytesOf(work->itemFolder + "/IMG_1.CR2") == "raw" ? 0 : 1;
    });
    ::chmod(target.path().c_str(), 0755);
    EXPECT_EQ(seen, 0);
}

TEST_F(GroupPlacerTest, SaysThatAFolderCannotBeLookedAt)
{
    addPair();
    const auto work = stageOne();
    ::chmod(target.path().c_str(), 0);
    const int seen = test::askedAsOrdinaryUser([&work] {
        ::alarm(10); // ends a search without end
        decideNames(*work);
        return work->failed ? 0 : 1;
    });
    ::chmod(target.path().c_str(), 0755);
    EXPECT_EQ(seen, 0);
}

} // namespace
} // namespace mfx
