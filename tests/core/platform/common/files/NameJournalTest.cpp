#include "platform/common/files/NameJournal.h"

#include "support/TestFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Pt {
namespace {

namespace fs = std::filesystem;

class NameJournalTest : public testing::Test {
protected:
    NameJournalTest()
    {
        fs::create_directories(fs::path(journal).parent_path());
        std::ofstream(journal).flush();
    }

    // A process that was killed beside the file that it had just made.
    void leave(const std::string& name, mode_t mode = 0644)
    {
        noteTriedName(journal, name);
        folder.write(name, "");
        ASSERT_EQ(::chmod(folder.path(name).c_str(), mode), 0);
    }
    void recover() { removeTriedName(fs::path(journal).parent_path().string(), folder.path()); }

    test::TestFolder folder;
    const std::string journal = nameJournalPath(folder.path("work"));
};

TEST_F(NameJournalTest, LiesInTheFirstFolderOfThisProcess)
{
    EXPECT_EQ(journal, folder.path("work/" + std::to_string(::getpid()) + "-1/probes"));
}

TEST_F(NameJournalTest, RemovesTheEmptyFileThatWasTriedLast)
{
    leave("A.JPG");
    leave("B.JPG");
    recover();
    EXPECT_TRUE(fs::exists(folder.path("A.JPG"))); // given up before the kill, so somebody else's
    EXPECT_FALSE(fs::exists(folder.path("B.JPG")));
}

TEST_F(NameJournalTest, LeavesAnEmptyFileThatNobodyNoted)
{
    folder.write("A.JPG", "");
    recover();
    EXPECT_TRUE(fs::exists(folder.path("A.JPG")));
    leave("A.JPG");
    noteTriedName(journal, {});
    recover();
    EXPECT_TRUE(fs::exists(folder.path("A.JPG")));
}

TEST_F(NameJournalTest, LeavesWhatHoldsBytesOrHasTheRightsOfACopy)
{
    leave("A.JPG");
    folder.write("A.JPG", "x");
    recover();
    EXPECT_TRUE(fs::exists(folder.path("A.JPG")));
    leave("B.JPG", 0600);
    recover();
    EXPECT_TRUE(fs::exists(folder.path("B.JPG")));
}

TEST_F(NameJournalTest, LeavesWhatIsInSomebodysHands)
{
    leave("A.JPG");
    const int held = ::open(folder.path("A.JPG").c_str(), O_WRONLY);
    recover();
    EXPECT_TRUE(fs::exists(folder.path("A.JPG")));
    ::close(held);
    recover();
    EXPECT_FALSE(fs::exists(folder.path("A.JPG")));
}

TEST_F(NameJournalTest, LeavesWhatWasMadeAtAnotherTime)
{
    leave("A.JPG");
    const timespec hourAgo[2] = {{::time(nullptr) - 3600, 0}, {::time(nullptr) - 3600, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, journal.c_str(), hourAgo, 0), 0);
    recover();
    EXPECT_TRUE(fs::exists(folder.path("A.JPG")));
}

TEST_F(NameJournalTest, NeverLeavesItsFolder)
{
    test::TestFolder other;
    other.write("A.JPG", "");
    noteTriedName(journal, "../" + fs::path(other.path()).filename().string() + "/A.JPG");
    recover();
    EXPECT_TRUE(fs::exists(other.path("A.JPG")));
}

TEST_F(NameJournalTest, NotesNothingWhereNoJournalLies)
{
    fs::remove(journal);
    noteTriedName(journal, "A.JPG");
    EXPECT_FALSE(fs::exists(journal));
}

} // namespace
} // namespace Pt
