// Disks that go away in the middle: nothing of ours comes to lie on the folder beneath the mount
// point, and the originals stay.

#include "e2e/support/MountFixture.h"

#include <optional>

#include <sys/mount.h>

namespace e2e {

class LostDiskTest : public PlaceTest {
protected:
    static constexpr int kPictures = 60;
    static constexpr std::uint64_t kDisk = 64 << 20;

    void arrange() override
    {
        addPictures(kPictures, 5'000);
        makePlaces();
    }

    // The run waits behind the first items that it told of, then something happens.
    RunResult saveWhile(
        const std::function<void()>& happening, const fs::path& to, std::vector<std::string> more)
    {
        more.insert(more.end(), {"--delete-originals", "--yes"});
        LiveRun run(wordsFor(card(), to, std::move(more)), live());
        EXPECT_TRUE(run.waitForLine("\"event\":\"item\""));
        happening();
        return run.finish();
    }

    void expectEnded(const RunResult& result, const fs::path& beneath)
    {
        EXPECT_EQ(result.code, 4) << told(result);
        EXPECT_TRUE(fs::is_empty(beneath));
        EXPECT_LT(result.summary()["saved"].get<int>(), kPictures) << told(result);
        EXPECT_GT(result.summary()["saved"].get<int>(), 0);
        EXPECT_FALSE(result.summary()["not_safe"].empty());
        expectCardKept(result);
    }
};

TEST_F(LostDiskTest, EndsWhenTheDiskOfTheTargetIsTakenAway)
{
    test::MemoryMount gone(disk("target"), kDisk);
    fs::create_directories(gone.at() / "pictures");
    const RunResult result = saveWhile([&] { gone.detach(); }, gone.at() / "pictures", {});
    expectEnded(result, disk("target"));
}

TEST_F(LostDiskTest, EndsWhenTheDiskThatIsTheTargetIsTakenAway)
{
    test::MemoryMount gone(disk("target"), kDisk);
    expectEnded(saveWhile([&] { gone.detach(); }, gone.at(), {}), disk("target"));
}

TEST_F(LostDiskTest, EndsWhenTheDiskOfTheBackupIsTakenAway)
{
    test::MemoryMount gone(disk("backup"), kDisk);
    expectEnded(
        saveWhile([&] { gone.detach(); }, target(), {"--backup", gone.at()}), disk("backup"));
}

TEST_F(LostDiskTest, EndsWhenTheDiskBelowTheBackupIsTakenAway)
{
    test::MemoryMount gone(disk("backup"), kDisk);
    expectEnded(
        saveWhile([&] { gone.detach(); }, target(), {"--backup", gone.at() / "deep/copies"}),
        disk("backup"));
}

TEST_F(LostDiskTest, EndsWhenAnotherDiskComesInItsPlace)
{
    for (const bool isBackup : {false, true}) {
        test::MemoryMount gone(disk("disk"), kDisk);
        std::optional<test::MemoryMount> other;
        const auto swap = [&] {
            gone.detach();
            other.emplace(disk("disk"), kDisk);
        };
        const RunResult result = isBackup ? saveWhile(swap, target(), {"--backup", gone.at()})
                                          : saveWhile(swap, gone.at(), {});
        expectEnded(result, disk("disk"));
        other.reset();
        EXPECT_TRUE(fs::is_empty(disk("disk")));
        fs::remove_all(target());
        fs::create_directories(target());
    }
}

TEST_F(LostDiskTest, EndsWhenTheDiskOfASubfolderIsTakenAway)
{
    fs::create_directories(target() / "2026");
    test::MemoryMount gone(target() / "2026", kDisk);
    expectEnded(
        saveWhile([&] { gone.detach(); }, target(), {"--subfolders", "%Y"}), target() / "2026");
}

TEST_F(LostDiskTest, EndsWhenTheDiskOfASubfolderIsTakenAwayWhileCopiesAreMade)
{
    addPictures(kPictures, 1'000'000); // so that the copies are what takes the time
    for (const auto& [name, bytes] : filesIn(pictures()))
        expectToLose(bytes.substr(0, 5'003)); // the small ones, which these replaced
    for (int attempt = 0; attempt < 4 && !HasFailure(); ++attempt) { // whichever thread is first
        fs::create_directories(target() / "2026");
        test::MemoryMount gone(target() / "2026", 2 * kDisk);
        expectEnded(
            saveWhile([&] { gone.detach(); }, target(), {"--subfolders", "%Y"}), target() / "2026");
    }
}

TEST_F(LostDiskTest, EndsWhenTheTargetIsMovedAway)
{
    const RunResult result =
        saveWhile([&] { fs::rename(target(), data() / "moved"); }, target(), {});
    EXPECT_EQ(result.code, 4) << told(result);
    EXPECT_FALSE(fs::exists(target()));
    expectCardKept(result);
}

TEST_F(LostDiskTest, EndsWhenTheBackupIsMovedAway)
{
    const RunResult result = saveWhile(
        [&] { fs::rename(backup(), data() / "moved"); }, target(), {"--backup", backup()});
    EXPECT_EQ(result.code, 4) << told(result);
    EXPECT_FALSE(fs::exists(backup()));
    expectCardKept(result);
}

TEST_F(LostDiskTest, EndsWhenTheImageOfTheTargetDies)
{
    if (!test::canMountImages()) {
        GTEST_SKIP() << "no devices for images";
    }
    test::LoopMount dying(disk("target"), root() / "image", kDisk);
    const RunResult result = saveWhile([&] { dying.die(); }, dying.at() / "pictures", {});
    EXPECT_NE(result.code, 0) << told(result);
    expectCardKept(result);
}

TEST_F(LostDiskTest, EndsWhenTheImageOfTheBackupDies)
{
    if (!test::canMountImages()) {
        GTEST_SKIP() << "no devices for images";
    }
    test::LoopMount dying(disk("backup"), root() / "image", kDisk);
    const RunResult result =
        saveWhile([&] { dying.die(); }, target(), {"--backup", dying.at() / "copies"});
    EXPECT_NE(result.code, 0) << told(result);
    expectCardKept(result);
}

TEST_F(LostDiskTest, KeepsOriginalsWhenTheProgramBehindAPlaceDies)
{
    for (const bool isBackup : {false, true}) {
        fs::create_directories(data() / "real");
        test::OddMount dying("mirror", view("dying"), {data() / "real"});
        const auto die = [&] { dying.die(); };
        const RunResult result = isBackup ? saveWhile(die, target(), {"--backup", dying.at()})
                                          : saveWhile(die, dying.at(), {});
        EXPECT_EQ(result.code, 4) << isBackup << told(result);
        expectCardKept(result);
        fs::remove_all(data() / "real");
    }
}

// After so many bytes every call fails, for each number of bytes.
TEST_F(LostDiskTest, KeepsOriginalsWhereverAPlaceStopsAnswering)
{
    for (const int pictures : {0, 1, 7, 30, 59}) {
        for (const bool isBackup : {false, true}) {
            fs::create_directories(data() / "real");
            const test::OddMount dying("dying",
                view("dying"),
                {data() / "real"},
                {"after=" + std::to_string(pictures * 5'003 + 100)});
            const RunResult result = isBackup ? saveAndDelete(target(), {"--backup", dying.at()})
                                              : saveAndDelete(dying.at());
            EXPECT_NE(result.code, 0) << pictures << told(result);
            EXPECT_EQ(result.summary()["card_may_be_wiped"], false) << pictures;
            EXPECT_EQ(result.summary()["deleted"], 0) << pictures << told(result);
            expectPromiseKept(result);
            fs::remove_all(data() / "real");
            fs::remove_all(target());
        }
    }
}

TEST_F(LostDiskTest, KeepsOriginalsThatTheCardStopsToGive)
{
    for (const int pictures : {0, 1, 7, 30, 59}) {
        const test::OddMount dying(
            "dying", view("dying"), {card()}, {"reads=" + std::to_string(pictures * 5'003 + 100)});
        const RunResult result = saveFrom(dying.at(), target(), {"--delete-originals", "--yes"});
        EXPECT_NE(result.code, 0) << pictures << told(result);
        expectCardKept(result);
        fs::remove_all(target());
    }
}

class UnmountedDiskTest : public PlaceTest {
protected:
    void arrange() override
    {
        addPicture("A.JPG", "photo a");
        m_mounts.emplace("/mnt", 8 << 20);
    }

    std::optional<test::MemoryMount> m_mounts; // everybody's own
};

TEST_F(UnmountedDiskTest, MakesNoFolderWhereADiskIsMissing)
{
    fs::create_directories(target());
    for (const char* folder : {"/mnt/disk", "/mnt/disk/pictures", "/mnt/disk/a/b"}) {
        for (const bool isBackup : {false, true}) {
            const RunResult result =
                isBackup ? saveAndDelete(target(), {"--backup", folder}) : saveAndDelete(folder);
            EXPECT_EQ(result.code, 4) << folder << told(result);
            EXPECT_NE(result.err.find(folder), std::string::npos) << result.err;
            EXPECT_TRUE(fs::is_empty("/mnt")) << folder;
            expectCardKept(result);
        }
    }
}

TEST_F(UnmountedDiskTest, MakesNoFolderThroughALinkToAMissingDisk)
{
    fs::create_directory_symlink("/mnt/disk", root() / "link");
    const RunResult result = saveAndDelete(root() / "link/pictures");
    EXPECT_EQ(result.code, 4) << told(result);
    EXPECT_TRUE(fs::is_empty("/mnt"));
    expectCardKept(result);
}

TEST_F(UnmountedDiskTest, MakesFoldersWhereItIsToldSo)
{
    EXPECT_EQ(saveTo("/mnt/disk/pictures", {"--make-folders"}).code, 0);
    EXPECT_TRUE(fs::exists("/mnt/disk/pictures/A.JPG"));
}

TEST_F(UnmountedDiskTest, MakesFoldersOnADiskThatIsThere)
{
    const test::MemoryMount there("/mnt/disk", 8 << 20);
    EXPECT_EQ(saveTo("/mnt/disk/pictures").code, 0);
    EXPECT_TRUE(fs::exists("/mnt/disk/pictures/A.JPG"));
}

} // namespace e2e
