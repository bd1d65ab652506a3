// Choices of one run against those that are remembered, and what is said of wrong ones.

#include "e2e/support/MfxRun.h"

#include <gmock/gmock.h>

using testing::HasSubstr;
using testing::IsEmpty;

namespace e2e {

class DownloadOptionsTest : public MfxTest {
protected:
    void SetUp() override
    {
        MfxTest::SetUp();
        addFile("A.JPG", "photo");
        setVariable("MFX_APPLICATION_DATA", root() / "store");
    }

    void rememberBackup()
    {
        ASSERT_EQ(downloadWithBackup({"--remember"}).code, 0);
        fs::remove_all(target());
        fs::remove_all(backup());
    }
};

TEST_F(DownloadOptionsTest, MakesNoSecondCopyInARunThatWantsNone)
{
    rememberBackup();
    const RunResult result = download({"--no-backup"});
    EXPECT_EQ(result.code, 0) << result.err; // although the backup folder is not there
    EXPECT_EQ(result.summary()["backups"], 0);
    EXPECT_FALSE(fs::exists(backup()));
    fs::create_directories(backup());
    EXPECT_EQ(download().summary()["backups"], 1) << "it is remembered all the same";
}

TEST_F(DownloadOptionsTest, RemembersThatNoSecondCopyIsWanted)
{
    rememberBackup();
    ASSERT_EQ(download({"--no-backup", "--remember"}).code, 0);
    EXPECT_EQ(download().summary()["backups"], 0);
    EXPECT_FALSE(fs::exists(backup()));
}

TEST_F(DownloadOptionsTest, UndoesTheConversionAndTheBrowser)
{
    addFile("B.CR2", "raw");
    ASSERT_EQ(download({"--dng", "--open", "--remember"}).summary()["converted"], 0);
    const RunResult result = download({"--no-dng", "--no-open"});
    EXPECT_EQ(result.code, 0) << result.out;
    EXPECT_EQ(result.item("B.CR2")["error"], nullptr);
}

TEST_F(DownloadOptionsTest, CountsFromWhereItIsTold)
{
    addFile("B.JPG", "another");
    ASSERT_EQ(download({"--rename", "P{seq:3}", "--seq-start", "41"}).code, 0);
    EXPECT_TRUE(fs::exists(target() / "P041.JPG"));
    EXPECT_TRUE(fs::exists(target() / "P042.JPG"));
}

TEST_F(DownloadOptionsTest, NamesTheWordThatItDoesNotKnow)
{
    for (const char* locale : {"C", "de", "ja", "fr", "es", "it", "nl", "pl"}) {
        setVariable("LC_ALL", locale);
        for (const std::vector<std::string>& words : {std::vector<std::string>{"--foo"},
                 {"download", "--foo"},
                 {"list", "--foo"},
                 {"--foo", "frobnicate", "--to", target()},
                 {"download", card(), "--to", target(), "--foo"}}) {
            const RunResult result = mfx(words);
            EXPECT_EQ(result.code, 2) << locale;
            EXPECT_THAT(result.err, HasSubstr("--foo")) << locale;
            EXPECT_THAT(result.out, IsEmpty());
        }
        const RunResult result = mfx({"frobnicate", "--to", target()});
        EXPECT_EQ(result.code, 2) << locale;
        EXPECT_THAT(result.err, HasSubstr("frobnicate")) << locale;
    }
}

TEST_F(DownloadOptionsTest, RefusesAChoiceAndItsOpposite)
{
    EXPECT_EQ(downloadWithBackup({"--no-backup"}).code, 2);
    EXPECT_EQ(download({"--dng", "--no-dng"}).code, 2);
    EXPECT_EQ(download({"--open", "--no-open"}).code, 2);
    EXPECT_FALSE(fs::exists(target()));
}

} // namespace e2e
