// Raw files and the conversion to DNG: with a library that does as it is told, and without one.

#include "e2e/MfxRun.h"

#include <csignal>

namespace e2e {

class DownloadConversionTest : public MfxTest {
protected:
    void SetUp() override
    {
        MfxTest::SetUp();
        addFile("A.CR2", "raw a");
        addFile("A.JPG", "jpeg a");
        addFile("A.xmp", "settings of a");
        addFile("B.NEF", "raw b");
    }

    void installLibrary()
    {
        addLibrary("ZQPluginSupport", CONVERSION_LIBRARY);
        setVariable("CONVERSION_LOG", root() / "run/log");
    }
};

TEST_F(DownloadConversionTest, PutsDNGsInThePlaceOfRawFiles)
{
    installLibrary();
    const RunResult result = downloadWithBackup({"--dng"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(filesIn(target()),
        (std::map<std::string, std::string>{{"A.dng", "DNG of raw a"},
            {"A.JPG", "jpeg a"},
            {"A.xmp", "settings of a"},
            {"B.dng", "DNG of raw b"}}));
    EXPECT_EQ(filesIn(backup()), filesIn(card() / "DCIM/100MFX")) << "the backup is the original";
    EXPECT_EQ(result.summary()["converted"], 2);
    EXPECT_EQ(result.item("A.CR2")["dng"], (target() / "A.dng").string());
    EXPECT_EQ(result.item("A.CR2")["status"], "ok");
    EXPECT_EQ(result.item("A.JPG")["dng"], nullptr);
    expectNoLeftovers();
}

TEST_F(DownloadConversionTest, TellsHowManyConversionsFailedAndKeepsTheRawFiles)
{
    installLibrary();
    setVariable("CONVERSION_RESULT", "1");
    setVariable("CONVERSION_WRITES", "0");
    const RunResult result = download({"--dng"});
    EXPECT_EQ(result.code, 1) << result.err;
    EXPECT_EQ(filesIn(target()), filesIn(card() / "DCIM/100MFX"));
    EXPECT_EQ(result.item("A.CR2")["status"], "dng-failed");
    EXPECT_EQ(result.summary()["failed"], 2);
    EXPECT_EQ(result.events("message").at(0)["text"],
        "Files Successfully Copied to " + target().string()
            + ". However, DNG Conversion failed for 2 file(s).");
    expectNoLeftovers();
}

TEST_F(DownloadConversionTest, LeavesRawFilesWhereTheyAreWithoutTheLibrary)
{
    const RunResult result = download({"--dng"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(filesIn(target()), filesIn(card() / "DCIM/100MFX"));
    EXPECT_EQ(result.item("B.NEF")["status"], "dng-failed");
    EXPECT_NE(
        result.item("B.NEF")["error"].get<std::string>().find("not installed"), std::string::npos);
    expectNoLeftovers();
}

TEST_F(DownloadConversionTest, PutsTheRawFileBackAfterTheLibraryCrashed)
{
    installLibrary();
    setVariable("CONVERSION_CRASH", "1");
    EXPECT_EQ(download({"--dng"}).code, -SIGKILL);
    EXPECT_EQ(contentOf(target() / ".mfxdownload/A.CR2"), "raw a");
    unsetVariable("CONVERSION_CRASH");
    const RunResult second = download();
    EXPECT_EQ(second.code, 0) << second.err;
    EXPECT_EQ(filesIn(target()), filesIn(card() / "DCIM/100MFX"));
    expectNoLeftovers();
}

TEST_F(DownloadConversionTest, ConvertsWhatACrashLeftRaw)
{
    installLibrary();
    setVariable("CONVERSION_CRASH", "1");
    EXPECT_EQ(downloadWithBackup({"--dng"}).code, -SIGKILL);
    unsetVariable("CONVERSION_CRASH");
    const RunResult second = downloadWithBackup({"--dng"});
    EXPECT_EQ(second.code, 0) << second.err;
    EXPECT_EQ(filesIn(target()),
        (std::map<std::string, std::string>{{"A.dng", "DNG of raw a"},
            {"A.JPG", "jpeg a"},
            {"A.xmp", "settings of a"},
            {"B.dng", "DNG of raw b"}}));
    EXPECT_EQ(second.item("A.CR2")["status"], "exists");
    EXPECT_EQ(second.item("A.CR2")["dng"], (target() / "A.dng").string());
    EXPECT_EQ(second.summary()["converted"], 2);
    expectNoLeftovers();
}

TEST_F(DownloadConversionTest, LeavesARawFileAsItIsThatAnEarlierRunSavedRaw)
{
    installLibrary();
    ASSERT_EQ(download().code, 0);
    const RunResult second = download({"--dng"});
    EXPECT_EQ(filesIn(target()), filesIn(card() / "DCIM/100MFX"));
    EXPECT_EQ(second.summary()["converted"], 0);
}

TEST_F(DownloadConversionTest, DeletesOriginalsWhoseDNGStands)
{
    installLibrary();
    const RunResult result = downloadWithBackup({"--dng", "--delete-originals", "--yes"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.summary()["deleted"], 4);
    EXPECT_TRUE(filesIn(card()).empty());
}

TEST_F(DownloadConversionTest, BringsTheChoicesBackTheNextTime)
{
    installLibrary();
    ASSERT_EQ(download({"--dng",
                           "--dng-preview",
                           "full",
                           "--dng-uncompressed",
                           "--dng-linear",
                           "--dng-embed-raw",
                           "--remember"})
                  .code,
        0);
    fs::remove_all(target());
    fs::remove(root() / "run/log");
    ASSERT_EQ(download().code, 0);
    EXPECT_NE(contentOf(root() / "run/log").find("B.dng 2011\n"), std::string::npos)
        << contentOf(root() / "run/log");
}

} // namespace e2e
