#include "core/TevoroAppManager/support/SinkFixture.h"

#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> gTold; // "label TEXT", "detail TEXT", "error TEXT"

unsigned long label(const unsigned short* text, long value)
{
    gTold.push_back("label " + test::utf8(text) + (value == 0 ? "" : " with a value"));
    return 7;
}

unsigned long detail(const unsigned short* text, long value)
{
    gTold.push_back("detail " + test::utf8(text) + (value == 0 ? "" : " with a value"));
    return 7;
}

unsigned long error(const unsigned short* text, long)
{
    gTold.push_back("error " + test::utf8(text));
    return 7;
}

bool unexpectedItemCall(long&)
{
    gTold.emplace_back("item");
    return true;
}

// A panel that saves copies into home/Pictures, and a target folder with one saved file.
class BackupCopyTest : public test::SinkFixture {
protected:
    void SetUp() override
    {
        gTold.clear();
        openWithPanel();
        panel.check("savecopies_checkbox");
    }

    IMFXPostProcessing2& hooks() { return face<IMFXPostProcessing2>(66); }
    std::string backups() const { return tree.path("home/Pictures"); }
    std::string backup(const std::string& name) const { return backups() + "/" + name; }

    CPropSinkMediaItem item(
        const std::string& folder, const std::string& file, const std::string& device = {})
    {
        CPropSinkMediaItem record;
        record.tag = 3;
        record.size = 2104;
        record.lastWord = 0;
        test::put(record.folder, folder);
        test::put(record.fileName, file);
        test::put(record.deviceName, device.empty() ? file : device);
        return record;
    }

    FxStatus before(CPropSinkMediaItem record)
    {
        return hooks().DoPreProcessing(
            &record, label, detail, error, unexpectedItemCall, &m_display);
    }
    FxStatus after(CPropSinkMediaItem record)
    {
        return hooks().DoPostProcessing(
            &record, label, detail, error, unexpectedItemCall, &m_display);
    }

    // Backs up a file that stands in the backup folder itself, under its saved name.
    FxStatus backUpBeside(const std::string& file, const std::string& device)
    {
        tree.write("home/Pictures/" + file, "bytes");
        return before(item(backups(), file, device));
    }

    test::HostDisplay m_display{journal};
};

} // namespace

TEST_F(BackupCopyTest, CopiesTheFileUnderItsDeviceName)
{
    tree.write("t/renamed.jpg", "bytes");
    EXPECT_EQ(before(item(tree.path("t"), "renamed.jpg", "IMG_1.jpg")), kFxOk);
    EXPECT_EQ(test::read(backup("IMG_1.jpg")), "bytes");
    EXPECT_THAT(gTold,
        ElementsAre(
            "label Creating Backup Copy...", "detail " + backups(), "detail " + tree.path("t")));
    EXPECT_THAT(journal.lines(), IsEmpty());
}

TEST_F(BackupCopyTest, CopiesForThisUserAlone)
{
    tree.write("t/a.jpg", "bytes");
    EXPECT_EQ(before(item(tree.path("t"), "a.jpg")), kFxOk);
    struct stat status = {};
    ASSERT_EQ(::stat(backup("a.jpg").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST_F(BackupCopyTest, MakesTheBackupFolder)
{
    std::filesystem::remove(backups());
    tree.write("t/a.jpg", "bytes");
    EXPECT_EQ(before(item(tree.path("t"), "a.jpg")), kFxOk);
    EXPECT_EQ(test::read(backup("a.jpg")), "bytes");
}

TEST_F(BackupCopyTest, NumbersACopyWhoseNameIsTaken)
{
    tree.write("t/a.jpg", "bytes");
    tree.write("home/Pictures/a.jpg", "older");
    tree.write("home/Pictures/a-1.jpg", "older");
    EXPECT_EQ(before(item(tree.path("t"), "a.jpg")), kFxOk);
    EXPECT_EQ(test::read(backup("a-2.jpg")), "bytes");
    EXPECT_EQ(test::read(backup("a.jpg")), "older");
}

TEST_F(BackupCopyTest, DoesNothingWithoutItsCheckBox)
{
    panel.check("savecopies_checkbox", false);
    EXPECT_EQ(before(item("/nowhere", "a.jpg")), kFxOk);
    EXPECT_EQ(hooks().DoPreProcessing(nullptr, label, detail, error, nullptr, &m_display), kFxOk);
    EXPECT_EQ(after(item("/nowhere", "a.jpg")), kFxOk);
    close();
    panel.removeAll();
    openWithPanel();
    EXPECT_EQ(before(item("/nowhere", "a.jpg")), kFxOk);
    EXPECT_EQ(after(item("/nowhere", "a.jpg")), kFxOk);
    EXPECT_THAT(gTold, IsEmpty());
}

TEST_F(BackupCopyTest, RefusesRecordsOfAnotherSizeEachInItsWay)
{
    panel.check("dng_checkbox");
    tree.write("t/a.jpg", "bytes");
    CPropSinkMediaItem record = item(tree.path("t"), "a.jpg");
    record.size = 2103;
    EXPECT_EQ(before(record), kFxErrBadArgument);
    EXPECT_EQ(after(record), kFxWarnPostProcess);
    EXPECT_EQ(hooks().DoPreProcessing(nullptr, label, detail, error, nullptr, &m_display),
        kFxErrBadArgument);
    EXPECT_EQ(hooks().DoPostProcessing(nullptr, label, detail, error, nullptr, &m_display),
        kFxWarnPostProcess);
    EXPECT_THAT(gTold, IsEmpty());
    EXPECT_THAT(std::filesystem::is_empty(backups()), true);
}

TEST_F(BackupCopyTest, DoesNotLookAtTheTag)
{
    tree.write("t/a.jpg", "bytes");
    CPropSinkMediaItem record = item(tree.path("t"), "a.jpg");
    record.tag = 99;
    EXPECT_EQ(before(record), kFxOk);
}

TEST_F(BackupCopyTest, GoesOnWithoutCallbacks)
{
    tree.write("t/a.jpg", "bytes");
    CPropSinkMediaItem record = item(tree.path("t"), "a.jpg");
    EXPECT_EQ(hooks().DoPreProcessing(&record, nullptr, nullptr, nullptr, nullptr, nullptr), kFxOk);
    test::put(record.fileName, "missing.jpg");
    EXPECT_EQ(hooks().DoPreProcessing(&record, nullptr, nullptr, nullptr, nullptr, nullptr),
        kFxErrBackupFailed);
}

TEST_F(BackupCopyTest, RefusesABackupFolderThatCannotBeMade)
{
    std::filesystem::remove(backups());
    tree.write("home/Pictures", "a file stands there");
    tree.write("t/a.jpg", "bytes");
    EXPECT_EQ(before(item(tree.path("t"), "a.jpg")), kFxErrBadArgument);
    EXPECT_THAT(journal.lines(), IsEmpty());
    EXPECT_THAT(gTold, ElementsAre("label Creating Backup Copy...", "detail " + backups()));
}

TEST_F(BackupCopyTest, TellsOfLowSpaceForEveryFailedCopy)
{
    EXPECT_EQ(before(item(tree.path("t"), "missing.jpg")), kFxErrBackupFailed);
    EXPECT_THAT(journal.lines(),
        ElementsAre("message 33 [] The backup destination folder is low on disk space, and could "
                    "not obtain all files from the device. Please select a different folder or "
                    "cleanup disk space and try again."));
    EXPECT_TRUE(m_display.allNull);
    EXPECT_TRUE(std::filesystem::is_empty(backups()));
    EXPECT_EQ(gTold.size(), 2U);
}

TEST_F(BackupCopyTest, RefusesANameThatNoFileCanHave)
{
    tree.write("t/a.jpg", "bytes");
    EXPECT_EQ(before(item(tree.path("t"), "a.jpg", std::string(256, 'n'))), kFxErrNoUniqueName);
    EXPECT_EQ(before(item(tree.path("t"), "a.jpg", "no/such/folder")), kFxErrNoUniqueName);
    EXPECT_TRUE(std::filesystem::is_empty(backups()));
}

TEST_F(BackupCopyTest, GoesOnFromTheHigherNumberBesideTheOriginal)
{
    EXPECT_EQ(backUpBeside("IMG_1-3.jpg", "IMG_1.jpg"), kFxOk);
    EXPECT_EQ(test::read(backup("IMG_1-4.jpg")), "bytes");
}

TEST_F(BackupCopyTest, TakesTheDevicesNumberWhereItIsTheHigher)
{
    EXPECT_EQ(backUpBeside("IMG_1-3.jpg", "IMG_1-8.jpg"), kFxOk);
    EXPECT_EQ(test::read(backup("IMG_1-8-9.jpg")), "bytes");
}

TEST_F(BackupCopyTest, NumbersBesideTheOriginalThoughItsNameIsFree)
{
    EXPECT_EQ(backUpBeside("IMG.jpg", "IMG.tif"), kFxOk);
    EXPECT_EQ(test::read(backup("IMG-1.tif")), "bytes");
    EXPECT_FALSE(std::filesystem::exists(backup("IMG.tif")));
}

TEST_F(BackupCopyTest, DoesNotNumberBesideAnOriginalOfAnotherStem)
{
    EXPECT_EQ(backUpBeside("holiday.jpg", "IMG-7.jpg"), kFxOk);
    EXPECT_EQ(test::read(backup("IMG-7.jpg")), "bytes");
}

TEST_F(BackupCopyTest, SurvivesTheHighestNumberInAName)
{
    EXPECT_EQ(backUpBeside("IMG-2147483647.jpg", "IMG.jpg"), kFxOk);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(backups()), {}), 2);
}

TEST_F(BackupCopyTest, KnowsTheTargetFolderAboveTheTemporaryOne)
{
    const std::string work = backups() + "/.mfxdownload";
    tree.write("home/Pictures/.mfxdownload/IMG_1.jpg", "bytes");
    EXPECT_EQ(before(item(work, "IMG_1.jpg")), kFxOk);
    EXPECT_EQ(test::read(backup("IMG_1-1.jpg")), "bytes");
    EXPECT_EQ(gTold.back(), "detail " + backups());
}

TEST_F(BackupCopyTest, KnowsTheTargetFolderAboveADeeperTemporaryOne)
{
    tree.write("home/Pictures/.mfxdownload/12-1/IMG_1.jpg", "bytes");
    EXPECT_EQ(before(item(backups() + "/.mfxdownload/12-1", "IMG_1.jpg")), kFxOk);
    EXPECT_EQ(test::read(backup("IMG_1-1.jpg")), "bytes");
}

TEST_F(BackupCopyTest, CutsAtTheLastTemporaryFolder)
{
    tree.write("a/.mfxdownload/b/.mfxdownload/c.jpg", "bytes");
    EXPECT_EQ(before(item(tree.path("a/.mfxdownload/b/.mfxdownload"), "c.jpg")), kFxOk);
    EXPECT_EQ(gTold.back(), "detail " + tree.path("a/.mfxdownload/b"));
}

TEST_F(BackupCopyTest, PassesAFileThatIsNoRawFile)
{
    panel.check("dng_checkbox");
    tree.write("t/a.jpg", "bytes");
    EXPECT_EQ(after(item(tree.path("t"), "a.jpg")), kFxOk);
    EXPECT_THAT(gTold, IsEmpty());
    EXPECT_EQ(test::read(tree.path("t/a.jpg")), "bytes");
}

TEST_F(BackupCopyTest, CountsAMissingFileOfAnyKind)
{
    panel.check("dng_checkbox");
    EXPECT_EQ(after(item(tree.path("t"), "a.jpg")), kFxWarnPostProcess);
    panel.check("dng_checkbox", false);
    test::HostItems items({"/t"});
    unsigned long count = 0;
    face<ISink3>(37).PushAllMediaItems(items, m_display, count, nullptr, nullptr);
    EXPECT_THAT(journal.lines(), ElementsAre(testing::HasSubstr("failed for 1 file(s)")));
}

TEST_F(BackupCopyTest, LeavesARawFileWhereItIsWithoutAConverter)
{
    test::FxText raw = test::units("cr2,nef");
    face<ISinkCapabilities2>(49).SetRDXSupportedExtensions(raw.data());
    panel.check("dng_checkbox");
    tree.write("t/a.CR2", "bytes");
    EXPECT_EQ(after(item(tree.path("t"), "a.CR2")), kFxWarnPostProcess);
    EXPECT_EQ(test::read(tree.path("t/a.CR2")), "bytes");
}
