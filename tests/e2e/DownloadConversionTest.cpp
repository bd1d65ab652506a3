// Raw files and the conversion to DNG: with a library that does as it is told, and without one.

#include "e2e/support/MfxRun.h"
#include "support/RecordedDng.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <set>
#include <thread>

#include <unistd.h>

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

    void installLibrary(const char* file = CONVERSION_LIBRARY)
    {
        addLibrary("ZQPluginSupport", file);
        setVariable("CONVERSION_LOG", root() / "run/log");
    }

    // A line for the shell that does something while A.CR2 is converted.
    static std::string doingAtA(const std::string& what)
    {
        return "case $CONVERSION_SOURCE in *A.CR2) " + what + ";; esac";
    }

    // What a conversion of the whole card leaves, with a library whose DNGs bear our record.
    static std::map<std::string, std::string> convertedFiles()
    {
        return {{"A.dng", test::recordedDng("A.CR2", "raw a")},
            {"A.JPG", "jpeg a"},
            {"A.xmp", "settings of a"},
            {"B.dng", test::recordedDng("B.NEF", "raw b")}};
    }

    void convertCard(const std::vector<std::string>& more = {})
    {
        installLibrary();
        setVariable("CONVERSION_RECORDS", "1");
        std::vector<std::string> words{"--dng"};
        words.insert(words.end(), more.begin(), more.end());
        ASSERT_EQ(download(words).code, 0);
        fs::remove(root() / "run/log");
    }

    bool hasConverted() const { return fs::exists(root() / "run/log"); }

    // The runs from here on end before their n-th call that changes what stands below the target.
    void killAt(int n)
    {
        setVariable("LD_PRELOAD", FAULT_SHIM);
        setVariable("FAULT_ROOT", target());
        setVariable("FAULT_ONLY", "rename,renameat2,link,unlink,mkdir,rmdir");
        setVariable("FAULT_KILL", "1");
        setVariable("FAULT_AT", std::to_string(n));
    }

    void spare() { unsetVariable("LD_PRELOAD"); }
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
    EXPECT_EQ(
        fs::last_write_time(target() / "A.dng"), fs::last_write_time(card() / "DCIM/100MFX/A.CR2"));
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

TEST_F(DownloadConversionTest, NamesTheReasonThatTheLibraryGives)
{
    installLibrary();
    setVariable("CONVERSION_RESULT", "3");
    const RunResult result = download({"--dng"});
    EXPECT_EQ(result.code, 1) << result.err;
    for (const char* const name : {"A.CR2", "B.NEF"}) {
        EXPECT_EQ(result.item(name)["status"], "dng-failed");
        EXPECT_EQ(result.item(name)["error"],
            "it could not be converted to DNG: its picture is not whole");
    }
    EXPECT_EQ(result.item("A.JPG")["error"], nullptr);
    const RunResult text = mfx({"download", card(), "--to", data() / "again", "--dng"});
    EXPECT_NE(text.err.find("A.CR2: it could not be converted to DNG: its picture is not whole"),
        std::string::npos)
        << text.err;
}

TEST_F(DownloadConversionTest, GivesNoReasonOfAnotherFile)
{
    installLibrary();
    setVariable("CONVERSION_RESULT", "3");
    fs::create_directories(target() / ".mfxdownload/B.NEF/taken"); // it cannot be set aside
    const RunResult result = download({"--dng"});
    EXPECT_NE(
        result.item("A.CR2")["error"].get<std::string>().find("not whole"), std::string::npos);
    EXPECT_EQ(result.item("B.NEF")["error"], "Could not convert to DNG...");
    EXPECT_EQ(contentOf(target() / "B.NEF"), "raw b");
}

// While a raw file is set aside its name is free. Who takes it does not become the saved copy.
TEST_F(DownloadConversionTest, SavesTheRawFileBesideOneThatTookItsName)
{
    installLibrary();
    setVariable("CONVERSION_RESULT", "3");
    setVariable("CONVERSION_WRITES", "0");
    setVariable(
        "CONVERSION_RUNS", doingAtA("printf other >'" + (target() / "A.CR2").string() + "'"));
    const RunResult result = download({"--dng", "--delete-originals", "--yes"});
    EXPECT_EQ(contentOf(target() / "A.CR2"), "other");
    EXPECT_EQ(contentOf(target() / "A-1.CR2"), "raw a");
    EXPECT_EQ(result.item("A.CR2")["saved"], (target() / "A-1.CR2").string());
    EXPECT_EQ(result.item("A.CR2")["status"], "dng-failed");
    EXPECT_EQ(result.summary()["proven"], 4);
    expectNoLeftovers();
}

TEST_F(DownloadConversionTest, TakesNoFileForItsCopyThatTookTheNameOfADNGsRawFile)
{
    installLibrary();
    setVariable("CONVERSION_RECORDS", "1");
    setVariable(
        "CONVERSION_RUNS", doingAtA("printf other >'" + (target() / "A.CR2").string() + "'"));
    const RunResult result = download({"--dng"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.item("A.CR2")["dng"], (target() / "A.dng").string());
    EXPECT_EQ(result.summary()["converted"], 2);
    EXPECT_EQ(result.summary()["proven"], 4);
    EXPECT_EQ(contentOf(target() / "A.CR2"), "other");
    EXPECT_EQ(contentOf(target() / "A.dng"), test::recordedDng("A.CR2", "raw a"));
}

// What was proven is the copy; a DNG of other bytes proves nothing.
TEST_F(DownloadConversionTest, DoesNotBelieveADNGOfOtherBytes)
{
    installLibrary();
    setVariable("CONVERSION_RECORDS", "1");
    setVariable("CONVERSION_RUNS",
        doingAtA("printf ' changed' >>'" + (target() / ".mfxdownload/A.CR2").string() + "'"));
    const RunResult result = download({"--dng", "--delete-originals", "--yes"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.item("A.CR2")["status"], "dng-failed");
    EXPECT_EQ(result.item("A.CR2")["dng"], nullptr);
    const std::string error = result.item("A.CR2")["error"];
    EXPECT_NE(error.find("holds other bytes"), std::string::npos) << error;
    EXPECT_EQ(result.summary()["card_may_be_wiped"], false);
    EXPECT_EQ(contentOf(card() / "DCIM/100MFX/A.CR2"), "raw a");
    EXPECT_FALSE(fs::exists(card() / "DCIM/100MFX/B.NEF")) << "what is proven may go";
}

TEST_F(DownloadConversionTest, PutsBackWhatAnotherConversionLeftBeforeItConverts)
{
    installLibrary();
    setVariable("CONVERSION_RUNS",
        doingAtA("printf 'the only one' >'" + (target() / ".mfxdownload/B.NEF").string() + "'"));
    const RunResult result = download({"--dng"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(contentOf(target() / "B.NEF"), "the only one");
    EXPECT_EQ(contentOf(target() / "B-1.dng"), "DNG of raw b");
    EXPECT_EQ(result.events("message").at(0)["text"],
        "put back after an earlier run was cut off: " + (target() / "B.NEF").string());
    EXPECT_EQ(filesIn(target() / ".mfxdownload"),
        (std::map<std::string, std::string>{{"unconverted/B.NEF", ""}}))
        << "the next run converts it";
}

// Two cards with the same names, into one folder, at once: the conversions set their files aside
// under one path.
TEST_F(DownloadConversionTest, LosesNothingToAnotherDownloadThatConverts)
{
    installLibrary();
    const fs::path second = card().parent_path() / "second";
    fs::create_directories(second / "DCIM/100MFX");
    std::ofstream(second / "DCIM/100MFX/A.CR2") << "raw of the other";
    setVariable("CONVERSION_RESULT", "3");
    setVariable("CONVERSION_WRITES", "0");
    const std::string once = (root() / "run/once").string();
    setVariable("CONVERSION_RUNS",
        "mkdir '" + once + "' 2>/dev/null || exit 0; { '" + program().string() + "' download '"
            + second.string() + "' --to '" + target().string() + "' --dng >'" + once
            + "/said' 2>&1; mv '" + once + "/said' '" + once + "/ended'; } & sleep 1");
    EXPECT_EQ(download({"--dng"}).code, 1);
    for (int i = 0; i < 600 && !fs::exists(once + "/ended"); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    ASSERT_TRUE(fs::exists(once + "/ended"));
    std::multiset<std::string> kept;
    for (const auto& [name, bytes] : filesIn(target()))
        kept.insert(bytes);
    EXPECT_EQ(kept,
        (std::multiset<std::string>{
            "raw a", "jpeg a", "settings of a", "raw b", "raw of the other"}))
        << contentOf(once + "/ended");
    expectNoLeftovers();
}

TEST_F(DownloadConversionTest, DoesWithALibraryThatGivesNoReasons)
{
    installLibrary(SILENT_CONVERSION_LIBRARY);
    ASSERT_EQ(download({"--dng"}).code, 0);
    fs::remove_all(target());
    setVariable("CONVERSION_RESULT", "3");
    const RunResult result = download({"--dng"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.item("A.CR2")["error"], "Could not convert to DNG...");
}

TEST_F(DownloadConversionTest, LeavesRawFilesWhereTheyAreWithoutTheLibrary)
{
    addFileOfTree("Frameworks/nothing", ""); // a tree of its own, which has no such library
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

// The run that puts the raw file back is killed as well, at one place after the other: whatever it
// had come to, the next one converts.
TEST_F(DownloadConversionTest, ConvertsWhatTwoRunsLeftThatWereKilled)
{
    installLibrary();
    setVariable("CONVERSION_RECORDS", "1");
    const auto onCard = filesIn(card() / "DCIM/100MFX");
    int killed = 0;
    // A stride that is no divisor visits all over many runs.
    for (int n = 1 + ::getpid() % 3; n < 400; n += 3) {
        const std::string when = "killed before call " + std::to_string(n);
        fs::remove_all(target());
        setVariable("CONVERSION_CRASH", "1");
        EXPECT_EQ(download({"--dng"}).code, -SIGKILL);
        unsetVariable("CONVERSION_CRASH");
        killAt(n);
        const RunResult second = download({"--dng"});
        spare();
        if (second.code == 0)
            break; // it has no further call
        ++killed;
        EXPECT_EQ(second.code, -SIGKILL) << when;
        const RunResult third = download({"--dng"});
        EXPECT_EQ(third.code, 0) << when << third.err;
        EXPECT_EQ(filesIn(target()), convertedFiles()) << when;
        EXPECT_EQ(filesIn(card() / "DCIM/100MFX"), onCard);
        expectNoLeftovers();
        if (HasFailure())
            break;
    }
    EXPECT_GT(killed, 8);
}

TEST_F(DownloadConversionTest, GivesAConversionUpThatARunWithoutItFinds)
{
    installLibrary();
    setVariable("CONVERSION_CRASH", "1");
    EXPECT_EQ(download({"--dng"}).code, -SIGKILL);
    unsetVariable("CONVERSION_CRASH");
    ASSERT_EQ(download().code, 0);
    EXPECT_EQ(download({"--dng"}).summary()["converted"], 0);
    EXPECT_EQ(filesIn(target()), filesIn(card() / "DCIM/100MFX"));
    expectNoLeftovers();
}

TEST_F(DownloadConversionTest, KeepsAConversionForTheRunThatComesToIt)
{
    installLibrary();
    setVariable("CONVERSION_CRASH", "1");
    EXPECT_EQ(download({"--dng"}).code, -SIGKILL);
    unsetVariable("CONVERSION_CRASH");
    EXPECT_EQ(download({"--dng", "--only", "B*"}).code, 0);
    EXPECT_EQ(contentOf(target() / "A.CR2"), "raw a");
    const RunResult third = download({"--dng"});
    EXPECT_EQ(third.item("A.CR2")["dng"], (target() / "A.dng").string());
    expectNoLeftovers();
}

TEST_F(DownloadConversionTest, CopiesAndConvertsNothingAgain)
{
    convertCard();
    ASSERT_EQ(filesIn(target()), convertedFiles());
    const RunResult second = download({"--dng"});
    EXPECT_EQ(second.code, 0) << second.err;
    EXPECT_EQ(filesIn(target()), convertedFiles());
    EXPECT_FALSE(hasConverted());
    EXPECT_EQ(second.item("B.NEF")["status"], "exists");
    EXPECT_EQ(second.item("B.NEF")["dng"], (target() / "B.dng").string());
    EXPECT_EQ(second.item("A.CR2")["dng"], (target() / "A.dng").string());
    EXPECT_EQ(second.item("A.JPG")["dng"], nullptr);
    EXPECT_EQ(second.summary()["existing"], 4);
    EXPECT_EQ(second.summary()["converted"], 0);
    expectNoLeftovers();
}

TEST_F(DownloadConversionTest, FindsADNGUnderANumberedName)
{
    for (const char* const taken : {"A.CR2", "B.dng"}) {
        fs::create_directories(target());
        std::ofstream(target() / taken) << "somebody else's";
    }
    convertCard();
    const auto files = filesIn(target());
    EXPECT_EQ(files.at("A-1.dng"), test::recordedDng("A-1.CR2", "raw a"));
    EXPECT_EQ(files.at("B-1.dng"), test::recordedDng("B-1.NEF", "raw b"));
    const RunResult second = download({"--dng"});
    EXPECT_EQ(filesIn(target()), files);
    EXPECT_EQ(second.item("A.CR2")["dng"], (target() / "A-1.dng").string());
    EXPECT_EQ(second.item("B.NEF")["status"], "exists");
    EXPECT_FALSE(hasConverted());
}

TEST_F(DownloadConversionTest, FindsADNGUnderWhateverNumberItWasGiven)
{
    const std::vector<std::string> naming{"--rename", "{date:%Y}_{seq:3}.{ext}"};
    convertCard(naming);
    const auto files = filesIn(target());
    ASSERT_EQ(files.at("2026_002.dng"), test::recordedDng("2026_002.NEF", "raw b"));
    const RunResult second = download({"--dng", "--rename", "{date:%Y}_{seq:3}.{ext}"});
    EXPECT_EQ(second.code, 0) << second.err;
    EXPECT_EQ(filesIn(target()), files);
    EXPECT_EQ(second.item("A.CR2")["dng"], (target() / "2026_001.dng").string());
    EXPECT_EQ(second.item("B.NEF")["status"], "exists");
    EXPECT_FALSE(hasConverted());
    addFile("B.NEF", "raw c");
    ASSERT_EQ(download({"--dng", "--rename", "{date:%Y}_{seq:3}.{ext}"}).code, 0);
    EXPECT_EQ(contentOf(target() / "2026_003.dng"), test::recordedDng("2026_003.NEF", "raw c"));
}

TEST_F(DownloadConversionTest, CompletesAGroupWhoseRawFileStandsAsADNG)
{
    convertCard();
    fs::remove(target() / "A.JPG");
    const RunResult second = download({"--dng"});
    EXPECT_EQ(second.code, 0) << second.err;
    EXPECT_EQ(filesIn(target()), convertedFiles());
    EXPECT_EQ(second.item("A.JPG")["status"], "ok");
    EXPECT_EQ(second.item("A.CR2")["status"], "exists");
}

TEST_F(DownloadConversionTest, TakesADNGOfOtherBytesForNoCopy)
{
    convertCard();
    addFile("B.NEF", "raw c"); // as long
    const RunResult second = download({"--dng"});
    EXPECT_EQ(second.code, 0) << second.err;
    EXPECT_EQ(contentOf(target() / "B.dng"), test::recordedDng("B.NEF", "raw b"));
    EXPECT_EQ(contentOf(target() / "B-1.dng"), test::recordedDng("B-1.NEF", "raw c"));
}

TEST_F(DownloadConversionTest, SavesTheRawFileBesideItsDNGForWhoAsksForIt)
{
    convertCard();
    const RunResult second = download();
    EXPECT_EQ(second.code, 0) << second.err;
    EXPECT_EQ(second.item("A.CR2")["status"], "ok");
    auto files = convertedFiles();
    files["A.CR2"] = "raw a";
    files["B-1.NEF"] = "raw b"; // the name B is its DNG's
    EXPECT_EQ(filesIn(target()), files);
}

TEST_F(DownloadConversionTest, MakesTheBackupOfTheRawFileWhoseDNGStands)
{
    convertCard();
    for (int run = 0; run < 2; ++run) {
        const RunResult result = downloadWithBackup({"--dng"});
        EXPECT_EQ(result.code, 0) << result.err;
        EXPECT_EQ(filesIn(target()), convertedFiles());
        EXPECT_EQ(filesIn(backup()), filesIn(card() / "DCIM/100MFX"));
        EXPECT_EQ(result.summary()["backups"], 4);
        EXPECT_EQ(result.summary()["proven"], 4);
        EXPECT_EQ(result.item("B.NEF")["backup"], backup().string());
        EXPECT_FALSE(hasConverted());
        expectNoLeftovers();
    }
}

TEST_F(DownloadConversionTest, DeletesAnOriginalWhoseDNGStoodThereOnlyWithABackup)
{
    convertCard();
    const auto onCard = filesIn(card() / "DCIM/100MFX");
    const RunResult without = download({"--dng", "--delete-originals", "--yes"});
    EXPECT_EQ(without.code, 1);
    EXPECT_EQ(filesIn(card() / "DCIM/100MFX"), onCard);
    EXPECT_EQ(without.summary()["card_may_be_wiped"], false);
    EXPECT_NE(without.out.find("was not compared"), std::string::npos) << without.out;
    const RunResult with = downloadWithBackup({"--dng", "--delete-originals", "--yes"});
    EXPECT_EQ(with.code, 0) << with.err;
    EXPECT_EQ(with.summary()["deleted"], 4);
    EXPECT_EQ(filesIn(backup()), onCard);
    EXPECT_EQ(filesIn(target()), convertedFiles());
    EXPECT_TRUE(filesIn(card()).empty());
}

TEST_F(DownloadConversionTest, PlansNoCopyOfWhatStandsAsADNG)
{
    convertCard();
    const RunResult plan = download({"--dng", "--dry-run"});
    EXPECT_EQ(plan.item("B.NEF")["status"], "exists");
    EXPECT_EQ(plan.item("B.NEF")["dng"], (target() / "B.dng").string());
    EXPECT_EQ(filesIn(target()), convertedFiles());
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
