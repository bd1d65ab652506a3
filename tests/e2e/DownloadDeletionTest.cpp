// When originals are deleted, and above all when they are not.

#include "e2e/support/MfxRun.h"

#include <fstream>

#include <sys/mount.h>

namespace e2e {

class DownloadDeletionTest : public MfxTest {
protected:
    void SetUp() override
    {
        MfxTest::SetUp();
        addFile("A.JPG", "photo a");
        addFile("B.JPG", "photo b");
    }

    std::size_t leftOnCard() { return filesIn(card()).size(); }
};

TEST_F(DownloadDeletionTest, DeletesWhatIsProvenInBothPlaces)
{
    const RunResult result = downloadWithBackup({"--delete-originals", "--yes"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.summary()["deleted"], 2);
    EXPECT_EQ(leftOnCard(), 0U);
    EXPECT_EQ(filesIn(target()).size(), 2U);
    EXPECT_EQ(filesIn(backup()).size(), 2U);
}

TEST_F(DownloadDeletionTest, KeepsOriginalsWithoutBeingAsked)
{
    EXPECT_EQ(download().code, 0);
    EXPECT_EQ(leftOnCard(), 2U);
}

TEST_F(DownloadDeletionTest, KeepsOriginalsWhereNobodyCanAnswer)
{
    const RunResult result = download({"--delete-originals"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(leftOnCard(), 2U);
    EXPECT_NE(result.err.find("nobody to ask"), std::string::npos) << result.err;
}

// The store may name a backup folder.
TEST_F(DownloadDeletionTest, KeepsOriginalsWhenThePreferencesCannotBeRead)
{
    const fs::path store = root() / "home/.local/share/Velmo/Tevoro NX";
    fs::create_directories(store);
    std::ofstream(store / "preferences-3.xml") << "<preferences><value key=";
    const RunResult result = download({"--delete-originals", "--yes"});
    EXPECT_EQ(result.summary()["saved"], 2);
    EXPECT_EQ(result.summary()["deleted"], 0);
    EXPECT_EQ(leftOnCard(), 2U);
    EXPECT_NE(result.out.find("deletes nothing"), std::string::npos) << result.out;
}

TEST_F(DownloadDeletionTest, TakesYesForNoOrderOfItsOwn)
{
    EXPECT_EQ(download({"--yes"}).code, 0);
    EXPECT_EQ(leftOnCard(), 2U);
}

TEST_F(DownloadDeletionTest, DeletesWhatStoodThereOnlyIfItIsTheSameBytes)
{
    fs::create_directories(target());
    std::ofstream(target() / "A.JPG") << "photo a";
    std::ofstream(target() / "B.JPG") << "photo B";
    const RunResult result = download({"--delete-originals", "--yes"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.item("A.JPG")["status"], "exists");
    EXPECT_EQ(contentOf(target() / "B-1.JPG"), "photo b");
    EXPECT_EQ(leftOnCard(), 0U);
}

TEST_F(DownloadDeletionTest, KeepsWhatHasNoBackup)
{
    fs::create_directories(backup());
    if (::mount("tmpfs", backup().c_str(), "tmpfs", 0, "size=1m") != 0) {
        GTEST_SKIP() << "a disk that takes one file and no more needs root to mount";
    }
    setVariable("LD_PRELOAD", FAULT_SHIM);
    setVariable("FAULT_ROOT", backup());
    setVariable("FAULT_ONLY", "fsync");
    setVariable("FAULT_AT", "2"); // the first is that of the probing file
    const RunResult result = downloadWithBackup({"--delete-originals", "--yes"});
    ::umount2(backup().c_str(), MNT_DETACH);
    EXPECT_EQ(result.code, 1) << result.err;
    EXPECT_EQ(result.item("A.JPG")["status"], "backup-failed");
    EXPECT_TRUE(fs::exists(card() / "DCIM/100MFX/A.JPG"));
    EXPECT_FALSE(fs::exists(card() / "DCIM/100MFX/B.JPG"));
    EXPECT_EQ(result.summary()["deleted"], 1);
}

TEST_F(DownloadDeletionTest, KeepsAWholeGroupWhenOneMemberIsNotSafe)
{
    addFile("B.CR2", "raw b");
    fs::create_directories(backup());
    setVariable("LD_PRELOAD", FAULT_SHIM);
    setVariable("FAULT_ROOT", backup());
    setVariable("FAULT_ONLY", "write");
    setVariable("FAULT_AT", "6"); // two notes of the name and the copy, for A.JPG, then for B.CR2
    const RunResult result = downloadWithBackup({"--delete-originals", "--yes"});
    EXPECT_EQ(result.code, 1) << result.err;
    EXPECT_FALSE(fs::exists(card() / "DCIM/100MFX/A.JPG"));
    EXPECT_TRUE(fs::exists(card() / "DCIM/100MFX/B.CR2"));
    EXPECT_TRUE(fs::exists(card() / "DCIM/100MFX/B.JPG"));
}

TEST_F(DownloadDeletionTest, DeletesNothingWhenNamesCannotBeFlushed)
{
    fs::create_directories(target());
    setVariable("LD_PRELOAD", FAULT_SHIM);
    setVariable("FAULT_ROOT", target());
    setVariable("FAULT_ONLY", "fsync");
    setVariable("FAULT_AT", "3"); // two files, then their folder
    const RunResult result = download({"--delete-originals", "--yes"});
    EXPECT_EQ(result.code, 1) << result.err;
    EXPECT_EQ(leftOnCard(), 2U);
    EXPECT_EQ(result.summary()["card_may_be_wiped"], false);
}

TEST_F(DownloadDeletionTest, TellsOfOriginalsThatCannotBeDeleted)
{
    setVariable("LD_PRELOAD", FAULT_SHIM);
    setVariable("FAULT_ROOT", card());
    setVariable("FAULT_ONLY", "unlink");
    setVariable("FAULT_AT", "1");
    setVariable("FAULT_ERRNO", std::to_string(EROFS));
    const RunResult result = download({"--delete-originals", "--yes"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.summary()["deleted"], 1);
    EXPECT_EQ(result.summary()["not_deleted"], 1);
    EXPECT_NE(result.out.find("One or more files cannot be deleted"), std::string::npos);
    EXPECT_EQ(leftOnCard(), 1U);
}

TEST_F(DownloadDeletionTest, AsksOnceAndAtTheEndInTheWordsOfThePlugin)
{
    // `script` gives the program a terminal; the answer comes from its input.
    const std::string command = "printf 'y\\n' | script -qec '" + std::string(MFX_PROGRAM)
        + " download " + card().string() + " --to " + target().string()
        + " --delete-originals' /dev/null > " + (root() / "run/out").string() + " 2>&1";
    if (std::system("command -v script > /dev/null") != 0) {
        GTEST_SKIP() << "no program 'script' to make a terminal with";
    }
    ::setenv("HOME", (root() / "home").c_str(), 1);
    EXPECT_EQ(std::system(command.c_str()), 0);
    const std::string out = contentOf(root() / "run/out");
    EXPECT_NE(out.find("Do you want to delete these files from your camera, or card reader?"),
        std::string::npos)
        << out;
    EXPECT_EQ(leftOnCard(), 0U);
}

} // namespace e2e
