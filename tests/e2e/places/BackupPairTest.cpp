// Groups keep together in the backup folder: a photo never seems to have another's settings.

#include "e2e/support/MountFixture.h"

#include <gmock/gmock.h>

namespace e2e {

class BackupPairTest : public PlaceTest {
protected:
    void addGroup(const std::string& folder, const std::string& stem, const std::string& mark)
    {
        for (const char* extension : {"CR2", "JPG", "xmp"})
            addFileIn("DCIM/" + folder, stem + '.' + extension, mark + ' ' + extension);
    }
    static std::string contentOf(const fs::path& folder, const std::string& name)
    {
        return MfxTest::contentOf(folder / name);
    }
    void expectGroup(const fs::path& folder, const std::string& stem, const std::string& mark)
    {
        for (const char* extension : {"CR2", "JPG", "xmp"})
            EXPECT_EQ(contentOf(folder, stem + '.' + extension), mark + ' ' + extension)
                << folder << stem;
    }
};

TEST_F(BackupPairTest, GivesEachGroupOneStem)
{
    addGroup("100MFX", "IMG_1", "first");
    addGroup("101MFX", "IMG_1", "second");
    const RunResult result = downloadWithBackup();
    EXPECT_EQ(result.code, 0) << told(result);
    for (const fs::path& folder : {backup(), target()}) {
        expectGroup(folder, "IMG_1", "first");
        expectGroup(folder, "IMG_1-1", "second");
        EXPECT_EQ(filesIn(folder).size(), 6U);
    }
}

TEST_F(BackupPairTest, GivesThemTheSameStemsTheSecondTime)
{
    addGroup("100MFX", "IMG_1", "first");
    addGroup("101MFX", "IMG_1", "second");
    downloadWithBackup();
    const auto before = filesIn(backup());
    const RunResult again = downloadWithBackup({"--delete-originals", "--yes"});
    EXPECT_EQ(again.code, 0) << told(again);
    EXPECT_EQ(filesIn(backup()), before);
    EXPECT_TRUE(filesIn(card()).empty());
    expectGroup(target(), "IMG_1", "first");
    expectGroup(target(), "IMG_1-1", "second");
}

TEST_F(BackupPairTest, NumbersAllMembersWhereOnlyOneNameIsTaken)
{
    for (const char* taken : {"IMG_1.CR2", "IMG_1.JPG", "IMG_1.xmp", "IMG_1.MOV"}) {
        fs::remove_all(backup());
        fs::remove_all(target());
        write(backup() / taken, "somebody else's");
        addGroup("100MFX", "IMG_1", "ours");
        const RunResult result = downloadWithBackup();
        EXPECT_EQ(result.code, 0) << taken << told(result);
        EXPECT_EQ(contentOf(backup(), taken), "somebody else's");
        expectGroup(backup(), "IMG_1-1", "ours");
        expectGroup(target(), "IMG_1", "ours");
    }
}

TEST_F(BackupPairTest, CompletesAGroupOfWhichAMemberStandsThere)
{
    addGroup("100MFX", "IMG_1", "ours");
    write(backup() / "IMG_1.JPG", "ours JPG");
    const RunResult result = downloadWithBackup();
    EXPECT_EQ(result.code, 0) << told(result);
    expectGroup(backup(), "IMG_1", "ours");
    EXPECT_EQ(filesIn(backup()).size(), 3U);
}

TEST_F(BackupPairTest, KeepsGroupsWithTheLongestNamesTogether)
{
    const std::string stem(251, 'n');
    addGroup("100MFX", stem, "first");
    addGroup("101MFX", stem, "second");
    const RunResult result = downloadWithBackup({"--delete-originals", "--yes"});
    EXPECT_EQ(result.code, 0) << told(result);
    for (const fs::path& folder : {backup(), target()}) {
        EXPECT_EQ(filesIn(folder).size(), 6U) << folder;
        expectGroup(folder, stem, "first");
        std::map<std::string, std::set<std::string>> stems;
        for (const auto& [name, bytes] : filesIn(folder))
            stems[bytes.substr(0, bytes.find(' '))].insert(fs::path(name).stem());
        EXPECT_EQ(stems["second"].size(), 1U) << folder;
    }
}

TEST_F(BackupPairTest, KeepsGroupsTogetherThatAreRenamedInTheTarget)
{
    addGroup("100MFX", "IMG_1", "first");
    addGroup("101MFX", "IMG_1", "second");
    const RunResult result = downloadWithBackup({"--rename", "%Y%m%d"});
    EXPECT_EQ(result.code, 0) << told(result);
    expectGroup(backup(), "IMG_1", "first");
    expectGroup(backup(), "IMG_1-1", "second");
}

// One file with two names is one copy.
TEST_F(BackupPairTest, MakesASecondCopyWhereTargetAndBackupAreLinkedFiles)
{
    addPicture("A.JPG", "photo a");
    write(target() / "A.JPG", "photo a");
    fs::create_directories(backup());
    fs::create_hard_link(target() / "A.JPG", backup() / "A.JPG");
    const RunResult result = downloadWithBackup({"--delete-originals", "--yes"});
    EXPECT_GE(copies("photo a"), 2U) << told(result);
    expectPromiseKept(result, 2);
}

} // namespace e2e
