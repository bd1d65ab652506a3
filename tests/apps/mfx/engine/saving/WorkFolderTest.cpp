#include "mfx/engine/saving/WorkFolder.h"

#include "apps/mfx/engine/SavingFixture.h"
#include "support/OrdinaryUser.h"

#include <atomic>
#include <thread>

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace mfx {
namespace {

using tests::bytesOf;
using tests::namesBelow;
using tests::TestCard;

class WorkFolderTest : public testing::Test {
protected:
    std::string below(const std::string& name) const
    {
        return folder.path(std::string(WorkFolder::kName) + '/' + name);
    }
    void leave(const std::string& name, const std::string& bytes) const
    {
        folder.add(std::string(WorkFolder::kName) + '/' + name, bytes);
    }
    std::vector<std::string> recovered() { return WorkFolder(folder.path()).recover(error); }

    TestCard folder;
    std::error_code error;
};

// A process that works in the folder until it is killed.
class AnotherProcess {
public:
    explicit AnotherProcess(const std::string& folder)
    {
        int ready[2] = {};
        EXPECT_EQ(::pipe(ready), 0);
        m_child = ::fork();
        if (m_child == 0) {
            std::error_code error;
            WorkFolder work(folder);
            const char made = work.makeItemFolder(error) ? 'y' : 'n';
            if (::write(ready[1], &made, 1) != 1)
                ::_exit(1);
            for (;;)
                ::pause();
        }
        ::close(ready[1]);
        char made = 'n';
        EXPECT_EQ(::read(ready[0], &made, 1), 1);
        EXPECT_EQ(made, 'y');
        ::close(ready[0]);
    }
    ~AnotherProcess() { kill(); }
    AnotherProcess(const AnotherProcess&) = delete;
    AnotherProcess& operator=(const AnotherProcess&) = delete;

    void kill()
    {
        if (m_child <= 0)
            return;
        ::kill(m_child, SIGKILL);
        ::waitpid(m_child, nullptr, 0);
        m_child = 0;
    }

private:
    pid_t m_child = 0;
};

TEST_F(WorkFolderTest, MakesAnEmptyFolderOfItsOwnForEachGroup)
{
    WorkFolder work(folder.path());
    const auto first = work.makeItemFolder(error);
    const auto second = work.makeItemFolder(error);
    ASSERT_TRUE(first && second) << error.message();
    EXPECT_EQ(*first, below(std::to_string(::getpid()) + "-1"));
    EXPECT_EQ(*second, below(std::to_string(::getpid()) + "-2"));
    EXPECT_THAT(namesBelow(*first), IsEmpty());
}

TEST_F(WorkFolderTest, GoesWithItsLastGroup)
{
    WorkFolder work(folder.path());
    const auto group = work.makeItemFolder(error);
    ASSERT_TRUE(group);
    std::ofstream(*group + "/a.jpg") << "x";
    work.leave();
    EXPECT_TRUE(std::filesystem::exists(*group + "/a.jpg"));
    work.dropItemFolder(*group);
    work.leave();
    EXPECT_TRUE(std::filesystem::exists(below(""))) << "left already, so it is another's";
    WorkFolder again(folder.path());
    ASSERT_TRUE(again.makeItemFolder(error));
    again.dropItemFolder(below(std::to_string(::getpid()) + "-1"));
    again.leave();
    EXPECT_THAT(namesBelow(folder.path()), IsEmpty());
}

TEST_F(WorkFolderTest, LeavesTheFolderToAnotherThatStillWorks)
{
    WorkFolder ours(folder.path());
    WorkFolder others(folder.path());
    const auto ourGroup = ours.makeItemFolder(error);
    const auto othersGroup = others.makeItemFolder(error);
    ASSERT_TRUE(ourGroup && othersGroup);
    EXPECT_NE(*ourGroup, *othersGroup);
    ours.dropItemFolder(*ourGroup);
    ours.leave();
    EXPECT_TRUE(std::filesystem::exists(*othersGroup));
    EXPECT_THAT(recovered(), IsEmpty());
    EXPECT_TRUE(std::filesystem::exists(*othersGroup));
}

TEST_F(WorkFolderTest, LeavesAFolderThatItNeverWorkedIn)
{
    folder.addFolder(WorkFolder::kName);
    WorkFolder(folder.path()).leave();
    EXPECT_THAT(namesBelow(folder.path()), ElementsAre(WorkFolder::kName));
}

TEST_F(WorkFolderTest, GoesOnWhenTheFolderWasTakenAway)
{
    WorkFolder work(folder.path());
    ASSERT_TRUE(work.makeItemFolder(error));
    std::filesystem::remove_all(below(""));
    const auto next = work.makeItemFolder(error);
    ASSERT_TRUE(next) << error.message();
    WorkFolder(folder.path()).recover(error);
    EXPECT_TRUE(std::filesystem::exists(*next)) << "the lock is on the folder that stands";
}

TEST_F(WorkFolderTest, GivesAFolderThatWasGivenBackToTheNextGroup)
{
    WorkFolder work(folder.path());
    const auto first = work.makeItemFolder(error);
    ASSERT_TRUE(first);
    work.releaseItemFolder(*first);
    EXPECT_EQ(work.makeItemFolder(error), first);
    EXPECT_NE(work.makeItemFolder(error), first);
}

TEST_F(WorkFolderTest, GivesNoGroupAFolderThatIsGoneOrNotEmpty)
{
    WorkFolder work(folder.path());
    const auto first = work.makeItemFolder(error);
    const auto second = work.makeItemFolder(error);
    ASSERT_TRUE(first && second);
    work.releaseItemFolder(*first);
    work.releaseItemFolder(*second);
    std::filesystem::remove(*second);
    std::ofstream(*first + "/somebody's") << "x";
    const auto next = work.makeItemFolder(error);
    ASSERT_TRUE(next);
    EXPECT_THAT(namesBelow(*next), IsEmpty());
    work.releaseItemFolder(*next);
    std::filesystem::remove_all(below(""));
    const auto last = work.makeItemFolder(error);
    ASSERT_TRUE(last) << error.message();
    EXPECT_THAT(namesBelow(*last), IsEmpty());
    WorkFolder(folder.path()).recover(error);
    EXPECT_TRUE(std::filesystem::exists(*last)) << "the lock is on the folder that stands";
}

TEST_F(WorkFolderTest, PassesOverNumbersOfADeadProcessOfTheSameNumber)
{
    AnotherProcess another(folder.path()); // keeps the leftovers from being removed
    for (int number = 1; number <= 150; ++number)
        leave(std::to_string(::getpid()) + '-' + std::to_string(number) + "/old.jpg", "old");
    WorkFolder work(folder.path());
    const auto group = work.makeItemFolder(error);
    ASSERT_TRUE(group) << error.message();
    EXPECT_THAT(namesBelow(*group), IsEmpty());
}

TEST_F(WorkFolderTest, PutsBackRawFilesAndTheirSidecars)
{
    leave("IMG_1.CR2", "raw");
    leave("IMG_1.xmp", "sidecar");
    leave("IMG_1.CR2.xmp", "other style");
    leave("no extension", "raw too");
    EXPECT_THAT(recovered(),
        UnorderedElementsAre("IMG_1.CR2", "IMG_1.xmp", "IMG_1.CR2.xmp", "no extension"));
    EXPECT_FALSE(error) << error.message();
    EXPECT_EQ(bytesOf(folder.path("IMG_1.CR2")), "raw");
    EXPECT_EQ(bytesOf(folder.path("IMG_1.CR2.xmp")), "other style");
    EXPECT_FALSE(std::filesystem::exists(below("")));
}

TEST_F(WorkFolderTest, PutsBackUnderANumberWhereTheNameIsTaken)
{
    folder.add("IMG_1.CR2", "another");
    folder.add("IMG_1-1.CR2", "a third");
    leave("IMG_1.CR2", "raw");
    EXPECT_THAT(recovered(), ElementsAre("IMG_1-2.CR2"));
    EXPECT_EQ(bytesOf(folder.path("IMG_1.CR2")), "another");
    EXPECT_EQ(bytesOf(folder.path("IMG_1-1.CR2")), "a third");
    EXPECT_EQ(bytesOf(folder.path("IMG_1-2.CR2")), "raw");
}

TEST_F(WorkFolderTest, RemembersWhichRawFilesWaitForTheirConversion)
{
    folder.add("IMG_1.CR2", "another");
    leave("IMG_1.CR2", "raw");
    leave("IMG_1.xmp", "sidecar");
    {
        WorkFolder killed(folder.path()); // it does not come to the conversion
        killed.recover(error, CutOffConversions::kAwaited);
        EXPECT_TRUE(killed.isUnconverted("IMG_1-1.CR2"));
    }
    WorkFolder work(folder.path());
    EXPECT_THAT(work.recover(error, CutOffConversions::kAwaited), IsEmpty());
    EXPECT_TRUE(work.isUnconverted("IMG_1-1.CR2"));
    EXPECT_FALSE(work.isUnconverted("IMG_1.CR2")) << "it was there before";
    EXPECT_FALSE(work.isUnconverted("IMG_1.xmp"));
    ASSERT_TRUE(work.makeItemFolder(error));
    work.forgetUnconverted("IMG_1-1.CR2");
    work.dropItemFolder(below(std::to_string(::getpid()) + "-1"));
    work.leave();
    EXPECT_FALSE(std::filesystem::exists(below("")));
    WorkFolder next(folder.path());
    next.recover(error, CutOffConversions::kAwaited);
    EXPECT_FALSE(next.isUnconverted("IMG_1-1.CR2"));
}

TEST_F(WorkFolderTest, ForgetsConversionsThatNobodyAwaits)
{
    leave("IMG_1.CR2", "raw");
    WorkFolder(folder.path()).recover(error, CutOffConversions::kAwaited);
    EXPECT_TRUE(std::filesystem::exists(below("unconverted/IMG_1.CR2")));
    recovered();
    EXPECT_THAT(namesBelow(folder.path()), ElementsAre("IMG_1.CR2"));
}

TEST_F(WorkFolderTest, RemovesAnUnfinishedDNGBesideItsRawFile)
{
    leave("IMG_1.CR2", "raw");
    leave("IMG_1.dng", "half");
    leave("IMG_2.dng", "alone");
    leave("IMG_3.dng", "beside its sidecar");
    leave("IMG_3.xmp", "sidecar");
    recovered();
    EXPECT_EQ(bytesOf(folder.path("IMG_1.CR2")), "raw");
    EXPECT_FALSE(std::filesystem::exists(folder.path("IMG_1.dng")));
    EXPECT_EQ(bytesOf(folder.path("IMG_2.dng")), "alone");
    EXPECT_EQ(bytesOf(folder.path("IMG_3.dng")), "beside its sidecar");
}

TEST_F(WorkFolderTest, RemovesTheDNGOfAConversionThatFailed)
{
    folder.add("IMG_1.CR2", "raw, back in its place");
    leave("IMG_1.dng", "half");
    folder.add("IMG_2.dng", "no raw file that a conversion takes");
    leave("IMG_2.dng", "alone");
    EXPECT_THAT(recovered(), ElementsAre("IMG_2-1.dng"));
    EXPECT_FALSE(std::filesystem::exists(folder.path("IMG_1.dng")));
    EXPECT_EQ(bytesOf(folder.path("IMG_2-1.dng")), "alone");
    EXPECT_FALSE(std::filesystem::exists(below("")));
}

TEST_F(WorkFolderTest, TakesNoFolderForTheRawFileOfADNG)
{
    leave("IMG_1/kept.txt", "x");
    leave("IMG_1.dng", "the only one");
    recovered();
    EXPECT_EQ(bytesOf(folder.path("IMG_1.dng")), "the only one");
}

TEST_F(WorkFolderTest, RemovesWhatACrashLeftOfGroups)
{
    leave("4711-1/IMG_1.JPG", "half");
    leave("4711-22/deep/er", "x");
    EXPECT_THAT(recovered(), IsEmpty());
    EXPECT_FALSE(error);
    EXPECT_THAT(namesBelow(folder.path()), IsEmpty());
}

TEST_F(WorkFolderTest, LeavesWhatIsNotItsOwn)
{
    for (const char* name : {"notes", "12-", "-3", "1-2-3", "12-x", "12"})
        leave(std::string(name) + "/kept.txt", name);
    EXPECT_THAT(recovered(), IsEmpty());
    for (const char* name : {"notes", "12-", "-3", "1-2-3", "12-x", "12"})
        EXPECT_EQ(bytesOf(below(name) + "/kept.txt"), name);
}

TEST_F(WorkFolderTest, FollowsNoLinkInTheFolder)
{
    const TestCard outside;
    outside.add("kept.txt", "x");
    folder.addFolder(WorkFolder::kName);
    std::filesystem::create_directory_symlink(outside.path(), below("12-3"));
    leave("12-4/IMG_1.JPG", "x");
    std::filesystem::create_directory_symlink(outside.path(), below("12-4/link"));
    recovered();
    EXPECT_EQ(bytesOf(outside.path("kept.txt")), "x");
    EXPECT_FALSE(std::filesystem::exists(below("12-4")));
}

TEST_F(WorkFolderTest, FollowsNoLinkInItsPlace)
{
    const TestCard outside;
    outside.add("IMG_1.CR2", "x");
    outside.add("12-3/IMG_2.JPG", "y");
    std::filesystem::create_directory_symlink(
        outside.path(), below("").substr(0, below("").size() - 1));
    EXPECT_THAT(recovered(), IsEmpty());
    WorkFolder work(folder.path());
    EXPECT_FALSE(work.makeItemFolder(error));
    EXPECT_TRUE(error);
    work.leave();
    EXPECT_THAT(namesBelow(outside.path()), ElementsAre("12-3", "12-3/IMG_2.JPG", "IMG_1.CR2"));
}

TEST_F(WorkFolderTest, ReportsAFileInItsPlaceAndKeepsIt)
{
    folder.add(WorkFolder::kName, "mine");
    EXPECT_THAT(recovered(), IsEmpty());
    WorkFolder work(folder.path());
    EXPECT_FALSE(work.makeItemFolder(error));
    EXPECT_TRUE(error);
    work.leave();
    EXPECT_EQ(bytesOf(folder.path(WorkFolder::kName)), "mine");
}

TEST_F(WorkFolderTest, TouchesNothingWhileAnotherProcessWorks)
{
    AnotherProcess another(folder.path());
    leave("IMG_1.CR2", "being converted");
    EXPECT_THAT(recovered(), IsEmpty());
    EXPECT_EQ(bytesOf(below("IMG_1.CR2")), "being converted");
    another.kill();
    EXPECT_THAT(recovered(), ElementsAre("IMG_1.CR2"));
    EXPECT_THAT(namesBelow(folder.path()), ElementsAre("IMG_1.CR2"));
}

TEST_F(WorkFolderTest, KeepsWhatItCannotPutBackAndSaysSo)
{
    leave("IMG_1.CR2", "raw");
    std::filesystem::permissions(below(""), std::filesystem::perms::all);
    ::chmod(folder.path().c_str(), 0555);
    const int seen = test::askedAsOrdinaryUser([this] {
        const bool isEmpty = WorkFolder(folder.path()).recover(error).empty();
        return isEmpty && error == std::errc::permission_denied ? 0 : 1;
    });
    ::chmod(folder.path().c_str(), 0755);
    EXPECT_EQ(seen, 0);
    EXPECT_EQ(bytesOf(below("IMG_1.CR2")), "raw");
}

// While others work in the folder as well.
TEST_F(WorkFolderTest, PutsBackWhatConversionsHaveSetAside)
{
    const AnotherProcess another(folder.path());
    folder.add("A.CR2", "of somebody");
    leave("A.CR2", "only copy");
    leave("A.dng", "half");
    leave("B.NEF", "another");
    leave(".unfinished-4194999-1", "half");
    WorkFolder work(folder.path());
    EXPECT_TRUE(work.hasSetAside("A.CR2"));
    EXPECT_FALSE(work.hasSetAside("C.CR2"));
    EXPECT_THAT(work.putBackSetAside(error), UnorderedElementsAre("A-1.CR2", "B.NEF"));
    EXPECT_FALSE(error);
    EXPECT_EQ(bytesOf(folder.path("A.CR2")), "of somebody");
    EXPECT_EQ(bytesOf(folder.path("A-1.CR2")), "only copy");
    EXPECT_EQ(bytesOf(folder.path("B.NEF")), "another");
    EXPECT_FALSE(work.hasSetAside("A.CR2"));
    EXPECT_THAT(work.putBackSetAside(error), IsEmpty());
}

TEST_F(WorkFolderTest, CountsNothingButFilesAsSetAside)
{
    folder.addFolder(std::string(WorkFolder::kName) + "/A.CR2");
    const WorkFolder work(folder.path());
    EXPECT_FALSE(work.hasSetAside("A.CR2"));
    std::error_code none;
    EXPECT_THAT(work.putBackSetAside(none), IsEmpty());
}

TEST_F(WorkFolderTest, TellsWhyAFolderTakesNoGroup)
{
    ::chmod(folder.path().c_str(), 0555);
    const int seen = test::askedAsOrdinaryUser([this] {
        return !WorkFolder(folder.path()).makeItemFolder(error)
                && error == std::errc::permission_denied
            ? 0
            : 1;
    });
    ::chmod(folder.path().c_str(), 0755);
    EXPECT_EQ(seen, 0);
    EXPECT_FALSE(WorkFolder(folder.path("missing")).makeItemFolder(error));
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
}

// Comes and goes many times, looking for leftovers first; how often it got no folder or lost it.
int lossesOfAVisitor(const std::string& folder)
{
    int lost = 0;
    for (int round = 0; round < 150; ++round) {
        std::error_code failure;
        WorkFolder visitor(folder);
        visitor.recover(failure);
        auto group = visitor.makeItemFolder(failure);
        while (!group && failure == std::errc::resource_unavailable_try_again)
            group = visitor.makeItemFolder(failure); // who recovers without end is in the way
        if (!group) {
            ++lost;
            continue;
        }
        const bool written(std::ofstream(*group + "/a.jpg") << "x" << std::flush);
        for (int look = 0; look < 20; ++look)
            std::this_thread::yield();
        if (!written || !std::filesystem::exists(*group + "/a.jpg"))
            ++lost;
        visitor.dropItemFolder(*group);
        visitor.leave();
    }
    return lost;
}

int lossesOfVisitors(const std::string& folder)
{
    std::atomic<int> lost{0};
    std::vector<std::thread> visitors;
    for (int i = 0; i < 4; ++i)
        visitors.emplace_back([&] { lost += lossesOfAVisitor(folder); });
    for (std::thread& visitor : visitors)
        visitor.join();
    return lost;
}

TEST_F(WorkFolderTest, LetsManyComeAndGoAtOnce)
{
    EXPECT_EQ(lossesOfVisitors(folder.path()), 0);
    EXPECT_THAT(namesBelow(folder.path()), IsEmpty());
}

TEST_F(WorkFolderTest, TakesAwayNoGroupInHandThatItMeetsWhileItRecovers)
{
    std::atomic<bool> ended{false};
    std::thread recovering([&] {
        while (!ended) {
            std::error_code failure;
            WorkFolder(folder.path()).recover(failure);
        }
    });
    EXPECT_EQ(lossesOfVisitors(folder.path()), 0);
    ended = true;
    recovering.join();
}

} // namespace
} // namespace mfx
