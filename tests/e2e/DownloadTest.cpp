// What a download does when all goes well, and what it says.

#include "e2e/support/MfxRun.h"
#include "support/TinyJpeg.h"

#include <fstream>

#include <fcntl.h>
#include <sys/stat.h>

namespace e2e {

class DownloadTest : public MfxTest {
protected:
    std::string photo(const std::string& date, const std::string& comment = "")
    {
        return tests::tinyJpegBytes({{"Exif.Photo.DateTimeOriginal", date}}) + comment;
    }
};

TEST_F(DownloadTest, SavesEveryFileOfTheCardByteForByte)
{
    addFile("IMG_0001.JPG", photo("2026:01:02 03:04:05"));
    addFile("IMG_0002.JPG", std::string(3'000'000, 'x'));
    addFile("EMPTY.JPG", "");
    const RunResult result = download();
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(filesIn(target()), filesIn(card() / "DCIM/100MFX"));
    EXPECT_EQ(result.summary()["saved"], 3);
    EXPECT_EQ(result.summary()["proven"], 3);
    expectNoLeftovers();
}

TEST_F(DownloadTest, TellsSourceItemsAndSummaryAsJson)
{
    addFile("IMG_0001.JPG", "abc");
    const RunResult result = downloadWithBackup();
    ASSERT_EQ(result.code, 0) << result.err;
    const Json source = result.events("source").at(0);
    EXPECT_EQ(source["name"], "card");
    EXPECT_EQ(source["items"], 1);
    EXPECT_EQ(source["bytes"], 3);
    const Json item = result.item("IMG_0001.JPG");
    EXPECT_EQ(item["key"], 1);
    EXPECT_EQ(item["saved"], (target() / "IMG_0001.JPG").string());
    EXPECT_EQ(item["backup"], backup().string());
    EXPECT_EQ(item["dng"], nullptr);
    EXPECT_EQ(item["status"], "ok");
    EXPECT_EQ(item["error"], nullptr);
    const Json summary = result.summary();
    for (const auto& [key, value] : std::map<std::string, int>{{"items", 1},
             {"saved", 1},
             {"existing", 0},
             {"backups", 1},
             {"converted", 0},
             {"failed", 0},
             {"deleted", 0}})
        EXPECT_EQ(summary[key], value) << key;
    EXPECT_EQ(summary["folder"], target().string());
}

TEST_F(DownloadTest, MakesASecondCopyUnderTheDeviceName)
{
    addFile("IMG_0001.JPG", photo("2026:01:02 03:04:05"));
    const RunResult result =
        downloadWithBackup({"--rename", "{date:%Y%m%d}_{seq:4}", "--subfolders", "%Y/%m"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_TRUE(fs::exists(target() / "2026/01/20260102_0001.JPG"));
    EXPECT_EQ(filesIn(backup()), filesIn(card() / "DCIM/100MFX"));
    struct stat status = {};
    ASSERT_EQ(::stat((backup() / "IMG_0001.JPG").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
    EXPECT_EQ(status.st_nlink, 1U);
}

TEST_F(DownloadTest, KeepsTheTimeOfModification)
{
    const fs::path original = addFile("A.JPG", "a");
    ASSERT_EQ(downloadWithBackup().code, 0);
    EXPECT_EQ(fs::last_write_time(target() / "A.JPG"), fs::last_write_time(original));
    EXPECT_EQ(fs::last_write_time(backup() / "A.JPG"), fs::last_write_time(original));
}

TEST_F(DownloadTest, SortsByTheDateInThePhotoAndNeverByTheZoneOfThisMachine)
{
    addFile("NIGHT.JPG", photo("2026:03:29 00:30:00"));
    for (const char* zone : {"Pacific/Kiritimati", "Pacific/Pago_Pago"}) {
        setVariable("TZ", zone);
        fs::remove_all(target());
        ASSERT_EQ(download({"--subfolders", "%Y-%m-%d"}).code, 0);
        EXPECT_TRUE(fs::exists(target() / "2026-03-29/NIGHT.JPG")) << zone;
    }
}

TEST_F(DownloadTest, PutsFilesWithoutADateIntoUndated)
{
    const fs::path file = addFile("OLD.JPG", "no date");
    const timespec epoch[2] = {{0, 0}, {0, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), epoch, 0), 0);
    ASSERT_EQ(download({"--subfolders", "%Y"}).code, 0);
    EXPECT_TRUE(fs::exists(target() / "undated/OLD.JPG"));
}

TEST_F(DownloadTest, GivesShotsOfOneSecondNamesOfTheirOwn)
{
    for (int i = 0; i < 10; ++i)
        addFile("B" + std::to_string(i) + ".JPG", photo("2026:01:02 03:04:05", std::to_string(i)));
    ASSERT_EQ(download({"--rename", "{date:%H%M%S}"}).code, 0);
    EXPECT_EQ(filesIn(target()).size(), 10U);
    EXPECT_TRUE(fs::exists(target() / "030405.JPG"));
    EXPECT_TRUE(fs::exists(target() / "030405-9.JPG"));
}

TEST_F(DownloadTest, NeverReplacesAFileThatIsInTheWay)
{
    fs::create_directories(target());
    std::ofstream(target() / "A.JPG") << "mine";
    addFile("A.JPG", "theirs");
    const RunResult result = download();
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(contentOf(target() / "A.JPG"), "mine");
    EXPECT_EQ(contentOf(target() / "A-1.JPG"), "theirs");
    EXPECT_EQ(result.item("A.JPG")["saved"], (target() / "A-1.JPG").string());
}

TEST_F(DownloadTest, DoesNotFollowADeadLinkThatIsInTheWay)
{
    fs::create_directories(target());
    fs::create_symlink("nowhere", target() / "A.JPG");
    addFile("A.JPG", "a");
    EXPECT_EQ(download().code, 0);
    EXPECT_EQ(contentOf(target() / "A-1.JPG"), "a");
    EXPECT_FALSE(fs::exists(target() / "nowhere"));
}

TEST_F(DownloadTest, CopiesNothingTwice)
{
    addFile("A.JPG", "a");
    addFile("B.JPG", "b");
    ASSERT_EQ(downloadWithBackup().code, 0);
    const auto saved = filesIn(target());
    const auto copies = filesIn(backup());
    const RunResult again = downloadWithBackup();
    EXPECT_EQ(again.code, 0);
    EXPECT_EQ(again.item("A.JPG")["status"], "exists");
    EXPECT_EQ(again.item("A.JPG")["backup"], backup().string());
    EXPECT_EQ(again.summary()["existing"], 2);
    EXPECT_EQ(again.summary()["saved"], 0);
    EXPECT_EQ(again.summary()["proven"], 2);
    EXPECT_EQ(filesIn(target()), saved);
    EXPECT_EQ(filesIn(backup()), copies);
}

TEST_F(DownloadTest, FindsItsOwnNumberedFormAgain)
{
    addFileIn("DCIM/100MFX", "A.JPG", "first");
    addFileIn("DCIM/101MFX", "A.JPG", "second");
    ASSERT_EQ(downloadWithBackup().code, 0);
    EXPECT_EQ(contentOf(target() / "A-1.JPG"), "second");
    EXPECT_EQ(contentOf(backup() / "A-1.JPG"), "second");
    ASSERT_EQ(downloadWithBackup().code, 0);
    EXPECT_EQ(filesIn(target()).size(), 2U);
    EXPECT_EQ(filesIn(backup()).size(), 2U);
}

TEST_F(DownloadTest, TakesMirroredSlotsOfACameraForOnePhoto)
{
    addFileIn("SLOT1", "A.JPG", "same");
    addFileIn("SLOT2", "A.JPG", "same");
    const RunResult result = downloadWithBackup();
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(filesIn(target()).size(), 1U);
    EXPECT_EQ(filesIn(backup()).size(), 1U);
    EXPECT_EQ(result.summary()["saved"], 1);
    EXPECT_EQ(result.summary()["existing"], 1);
}

TEST_F(DownloadTest, MakesTheBackupInTheTargetItselfUnderANumber)
{
    addFile("A.JPG", "a");
    const RunResult first = download({"--backup", target()});
    EXPECT_EQ(first.code, 0) << first.err;
    EXPECT_EQ(
        filesIn(target()), (std::map<std::string, std::string>{{"A.JPG", "a"}, {"A-1.JPG", "a"}}));
    const RunResult again = download({"--backup", target()});
    EXPECT_EQ(again.summary()["backups"], 1);
    EXPECT_EQ(filesIn(target()).size(), 2U);
}

TEST_F(DownloadTest, FindsABackupInTheTargetThatGoesOnFromTheNamesNumber)
{
    addFile("A-7.JPG", "a");
    ASSERT_EQ(download({"--backup", target()}).code, 0);
    ASSERT_EQ(download({"--backup", target()}).code, 0);
    EXPECT_EQ(filesIn(target()),
        (std::map<std::string, std::string>{{"A-7.JPG", "a"}, {"A-7-8.JPG", "a"}}));
}

TEST_F(DownloadTest, MakesABackupOfWhatStandsOnlyInTheTarget)
{
    addFile("A.JPG", "a");
    ASSERT_EQ(download().code, 0);
    const RunResult result = downloadWithBackup();
    EXPECT_EQ(result.item("A.JPG")["status"], "exists");
    EXPECT_EQ(contentOf(backup() / "A.JPG"), "a");
    EXPECT_EQ(result.summary()["backups"], 1);
}

TEST_F(DownloadTest, TrustsNoFileInTheBackupFolderForItsNameAlone)
{
    addFile("A.JPG", "photo");
    fs::create_directories(backup());
    std::ofstream(backup() / "A.JPG") << "phoTo";
    ASSERT_EQ(downloadWithBackup().code, 0);
    EXPECT_EQ(contentOf(backup() / "A.JPG"), "phoTo");
    EXPECT_EQ(contentOf(backup() / "A-1.JPG"), "photo");
}

TEST_F(DownloadTest, KeepsTwinsAndSidecarsTogetherUnderOneNewStem)
{
    for (const char* name : {"A.CR2", "A.JPG", "A.xmp", "A.CR2.xmp", "A.WAV", "A.THM"})
        addFile(name, std::string("content of ") + name);
    fs::create_directories(target());
    std::ofstream(target() / "A.JPG") << "another photo";
    ASSERT_EQ(downloadWithBackup().code, 0);
    const auto files = filesIn(target());
    EXPECT_EQ(files.size(), 7U);
    for (const char* name : {"A-1.CR2", "A-1.JPG", "A-1.xmp", "A-1.CR2.xmp", "A-1.WAV", "A-1.THM"})
        EXPECT_TRUE(files.contains(name)) << name;
    EXPECT_EQ(filesIn(backup()).size(), 6U);
}

TEST_F(DownloadTest, DoesNotLendAPhotoTheSidecarOfAnother)
{
    fs::create_directories(target());
    std::ofstream(target() / "A.xmp") << "settings of another photo";
    addFile("A.CR2", "raw");
    ASSERT_EQ(download().code, 0);
    EXPECT_TRUE(fs::exists(target() / "A-1.CR2"));
}

TEST_F(DownloadTest, SharesSequenceNumbersWithinAGroup)
{
    addFile("A.CR2", "raw");
    addFile("A.JPG", "jpeg");
    addFile("B.JPG", "other");
    ASSERT_EQ(download({"--rename", "P{seq:3}.{ext}"}).code, 0);
    const auto files = filesIn(target());
    EXPECT_TRUE(files.contains("P001.CR2"));
    EXPECT_TRUE(files.contains("P001.JPG"));
    EXPECT_TRUE(files.contains("P002.JPG"));
}

TEST_F(DownloadTest, TakesOnlyTheNamesAskedForAndDoesNotCallTheCardSafe)
{
    addFile("A.JPG", "a");
    addFile("B.MOV", "b");
    const RunResult result = download({"--only", "*.jpg"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(filesIn(target()).size(), 1U);
    EXPECT_EQ(result.summary()["card_may_be_wiped"], false);
}

TEST_F(DownloadTest, PlansExactlyWhatItThenDoes)
{
    addFile("A.CR2", "raw");
    addFile("A.JPG", "jpeg");
    addFileIn("DCIM/101MFX", "A.JPG", "other");
    const std::vector<std::string> naming{"--rename", "{date:%Y}-{name}", "--subfolders", "%m"};
    std::vector<std::string> dry = naming;
    dry.push_back("--dry-run");
    const RunResult plan = download(dry);
    EXPECT_EQ(plan.code, 0);
    EXPECT_FALSE(fs::exists(target()));
    const RunResult run = download(naming);
    ASSERT_EQ(run.code, 0);
    const auto planned = plan.events("item");
    const auto done = run.events("item");
    ASSERT_EQ(planned.size(), 3U);
    for (std::size_t i = 0; i < planned.size(); ++i)
        EXPECT_EQ(planned[i]["saved"], done[i]["saved"]);
}

TEST_F(DownloadTest, GivesPeopleOneVerdict)
{
    addFile("A.JPG", "a");
    const RunResult result = mfx({"download", card(), "--to", target(), "--backup", backup()});
    EXPECT_EQ(result.code, 0);
    EXPECT_NE(result.out.find("1 saved, 1 backed up, 1 proven, 0 problems: the card may be wiped."),
        std::string::npos)
        << result.out;
    EXPECT_EQ(result.err.find('\r'), std::string::npos) << "progress is for terminals";
}

TEST_F(DownloadTest, SaysNothingWhenAskedToBeQuietAndAllIsWell)
{
    addFile("A.JPG", "a");
    const RunResult result = mfx({"download", card(), "--to", target(), "--quiet"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
}

TEST_F(DownloadTest, SavesNamesOfAnyBytes)
{
    for (int i = 1; i < 256; ++i) {
        if (i == '/' || i == '.')
            continue;
        addFile("n" + std::string(1, static_cast<char>(i)) + std::to_string(i) + ".JPG",
            std::to_string(i));
    }
    addFile(std::string(251, '\xe9') + ".JPG", "long");
    addFile("caf\xc3\xa9.JPG", "composed");
    addFile("cafe\xcc\x81.JPG", "decomposed");
    const RunResult result = downloadWithBackup();
    EXPECT_EQ(result.code, 0) << result.err;
    const auto files = filesIn(target());
    EXPECT_EQ(files.size(), 256U);
    EXPECT_EQ(filesIn(backup()).size(), 256U);
    EXPECT_EQ(files.at("n%FF255.JPG"), "255");
    EXPECT_EQ(files.at("n\n10.JPG"), "10");
    EXPECT_EQ(files.at("caf\xc3\xa9.JPG"), "composed");
    EXPECT_EQ(files.at("cafe\xcc\x81.JPG"), "decomposed");
}

TEST_F(DownloadTest, ReadsSourcesThatAreNotUtf8)
{
    const fs::path odd = root() / "c\xff\xfe";
    fs::create_directories(odd);
    std::ofstream(odd / "A.JPG") << "a";
    const RunResult result = mfx({"download", odd, "--to", target(), "--json"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(contentOf(target() / "A.JPG"), "a");
    EXPECT_EQ(result.events("source").at(0)["name"], "c%FF%FE");
}

TEST_F(DownloadTest, LeavesLinksSocketsAndPipesAloneAndSaysSo)
{
    addFile("A.JPG", "a");
    fs::create_symlink(card(), card() / "DCIM/loop");
    ASSERT_EQ(::mkfifo((card() / "DCIM/pipe.JPG").c_str(), 0600), 0);
    const RunResult result = download();
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(filesIn(target()).size(), 1U);
    EXPECT_EQ(result.summary()["card_may_be_wiped"], false);
    EXPECT_EQ(result.summary()["not_handled"].size(), 2U);
}

TEST_F(DownloadTest, ListsWhatLiesOnACard)
{
    addFile("A.JPG", photo("2026:01:02 03:04:05"));
    const RunResult result = mfx({"list", card(), "--json"});
    EXPECT_EQ(result.code, 0);
    const Json item = result.events().at(0);
    EXPECT_EQ(item["name"], "A.JPG");
    EXPECT_EQ(item["date"], "2026-01-02T03:04:05");
}

TEST_F(DownloadTest, ListsPathsFromTheSourceOn)
{
    fs::create_directories(root() / "folder/below");
    std::ofstream(root() / "folder/A.JPG") << "photo";
    std::ofstream(root() / "folder/below/B.JPG") << "photo";
    const std::string lines = mfx({"list", root() / "folder"}).out;
    EXPECT_EQ(lines.find("A.JPG\t"), 0U) << lines;
    EXPECT_NE(lines.find("\nbelow/B.JPG\t"), std::string::npos) << lines;
}

} // namespace e2e
