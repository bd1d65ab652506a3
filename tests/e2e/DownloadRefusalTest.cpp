// What wrong input gets: a message that names the thing and says what to do, and the documented
// exit code.

#include "e2e/support/MfxRun.h"

#include <cstdlib>
#include <fstream>

#include <sys/wait.h>
#include <unistd.h>

namespace e2e {

class DownloadRefusalTest : public MfxTest {
protected:
    void SetUp() override
    {
        MfxTest::SetUp();
        addFile("A.JPG", "photo");
    }

    void expectRefusal(const RunResult& result, int code, const std::string& words)
    {
        EXPECT_EQ(result.code, code) << result.err;
        EXPECT_NE(result.err.find(words), std::string::npos) << result.err;
        EXPECT_EQ(filesIn(card()).size(), 1U);
    }
};

TEST_F(DownloadRefusalTest, WrongUsageEndsWithTwo)
{
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{{},
             {"dowload"},
             {"download"},
             {"download", card()},
             {"download", card(), "--to"},
             {"download", card(), "--to", target(), "--backup", "", "--delete-originals", "--yes"},
             {"download", card(), "--to", target(), "--dng-preview", "huge"},
             {"download", card(), "--to", target(), "--frobnicate"},
             {"list"}})
        EXPECT_EQ(mfx(words).code, 2);
    EXPECT_FALSE(fs::exists(target()));
}

TEST_F(DownloadRefusalTest, WrongPatternsEndWithTwo)
{
    for (const char* pattern : {"{nam}", "{seq:0}", "{seq:x}", "{date:", "a/b", "{date:%Q}"})
        EXPECT_EQ(download({"--rename", pattern}).code, 2) << pattern;
    for (const char* pattern : {"../%Y", "/%Y", "%Y//%m", ".hidden", "%Q"})
        EXPECT_EQ(download({"--subfolders", pattern}).code, 2) << pattern;
    EXPECT_FALSE(fs::exists(target()));
}

TEST_F(DownloadRefusalTest, HelpAndVersionEndWithNought)
{
    for (const char* word : {"--help", "--version"}) {
        const RunResult result = mfx({word});
        EXPECT_EQ(result.code, 0);
        EXPECT_FALSE(result.out.empty());
    }
    EXPECT_NE(mfx({"download", "--help"}).out.find("Exit codes"), std::string::npos);
}

TEST_F(DownloadRefusalTest, AnUnknownSourceEndsWithThree)
{
    expectRefusal(
        mfx({"download", root() / "nothing", "--to", target()}), 3, (root() / "nothing").string());
    expectRefusal(mfx({"list", "NO_SUCH_CARD"}), 3, "NO_SUCH_CARD");
    expectRefusal(mfx({"download", card() / "DCIM/100MFX/A.JPG", "--to", target()}), 3, "A.JPG");
}

TEST_F(DownloadRefusalTest, ATargetThatIsAFileEndsWithFour)
{
    std::ofstream(target()) << "a file";
    expectRefusal(download(), 4, "is a file");
    expectRefusal(mfx({"download", card(), "--to", target() / "below"}), 4, "below");
    EXPECT_EQ(contentOf(target()), "a file");
}

TEST_F(DownloadRefusalTest, PlacesInsideTheSourceEndWithFour)
{
    expectRefusal(mfx({"download", card(), "--to", card() / "DCIM/new"}), 4, "inside the source");
    expectRefusal(mfx({"download", card(), "--to", card()}), 4, "inside the source");
    fs::create_directory_symlink(card(), root() / "link");
    expectRefusal(
        mfx({"download", card(), "--to", root() / "link/pictures"}), 4, "inside the source");
    expectRefusal(download({"--backup", card() / "backup"}), 4, "inside the source");
    EXPECT_FALSE(fs::exists(card() / "DCIM/new"));
}

TEST_F(DownloadRefusalTest, PlacesWithoutPermissionEndWithFour)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root to drop to a user who may not write";
    }
    fs::create_directories(root() / "locked");
    for (const char* folder : {"home", "run"})
        fs::permissions(root() / folder, fs::perms::all);
    asOrdinaryUser(true);
    expectRefusal(mfx({"download", card(), "--to", root() / "locked"}), 4, "permissions");
    expectRefusal(mfx({"download", card(), "--to", root() / "locked/new"}), 4, "cannot be made");
    expectRefusal(
        mfx({"download", card(), "--to", root() / "run/p", "--backup", root() / "locked"}),
        4,
        "locked");
}

TEST_F(DownloadRefusalTest, FoldersThatTextsCannotHoldEndWithFour)
{
    const std::string deep = root() / std::string(200, 'd') / std::string(200, 'e');
    expectRefusal(mfx({"download", card(), "--to", deep}), 4, "too deep");
    expectRefusal(mfx({"download", card(), "--to", root() / "t\xff"}), 4, "UTF-8");
    EXPECT_FALSE(fs::exists(deep));
}

TEST_F(DownloadRefusalTest, ARememberedBackupFolderThatIsGoneEndsWithFour)
{
    ASSERT_EQ(downloadWithBackup({"--remember"}).code, 0);
    const RunResult second = download();
    EXPECT_EQ(second.code, 0) << second.err;
    EXPECT_EQ(second.summary()["backups"], 1) << "the choice comes back";
    fs::remove_all(backup());
    expectRefusal(download(), 4, "backup");
    EXPECT_FALSE(fs::exists(backup()));
}

TEST_F(DownloadRefusalTest, ChoicesHoldForOneRunUnlessRemembered)
{
    ASSERT_EQ(downloadWithBackup().code, 0);
    EXPECT_EQ(download().summary()["backups"], 0);
    EXPECT_TRUE(filesIn(root() / "home").empty());
}

TEST_F(DownloadRefusalTest, PreferencesNoneStartsFromNothing)
{
    ASSERT_EQ(downloadWithBackup({"--remember"}).code, 0);
    EXPECT_EQ(download({"--preferences", "none"}).summary()["backups"], 0);
}

TEST_F(DownloadRefusalTest, ChoicesThatCouldNotBeRememberedEndWithOne)
{
    std::ofstream(root() / "file") << "no folder";
    const RunResult result = download({"--preferences", root() / "file", "--remember"});
    EXPECT_EQ(result.code, 1) << result.err;
    EXPECT_EQ(contentOf(target() / "A.JPG"), "photo");
    EXPECT_EQ(contentOf(root() / "file"), "no folder");
}

TEST_F(DownloadRefusalTest, OutputThatCannotBeWrittenEndsWithFour)
{
    for (const char* words : {" --json", ""}) {
        const std::string list = MFX_PROGRAM " list '" + card().string() + "'" + words;
        ASSERT_EQ(std::system((list + " > '" + root().string() + "/list'").c_str()), 0);
        const int status = std::system((list + " >&-").c_str());
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 4) << words;
    }
}

TEST_F(DownloadRefusalTest, AStoreOfItsOwnRemembersTheSequence)
{
    const std::vector<std::string> words{
        "--rename", "P{seq:3}", "--preferences", root() / "store", "--remember"};
    ASSERT_EQ(download(words).code, 0);
    addFile("B.JPG", "another photo");
    fs::remove(card() / "DCIM/100MFX/A.JPG");
    ASSERT_EQ(download(words).code, 0);
    EXPECT_EQ(contentOf(target() / "P002.JPG"), "another photo");
}

TEST_F(DownloadRefusalTest, ADamagedStoreCostsNoPhoto)
{
    const fs::path store = root() / "home/.local/share/Velmo/Tevoro NX";
    fs::create_directories(store);
    std::ofstream(store / "preferences-3.xml") << "<preferences><value key=";
    EXPECT_EQ(download().code, 0);
    EXPECT_EQ(contentOf(target() / "A.JPG"), "photo");
}

TEST_F(DownloadRefusalTest, SourcesListsNothingThatIsNoCard)
{
    const RunResult result = mfx({"sources", "--json"});
    EXPECT_EQ(result.code, 0);
    for (const Json& source : result.events())
        EXPECT_NE(source["path"], card().string());
}

} // namespace e2e
