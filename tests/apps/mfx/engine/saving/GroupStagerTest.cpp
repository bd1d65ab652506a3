#include "mfx/engine/saving/GroupStager.h"

#include "apps/mfx/engine/SavingFixture.h"

#include <atomic>
#include <chrono>
#include <future>
#include <map>

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace mfx {
namespace {

using tests::bytesOf;
using tests::namesBelow;

class GroupStagerTest : public tests::SavingFixture {
protected:
    void addMany(int count)
    {
        for (int i = 0; i < count; ++i)
            card.add("IMG_" + std::to_string(1000 + i) + ".JPG", "photo " + std::to_string(i));
    }
};

TEST_F(GroupStagerTest, MakesProvenCopiesInTheOrderOfTheGroups)
{
    addMany(60);
    std::size_t next = 0;
    for (const auto& work : stageAll()) {
        EXPECT_EQ(work->group, next++);
        ASSERT_FALSE(work->failed) << work->members[0].error;
        const MemberWork& member = work->members[0];
        EXPECT_EQ(member.state, MemberState::kStaged);
        EXPECT_EQ(bytesOf(work->itemFolder + '/' + member.stagedName), bytesOf(member.source));
        std::error_code error;
        EXPECT_EQ(member.digest, Pt::digestOfFile(member.source, error));
    }
    EXPECT_EQ(next, 60U);
}

TEST_F(GroupStagerTest, TellsTheBytesThatItReadAndProved)
{
    addMany(20);
    insertCard();
    std::uint64_t onCard = 0;
    for (const MediaItem& item : contents.items)
        onCard += item.status.size;
    std::atomic<std::uint64_t> told{0};
    StagingPlan plan = this->plan();
    plan.progress = [&told](std::uint32_t, ProgressPhase, std::uint64_t bytes) { told += bytes; };
    GroupStager stager(std::move(plan), folders);
    for (std::size_t i = 0; i < groups.size(); ++i)
        stager.take();
    EXPECT_EQ(told, 2 * onCard);
}

TEST_F(GroupStagerTest, TellsWhatItReadOffTheCardFromWhatItProved)
{
    constexpr std::size_t kBytes = 2'500'000; // more than one piece
    card.add("A.JPG", std::string(kBytes, 'a'));
    insertCard();
    std::map<ProgressPhase, std::uint64_t> told; // by the one thread that there is work for
    std::vector<ProgressPhase> order;
    StagingPlan plan = this->plan();
    plan.progress = [&](std::uint32_t item, ProgressPhase phase, std::uint64_t bytes) {
        EXPECT_EQ(item, 0U);
        told[phase] += bytes;
        order.push_back(phase);
    };
    GroupStager(std::move(plan), folders).take();
    EXPECT_EQ(told[ProgressPhase::kCopy], kBytes);
    EXPECT_EQ(told[ProgressPhase::kProve], kBytes);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end())) << "all is written before it is proven";
}

TEST_F(GroupStagerTest, TellsWhatItReadToCompare)
{
    card.add("A.JPG", "photo");
    target.add("A.JPG", "photo");
    insertCard();
    std::uint64_t told = 0;
    StagingPlan plan = this->plan();
    plan.progress = [&told](std::uint32_t, ProgressPhase phase, std::uint64_t bytes) {
        EXPECT_EQ(phase, ProgressPhase::kCopy);
        told += bytes;
    };
    GroupStager(std::move(plan), folders).take();
    EXPECT_EQ(told, 5U);
}

TEST_F(GroupStagerTest, LeavesNothingOfGroupsThatNobodyTook)
{
    addMany(60);
    insertCard();
    {
        GroupStager stager(plan(), folders);
        const auto work = stager.take();
        folders.open("").work.dropItemFolder(work->itemFolder);
    }
    EXPECT_THAT(namesInTarget(), IsEmpty());
}

TEST_F(GroupStagerTest, StopsAtAnyMoment)
{
    addMany(30);
    insertCard();
    for (int round = 0; round < 60; ++round) {
        FinalFolders fresh(target.path(), places);
        auto stager = std::make_unique<GroupStager>(plan(), fresh);
        for (int taken = 0; taken < round % 20; ++taken) {
            const auto work = stager->take();
            work->folder->work.dropItemFolder(work->itemFolder);
        }
        for (int i = 0; i < round % 7; ++i)
            std::this_thread::yield();
        stager.reset();
        fresh.leave();
    }
    EXPECT_THAT(namesInTarget(), IsEmpty());
}

TEST_F(GroupStagerTest, KeepsNobodyWaitingOnceItWasStopped)
{
    addMany(60);
    insertCard();
    GroupStager stager(plan(), folders);
    stager.stop();
    auto waiting = std::async(std::launch::async, [&] {
        std::size_t taken = 0;
        while (const auto work = stager.take()) {
            work->folder->work.dropItemFolder(work->itemFolder);
            ++taken;
        }
        return taken;
    });
    if (waiting.wait_for(std::chrono::seconds(30)) != std::future_status::ready)
        std::abort(); // the wait never ends, and nor would this test
    EXPECT_LT(waiting.get(), 60U);
}

TEST_F(GroupStagerTest, GivesUpCopiesInHandWhenItShouldStop)
{
    addMany(5);
    insertCard();
    StagingPlan plan = this->plan();
    plan.shouldStop = [] { return true; };
    GroupStager stager(std::move(plan), folders);
    for (std::size_t i = 0; i < groups.size(); ++i) {
        const auto work = stager.take();
        EXPECT_TRUE(work->failed);
        EXPECT_EQ(work->problem, Pt::CopyProblem::kCancelled);
        work->folder->work.dropItemFolder(work->itemFolder);
    }
    EXPECT_THAT(namesInTarget(), IsEmpty());
}

TEST_F(GroupStagerTest, CopiesNothingThatStandsThere)
{
    card.add("IMG_1.CR2", "raw");
    card.add("IMG_1.JPG", "jpeg");
    target.add("IMG_1.CR2", "raw");
    target.add("IMG_1.JPG", "jpeg");
    const auto work = stageOne();
    EXPECT_TRUE(work->alreadyPresent);
    EXPECT_TRUE(work->itemFolder.empty());
    EXPECT_THAT(finalNames(*work), ElementsAre("IMG_1.CR2", "IMG_1.JPG"));
    EXPECT_TRUE(work->members[1].alreadyPresent());
}

TEST_F(GroupStagerTest, OnlyPlansInADryRun)
{
    addMany(3);
    dryRun = true;
    for (const auto& work : stageAll()) {
        EXPECT_FALSE(work->failed);
        EXPECT_EQ(work->members[0].state, MemberState::kPlanned);
        EXPECT_TRUE(work->itemFolder.empty());
    }
    folders.leave(); // these were made for a run that copies
    EXPECT_THAT(namesBelow(target.path()), IsEmpty());
}

TEST_F(GroupStagerTest, TakesNothingThatChangedSinceItWasListed)
{
    card.add("IMG_1.CR2", "raw");
    card.add("IMG_1.JPG", "jpeg");
    insertCard();
    card.add("IMG_1.JPG", "JPEG");
    card.setFileTime("IMG_1.JPG", 1'600'000'000);
    GroupStager stager(plan(), folders);
    const auto work = stager.take();
    EXPECT_TRUE(work->failed);
    EXPECT_EQ(work->problem, Pt::CopyProblem::kSourceChanged);
    EXPECT_THAT(work->members[0].error, HasSubstr("IMG_1.JPG belongs to it"));
}

TEST_F(GroupStagerTest, FollowsNoLinkThatTookThePlaceOfAPhoto)
{
    card.add("IMG_1.JPG", "jpeg");
    card.add("secret", "jpeg");
    insertCard();
    std::filesystem::remove(card.path("IMG_1.JPG"));
    std::filesystem::create_symlink("secret", card.path("IMG_1.JPG"));
    GroupStager stager(plan(), folders);
    EXPECT_EQ(stager.take()->problem, Pt::CopyProblem::kSourceChanged);
}

TEST_F(GroupStagerTest, GoesOnBehindAPhotoThatIsGone)
{
    addMany(3);
    insertCard();
    std::filesystem::remove(card.path("IMG_1001.JPG"));
    GroupStager stager(plan(), folders);
    EXPECT_FALSE(stager.take()->failed);
    EXPECT_EQ(stager.take()->problem, Pt::CopyProblem::kSourceMissing);
    EXPECT_FALSE(stager.take()->failed);
}

TEST_F(GroupStagerTest, FailsAGroupThatThePatternGivesNoName)
{
    card.add("A.JPG", "a");
    card.add("B", "no extension");
    rules.rename = NamePattern("{ext}");
    const auto works = stageAll();
    EXPECT_FALSE(works[0]->failed);
    EXPECT_TRUE(works[1]->failed);
    EXPECT_THAT(works[1]->members[0].error, HasSubstr("empty name"));
    EXPECT_TRUE(works[1]->itemFolder.empty());
}

TEST_F(GroupStagerTest, SaysWhyASubfolderCannotBeUsed)
{
    addMany(1);
    card.setFileTime("IMG_1000.JPG", 1'600'000'000);
    rules.subfolders = SubfolderPattern("%Y");
    target.add("2020", "a file");
    const auto work = stageOne();
    EXPECT_TRUE(work->failed);
    EXPECT_EQ(work->problem, Pt::CopyProblem::kTargetUnusable);
    EXPECT_THAT(work->members[0].error, HasSubstr(target.path("2020")));
}

TEST_F(GroupStagerTest, KnowsWhatTheTextsOfAFolderHold)
{
    EXPECT_FALSE(isTooDeep('/' + std::string(225, 'x')));
    EXPECT_TRUE(isTooDeep('/' + std::string(226, 'x')));
    EXPECT_FALSE(isTooDeep('/' + std::string(100, 'x') + "\xC3\xA4\xC3\xB6\xC3\xBC"));
}

TEST_F(GroupStagerTest, HasNothingToDoForAnEmptyCard)
{
    EXPECT_THAT(stageAll(), IsEmpty());
}

} // namespace
} // namespace mfx
