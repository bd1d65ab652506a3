// Files that others made stay, empty ones too; what a killed run left, the next one removes.

#include "e2e/support/MountFixture.h"

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace e2e {

class ForeignFileTest : public PlaceTest {
protected:
    void arrange() override
    {
        addTwoPictures();
        makePlaces();
    }

    // Runs that are killed before one call after the other, in a backup folder as it was, until one
    // leaves the empty file of a tried name.
    bool killWhereANameIsTried()
    {
        setVariable("LD_PRELOAD", FAULT_SHIM);
        setVariable("FAULT_ROOT", backup());
        setVariable("FAULT_KILL", "1");
        bool isLeft = false;
        for (int call = 1; call < 60 && !isLeft; ++call) {
            fs::remove_all(backup());
            fs::create_directories(backup());
            setVariable("FAULT_AT", std::to_string(call));
            if (downloadWithBackup().code == 0)
                break;
            isLeft = fs::exists(backup() / "A.JPG") && fs::is_empty(backup() / "A.JPG");
        }
        for (const char* name : {"LD_PRELOAD", "FAULT_ROOT", "FAULT_KILL", "FAULT_AT"})
            unsetVariable(name);
        return isLeft;
    }
};

TEST_F(ForeignFileTest, LeavesAnEmptyFileAlone)
{
    for (const fs::path& folder : {target(), backup()})
        write(folder / "A.JPG", "");
    const RunResult result = downloadWithBackup();
    EXPECT_EQ(result.code, 0) << told(result);
    for (const fs::path& folder : {target(), backup()}) {
        EXPECT_TRUE(fs::exists(folder / "A.JPG") && fs::is_empty(folder / "A.JPG")) << folder;
        EXPECT_EQ(contentOf(folder / "A-1.JPG"), "photo a") << folder;
    }
    expectPromiseKept(result, 2);
}

TEST_F(ForeignFileTest, LeavesAFileAloneThatIsFilledLater)
{
    std::vector<int> writers;
    for (const fs::path& folder : {target(), backup()})
        writers.push_back(::open((folder / "A.JPG").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    EXPECT_EQ(downloadWithBackup().code, 0);
    EXPECT_EQ(downloadWithBackup().code, 0);
    for (const int writer : writers) {
        EXPECT_EQ(::write(writer, "theirs", 6), 6);
        ::close(writer);
    }
    for (const fs::path& folder : {target(), backup()}) {
        EXPECT_EQ(contentOf(folder / "A.JPG"), "theirs") << folder;
        EXPECT_EQ(filesIn(folder).size(), 3U);
    }
}

TEST_F(ForeignFileTest, RemovesTheEmptyFileOfAKilledRun)
{
    ASSERT_TRUE(killWhereANameIsTried());
    const RunResult next = downloadWithBackup();
    EXPECT_EQ(next.code, 0) << told(next);
    EXPECT_EQ(filesIn(backup()), filesIn(pictures()));
    expectNoLeftovers();
}

TEST_F(ForeignFileTest, LeavesAnEmptyFileAloneThatTookTheNameAfterAKilledRun)
{
    ASSERT_TRUE(killWhereANameIsTried());
    fs::remove(backup() / "A.JPG");
    ::sleep(4); // the journal's time is taken to be two seconds, whatever the disk's clock
    write(backup() / "A.JPG", "");
    EXPECT_EQ(downloadWithBackup().code, 0);
    EXPECT_TRUE(fs::exists(backup() / "A.JPG") && fs::is_empty(backup() / "A.JPG"));
    EXPECT_EQ(contentOf(backup() / "A-1.JPG"), "photo a");
}

TEST_F(ForeignFileTest, LeavesAFileAloneThatWasFilledAfterAKilledRun)
{
    ASSERT_TRUE(killWhereANameIsTried());
    write(backup() / "A.JPG", "theirs");
    EXPECT_EQ(downloadWithBackup().code, 0);
    EXPECT_EQ(contentOf(backup() / "A.JPG"), "theirs");
    EXPECT_EQ(contentOf(backup() / "A-1.JPG"), "photo a");
}

TEST_F(ForeignFileTest, LeavesAFileAloneThatSomebodyHoldsAfterAKilledRun)
{
    ASSERT_TRUE(killWhereANameIsTried());
    const int writer = ::open((backup() / "A.JPG").c_str(), O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(downloadWithBackup().code, 0);
    EXPECT_EQ(::write(writer, "theirs", 6), 6);
    ::close(writer);
    EXPECT_EQ(contentOf(backup() / "A.JPG"), "theirs");
}

} // namespace e2e
