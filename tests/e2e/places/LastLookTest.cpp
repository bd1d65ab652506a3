// What happens while the question of the deletion is open: originals go only where their copies
// still stand as they were proven.

#include "e2e/support/MountFixture.h"

namespace e2e {

class LastLookTest : public PlaceTest {
protected:
    void arrange() override
    {
        addTwoPictures();
        makePlaces();
    }

    // Answers yes after something has happened.
    RunResult answerAfter(
        const std::function<void()>& happening, std::vector<std::string> more = {})
    {
        more.push_back("--delete-originals");
        LiveRun run(wordsFor(card(), target(), std::move(more)), live(true));
        EXPECT_TRUE(run.waitForQuestion());
        happening();
        run.type("y\n");
        return run.finish();
    }
    RunResult answerWithBackupAfter(
        const std::function<void()>& happening, std::vector<std::string> more = {})
    {
        more.insert(more.end(), {"--backup", backup()});
        return answerAfter(happening, std::move(more));
    }

    // Same size, same time; only the bytes are others.
    static void replaceByZeros(const fs::path& path)
    {
        const auto time = fs::last_write_time(path);
        const std::string zeros(fs::file_size(path), '\0');
        fs::remove(path);
        write(path, zeros);
        fs::last_write_time(path, time);
    }
    static void overwriteInPlace(const fs::path& path)
    {
        const auto time = fs::last_write_time(path);
        const std::string zeros(fs::file_size(path), '\0');
        std::fstream(path, std::ios::in | std::ios::out | std::ios::binary) << zeros;
        fs::last_write_time(path, time);
    }

    bool isOnCard(const char* name) const { return fs::exists(pictures() / name); }

    void expectBothKept(const RunResult& result)
    {
        EXPECT_TRUE(isOnCard("A.JPG")) << told(result);
        EXPECT_TRUE(isOnCard("B.JPG")) << told(result);
        EXPECT_EQ(result.summary()["deleted"], 0);
        EXPECT_NE(result.code, 0) << told(result);
        EXPECT_EQ(result.summary()["card_may_be_wiped"], false) << told(result);
        expectPromiseKept(result);
    }
    void expectAKept(const RunResult& result, int code = 1)
    {
        EXPECT_TRUE(isOnCard("A.JPG")) << told(result);
        EXPECT_FALSE(isOnCard("B.JPG")) << told(result);
        EXPECT_EQ(result.summary()["deleted"], 1);
        EXPECT_EQ(result.code, code) << told(result);
        EXPECT_EQ(result.summary()["card_may_be_wiped"], false) << told(result);
        expectPromiseKept(result);
    }
};

TEST_F(LastLookTest, DeletesWhatStandsAsItDid)
{
    const RunResult result = answerWithBackupAfter([] {});
    EXPECT_EQ(result.code, 0) << told(result);
    EXPECT_EQ(result.summary()["deleted"], 2);
    EXPECT_EQ(result.summary()["card_may_be_wiped"], true);
    expectPromiseKept(result, 2);
}

TEST_F(LastLookTest, KeepsOriginalsWhoseBackupWasEmptied)
{
    expectBothKept(answerWithBackupAfter([this] {
        fs::remove(backup() / "A.JPG");
        fs::remove(backup() / "B.JPG");
    }));
}

TEST_F(LastLookTest, KeepsOriginalsWhoseBackupFolderWent)
{
    const RunResult result = answerWithBackupAfter([this] { fs::remove_all(backup()); });
    EXPECT_EQ(result.code, 4);
    expectBothKept(result);
}

TEST_F(LastLookTest, KeepsOriginalsWhoseBackupFolderWasMadeAnew)
{
    const RunResult result = answerWithBackupAfter([this] {
        fs::rename(backup(), data() / "elsewhere");
        fs::copy(data() / "elsewhere", backup(), fs::copy_options::recursive);
    });
    EXPECT_EQ(result.code, 4);
    expectBothKept(result);
}

TEST_F(LastLookTest, KeepsOriginalsWhoseTargetWent)
{
    const RunResult result = answerAfter([this] { fs::remove_all(target()); });
    EXPECT_EQ(result.code, 4);
    expectBothKept(result);
}

TEST_F(LastLookTest, KeepsTheOriginalWhoseBackupChanged)
{
    const std::map<std::string, std::function<void(const fs::path&)>> harms{
        {"cut", [](const fs::path& path) { fs::resize_file(path, 3); }},
        {"gone", [](const fs::path& path) { fs::remove(path); }},
        {"zeros", replaceByZeros},
        {"overwritten", overwriteInPlace},
        {"a folder",
            [](const fs::path& path) {
                fs::remove(path);
                fs::create_directory(path);
            }},
        {"a link to nowhere",
            [](const fs::path& path) {
                fs::remove(path);
                fs::create_symlink("nowhere", path);
            }},
    };
    for (const auto& [what, harm] : harms) {
        for (const fs::path& folder : {backup(), target()}) {
            const fs::path copy = folder / "A.JPG";
            const RunResult result = answerWithBackupAfter([&harm = harm, &copy] { harm(copy); });
            SCOPED_TRACE(what + ' ' + copy.string());
            expectAKept(result);
            fs::remove_all(target());
            fs::remove_all(backup());
            addTwoPictures();
        }
    }
}

// A link to the original is not a copy, nor is one of the two copies linked to the other.
TEST_F(LastLookTest, KeepsTheOriginalWhoseCopyBecameALinkToIt)
{
    const RunResult result = answerAfter([this] {
        fs::remove(target() / "A.JPG");
        fs::create_symlink(pictures() / "A.JPG", target() / "A.JPG");
    });
    expectAKept(result);
}

TEST_F(LastLookTest, KeepsTheOriginalWhoseBackupBecameALinkToTheSavedCopy)
{
    const RunResult result = answerWithBackupAfter([this] {
        fs::remove(backup() / "A.JPG");
        fs::create_hard_link(target() / "A.JPG", backup() / "A.JPG");
    });
    expectAKept(result);
    EXPECT_GE(copies("photo a"), 2U);
}

TEST_F(LastLookTest, DeletesWhereACopyWasOnlyWrittenAnew)
{
    const RunResult result = answerAfter([this] {
        fs::remove(target() / "A.JPG");
        write(target() / "A.JPG", "photo a");
    });
    EXPECT_EQ(result.code, 0) << told(result);
    EXPECT_EQ(result.summary()["deleted"], 2);
    expectPromiseKept(result);
}

TEST_F(LastLookTest, KeepsAnOriginalThatChanged)
{
    const RunResult result = answerAfter([this] { overwriteInPlace(pictures() / "A.JPG"); });
    expectToLose("photo a"); // it was overwritten; its copy is in the target
    EXPECT_TRUE(isOnCard("A.JPG")) << told(result);
    EXPECT_FALSE(isOnCard("B.JPG")) << told(result);
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.summary()["card_may_be_wiped"], false) << told(result);
}

TEST_F(LastLookTest, KeepsAnOriginalThatWasReplacedByAnother)
{
    const RunResult result = answerAfter([this] { addPicture("A.JPG", "photo c, a later one"); });
    expectAKept(result);
}

TEST_F(LastLookTest, TellsOfAPictureThatCameMeanwhile)
{
    const RunResult result = answerAfter([this] { addPicture("NEW.JPG", "photo new"); });
    EXPECT_EQ(result.summary()["deleted"], 2) << told(result);
    EXPECT_EQ(result.code, 1);
    EXPECT_TRUE(isOnCard("NEW.JPG"));
    EXPECT_EQ(result.summary()["card_may_be_wiped"], false) << told(result);
    EXPECT_NE(result.summary()["not_safe"].dump().find("NEW.JPG"), std::string::npos);
    expectPromiseKept(result);
}

TEST_F(LastLookTest, TellsOfAPictureThatCameIntoAHiddenFolder)
{
    const RunResult result = answerAfter([this] {
        addPicture("x", "");
        expectToLose("");
        fs::remove(pictures() / "x");
        addFileIn(".Trashes/501", "NEW.JPG", "\xFF\xD8\xFF new");
    });
    EXPECT_EQ(result.summary()["card_may_be_wiped"], false) << told(result);
}

TEST_F(LastLookTest, TellsOfAPictureThatTookTheNameOfADeletedOne)
{
    const RunResult result = answerAfter([this] {
        fs::remove(pictures() / "B.JPG");
        addPicture("B.JPG", "photo new under an old name");
    });
    EXPECT_TRUE(isOnCard("B.JPG"));
    EXPECT_EQ(result.summary()["card_may_be_wiped"], false) << told(result);
    EXPECT_EQ(result.code, 1);
    expectPromiseKept(result);
}

TEST_F(LastLookTest, KeepsOriginalsWhereTheTargetBecameTheCard)
{
    const RunResult result = answerAfter([this] {
        fs::rename(target(), data() / "old");
        fs::create_directory_symlink(pictures(), target());
    });
    EXPECT_EQ(result.code, 4);
    expectBothKept(result);
}

TEST_F(LastLookTest, KeepsOriginalsWhereTheBackupWasBoundToTheTarget)
{
    const RunResult result = answerWithBackupAfter([this] {
        fs::rename(backup(), data() / "old");
        fs::create_directory_symlink(target(), backup());
    });
    EXPECT_EQ(result.code, 4);
    expectBothKept(result);
}

TEST_F(LastLookTest, KeepsOriginalsWhereTheDiskOfTheBackupWent)
{
    test::MemoryMount disk1(disk("backup"), 8 << 20);
    const RunResult result = answerAfter([&] { disk1.detach(); }, {"--backup", disk1.at()});
    EXPECT_EQ(result.code, 4);
    expectBothKept(result);
    EXPECT_TRUE(filesIn(disk("backup")).empty());
}

TEST_F(LastLookTest, KeepsOriginalsWhereADiskOfASubfolderWent)
{
    fs::create_directories(target() / "2026");
    test::MemoryMount year(target() / "2026", 8 << 20);
    const RunResult result = answerAfter([&] { year.detach(); }, {"--subfolders", "%Y"});
    expectBothKept(result);
}

TEST_F(LastLookTest, KeepsOriginalsWhoseCardWasChanged)
{
    const RunResult result = answerAfter([this] {
        fs::rename(card(), card().string() + "-old");
        for (const auto& [name, bytes] :
            std::map<std::string, std::string>{{"A.JPG", "photo x"}, {"B.JPG", "photo y"}})
            addPicture(name, bytes);
    });
    expectBothKept(result);
}

class LastLookAtDNGTest : public LastLookTest {
protected:
    void SetUp() override
    {
        LastLookTest::SetUp();
        if (IsSkipped())
            return;
        fs::remove(pictures() / "B.JPG");
        expectToLose("photo b");
        fs::remove(pictures() / "A.JPG");
        expectToLose("photo a");
        addPicture("R.CR2", "raw r");
        addLibrary("ZQPluginSupport", CONVERSION_LIBRARY);
    }
};

TEST_F(LastLookAtDNGTest, KeepsARawFileWhoseDNGWent)
{
    const RunResult result = answerAfter([this] { fs::remove(target() / "R.dng"); }, {"--dng"});
    EXPECT_EQ(result.code, 1) << told(result);
    EXPECT_TRUE(isOnCard("R.CR2"));
    expectCardKept(result);
}

TEST_F(LastLookAtDNGTest, KeepsARawFileWhoseDNGChanged)
{
    for (const bool inPlace : {false, true}) {
        const RunResult result = answerAfter(
            [this, inPlace] { (inPlace ? overwriteInPlace : replaceByZeros)(target() / "R.dng"); },
            {"--dng"});
        EXPECT_EQ(result.code, 1) << told(result);
        EXPECT_TRUE(isOnCard("R.CR2"));
        expectCardKept(result);
        fs::remove_all(target());
    }
}

// The backup is the raw file itself. Two copies were promised, one is left: the original stays.
TEST_F(LastLookAtDNGTest, KeepsARawFileWhoseDNGWentThoughItHasABackup)
{
    const RunResult result =
        answerWithBackupAfter([this] { fs::remove(target() / "R.dng"); }, {"--dng"});
    EXPECT_TRUE(isOnCard("R.CR2")) << told(result);
    EXPECT_GE(copies("raw r"), 1U);
    EXPECT_EQ(result.code, 1) << told(result);
}

TEST_F(LastLookAtDNGTest, KeepsARawFileWhoseBackupWent)
{
    const RunResult result =
        answerWithBackupAfter([this] { fs::remove(backup() / "R.CR2"); }, {"--dng"});
    EXPECT_EQ(result.code, 1) << told(result);
    EXPECT_TRUE(isOnCard("R.CR2"));
    expectCardKept(result);
}

} // namespace e2e
