// What becomes of pictures when something fails: a call of the system, a disk, the card, the
// program itself.

#include "e2e/support/MfxRun.h"

#include <cerrno>
#include <csignal>
#include <fstream>
#include <thread>

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace e2e {

namespace {

// Calls that change what stands on a disk, or decide whether it lasts.
constexpr char kChangingCalls[] =
    "open,write,fsync,futimens,fchmod,close,rename,renameat2,link,unlink,mkdir,rmdir";

} // namespace

class DownloadFaultTest : public MfxTest {
protected:
    void SetUp() override
    {
        MfxTest::SetUp();
        fillCard();
    }

    void fillCard()
    {
        for (const auto& [name, content] : m_contents)
            addFile(name, content);
    }

    void loadShim(const std::string& calls)
    {
        setVariable("LD_PRELOAD", FAULT_SHIM);
        setVariable("FAULT_ROOT", data());
        setVariable("FAULT_ONLY", calls);
    }

    void unloadShim()
    {
        for (const char* name : {"LD_PRELOAD",
                 "FAULT_ROOT",
                 "FAULT_ONLY",
                 "FAULT_AT",
                 "FAULT_ERRNO",
                 "FAULT_KILL",
                 "FAULT_FLIP",
                 "FAULT_COUNT_FILE"})
            unsetVariable(name);
    }

    long countCalls(const std::string& calls)
    {
        const fs::path count = root() / "run/count";
        loadShim(calls);
        setVariable("FAULT_COUNT_FILE", count);
        EXPECT_EQ(downloadWithBackup().code, 0);
        unloadShim();
        const long number = std::stol("0" + contentOf(count));
        fs::remove(count);
        startAnew();
        return number;
    }

    void startAnew()
    {
        fs::remove_all(target());
        fs::remove_all(backup());
    }

    // Every file that bears a final name is whole, whatever happened. Only an empty file may stand
    // where a killed program tried a name in the backup folder.
    void expectWholeFiles(const fs::path& folder, const std::string& when)
    {
        for (const auto& [name, content] : filesIn(folder)) {
            const bool isWorkInProgress =
                name.starts_with(".mfx") || name.starts_with(".unfinished-");
            const bool isProbe = folder == backup() && content.empty();
            if (!isWorkInProgress && !isProbe) {
                EXPECT_TRUE(content == m_contents.at(name)) << name << ' ' << when;
            }
        }
    }

    const std::map<std::string, std::string> m_contents{{"A.CR2", std::string(70'000, 'r')},
        {"A.JPG", std::string(50'000, 'j')},
        {"B.JPG", "small"}};

    // A run without faults completes whatever was left, and leaves nothing of its own.
    void expectSecondRunCompletes(const std::string& when)
    {
        unloadShim();
        const RunResult second = downloadWithBackup();
        EXPECT_EQ(second.code, 0) << when << second.err;
        const auto onCard = filesIn(card() / "DCIM/100MFX");
        EXPECT_EQ(filesIn(target()), onCard) << when;
        EXPECT_EQ(filesIn(backup()), onCard) << when;
        expectNoLeftovers();
    }

    void expectCardUntouched() { EXPECT_EQ(filesIn(card() / "DCIM/100MFX").size(), 3U); }

    // A small disk of its own; skips where this user may not mount.
    bool mountSmallDisk(const fs::path& folder, const char* size)
    {
        fs::create_directories(folder);
        return ::mount("tmpfs", folder.c_str(), "tmpfs", 0, size) == 0;
    }
};

TEST_F(DownloadFaultTest, SurvivesAKillBeforeAnyCallThatChangesSomething)
{
    const long calls = countCalls(kChangingCalls);
    ASSERT_GT(calls, 50);
    // Every call in turn would be best; a stride that is no divisor visits all over many runs.
    for (long n = 1 + ::getpid() % 5; n <= calls; n += 5) {
        const std::string when = "killed before call " + std::to_string(n);
        startAnew();
        loadShim(kChangingCalls);
        setVariable("FAULT_AT", std::to_string(n));
        setVariable("FAULT_KILL", "1");
        const RunResult first = downloadWithBackup();
        // Threads take turns as they like: a late call may come to nothing.
        EXPECT_TRUE(first.code == -SIGKILL || first.code == 0) << when << first.err;
        expectWholeFiles(target(), when);
        expectWholeFiles(backup(), when);
        expectCardUntouched();
        expectSecondRunCompletes(when);
    }
}

TEST_F(DownloadFaultTest, TakesNoFailedCallForASuccess)
{
    const std::string calls = "open,write,fsync,close,renameat2,mkdir";
    const long count = countCalls(calls);
    for (long n = 1 + ::getpid() % 5; n <= count; n += 5) {
        const std::string when = "call " + std::to_string(n) + " failed";
        startAnew();
        loadShim(calls);
        setVariable("FAULT_AT", std::to_string(n));
        setVariable("FAULT_ERRNO", std::to_string(EIO));
        const RunResult first = downloadWithBackup({"--delete-originals", "--yes"});
        unloadShim();
        expectWholeFiles(target(), when);
        expectWholeFiles(backup(), when);
        // What is no longer on the card is in both places.
        const auto left = filesIn(card() / "DCIM/100MFX");
        for (const char* name : {"A.CR2", "A.JPG", "B.JPG"}) {
            if (left.contains(name))
                continue;
            EXPECT_TRUE(fs::exists(target() / name)) << name << ' ' << when;
            EXPECT_TRUE(fs::exists(backup() / name)) << name << ' ' << when;
        }
        fs::remove_all(card());
        fillCard();
        expectSecondRunCompletes(when);
    }
}

TEST_F(DownloadFaultTest, NoticesAFlippedBitInACopy)
{
    // The first write of each copy, in turn: staged files and backups. Between them are the notes
    // of names that are tried, on which nothing depends.
    const long writes = countCalls("write");
    int noticed = 0;
    for (long n = 1; n <= writes; ++n) {
        startAnew();
        loadShim("write");
        setVariable("FAULT_AT", std::to_string(n));
        setVariable("FAULT_FLIP", "1");
        const RunResult result = downloadWithBackup({"--delete-originals", "--yes"});
        unloadShim();
        const std::string when = "write " + std::to_string(n) + " flipped";
        expectWholeFiles(target(), when);
        expectWholeFiles(backup(), when);
        EXPECT_EQ(result.summary()["card_may_be_wiped"], result.code == 0) << when << result.err;
        noticed += result.code == 1 ? 1 : 0;
        fs::remove_all(card());
        fillCard();
    }
    EXPECT_GE(noticed, 3); // of about six: copies are made side by side, and share the numbers
}

TEST_F(DownloadFaultTest, StopsWhenTheTargetIsFullBeforeItStarts)
{
    if (!mountSmallDisk(target(), "size=64k")) {
        GTEST_SKIP() << "mounting a small disk needs root";
    }
    const RunResult result = download();
    EXPECT_EQ(result.code, 4);
    EXPECT_NE(result.err.find("not enough space"), std::string::npos) << result.err;
    EXPECT_TRUE(filesIn(target()).empty());
    expectCardUntouched();
    ::umount2(target().c_str(), MNT_DETACH);
}

TEST_F(DownloadFaultTest, CountsTargetAndBackupOnOneDiskTwice)
{
    if (!mountSmallDisk(root() / "disk", "size=200k")) {
        GTEST_SKIP() << "mounting a small disk needs root";
    }
    const fs::path disk = root() / "disk";
    EXPECT_EQ(mfx({"download", card(), "--to", disk / "a", "--backup", disk / "b"}).code, 4);
    EXPECT_EQ(mfx({"download", card(), "--to", disk / "a"}).code, 0);
    // What stands there needs no space again.
    EXPECT_EQ(mfx({"download", card(), "--to", disk / "a"}).code, 0);
    ::umount2(disk.c_str(), MNT_DETACH);
}

TEST_F(DownloadFaultTest, EndsCleanlyWhenTheDiskFillsUpInTheMiddle)
{
    loadShim("write");
    setVariable("FAULT_AT", "3");
    setVariable("FAULT_ERRNO", std::to_string(ENOSPC));
    const RunResult result = download({"--delete-originals", "--yes"});
    unloadShim();
    EXPECT_EQ(result.code, 4) << result.err;
    EXPECT_EQ(result.summary()["card_may_be_wiped"], false);
    EXPECT_GT(result.summary()["failed"], 0);
    expectWholeFiles(target(), "disk full");
    expectNoLeftovers();
    for (const Json& item : result.events("item"))
        if (item["status"] == "failed") {
            EXPECT_TRUE(fs::exists(card() / "DCIM/100MFX" / item["name"].get<std::string>()));
        }
}

TEST_F(DownloadFaultTest, SavesTheRestWhenTheBackupDiskFillsUp)
{
    if (!mountSmallDisk(backup(), "size=160k")) {
        GTEST_SKIP() << "mounting a small disk needs root";
    }
    loadShim("write");
    setVariable("FAULT_ROOT", backup());
    setVariable("FAULT_AT", "3"); // behind the note of the name, and of its end
    setVariable("FAULT_ERRNO", std::to_string(ENOSPC));
    const RunResult result = downloadWithBackup({"--delete-originals", "--yes"});
    unloadShim();
    EXPECT_EQ(result.code, 1) << result.err;
    EXPECT_EQ(result.summary()["saved"], 3);
    EXPECT_EQ(result.summary()["backups"], 2);
    const Json failed = result.item("A.CR2");
    EXPECT_EQ(failed["status"], "backup-failed");
    EXPECT_EQ(failed["backup"], nullptr);
    EXPECT_FALSE(failed["error"].is_null());
    EXPECT_EQ(result.events("message").at(0)["text"].get<std::string>().find(
                  "The backup destination folder is low on disk space"),
        0U);
    // The twin stays on the card with it.
    EXPECT_TRUE(fs::exists(card() / "DCIM/100MFX/A.CR2"));
    EXPECT_TRUE(fs::exists(card() / "DCIM/100MFX/A.JPG"));
    EXPECT_FALSE(fs::exists(card() / "DCIM/100MFX/B.JPG"));
    ::umount2(backup().c_str(), MNT_DETACH);
}

TEST_F(DownloadFaultTest, SavesTheOthersWhenOneFileCannotBeRead)
{
    loadShim("read");
    setVariable("FAULT_ROOT", card() / "DCIM/100MFX/B.JPG");
    setVariable("FAULT_AT", "1000000");
    unloadShim();
    fs::permissions(card() / "DCIM/100MFX/B.JPG", fs::perms::none);
    fs::create_directories(target());
    fs::permissions(target(), fs::perms::all);
    for (const char* folder : {"home", "run"})
        fs::permissions(root() / folder, fs::perms::all);
    asOrdinaryUser(true);
    if (::geteuid() != 0)
        asOrdinaryUser(false);
    const RunResult result = download();
    EXPECT_EQ(result.code, 1) << result.err;
    EXPECT_EQ(result.item("A.CR2")["status"], "ok");
    EXPECT_EQ(result.item("A.JPG")["status"], "ok");
    const Json failed = result.item("B.JPG");
    EXPECT_EQ(failed["status"], "failed");
    EXPECT_EQ(failed["saved"], nullptr);
    EXPECT_NE(failed["error"].get<std::string>().find("cannot be read"), std::string::npos);
    EXPECT_EQ(result.summary()["card_may_be_wiped"], false);
}

TEST_F(DownloadFaultTest, SavesAllMembersOfAGroupOrNone)
{
    loadShim("read");
    setVariable("FAULT_ROOT", card() / "DCIM/100MFX/A.JPG");
    setVariable("FAULT_ERRNO", std::to_string(EIO));
    // The date is read first; the copy's read is the one that counts.
    for (int n = 1; n < 10; ++n) {
        fs::remove_all(target());
        setVariable("FAULT_AT", std::to_string(n));
        const RunResult result = download();
        const bool raw = fs::exists(target() / "A.CR2");
        const bool jpeg = fs::exists(target() / "A.JPG");
        EXPECT_EQ(raw, jpeg) << n;
        EXPECT_TRUE(fs::exists(target() / "B.JPG")) << n;
        if (!raw) {
            EXPECT_EQ(result.code, 1);
            EXPECT_NE(
                result.item("A.CR2")["error"].get<std::string>().find("A.JPG"), std::string::npos);
        }
        expectNoLeftovers();
    }
}

TEST_F(DownloadFaultTest, PutsBackARawFileThatACrashedConversionSetAside)
{
    fs::create_directories(target() / ".mfxdownload/4711-1");
    std::ofstream(target() / ".mfxdownload/OLD.CR2") << "the only copy";
    std::ofstream(target() / ".mfxdownload/OLD.dng") << "half a DNG";
    std::ofstream(target() / ".mfxdownload/4711-1/X.JPG") << "half a copy";
    const RunResult result = download();
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(contentOf(target() / "OLD.CR2"), "the only copy");
    EXPECT_FALSE(fs::exists(target() / "OLD.dng"));
    expectNoLeftovers();
}

TEST_F(DownloadFaultTest, CompletesWhatAnInterruptLeft)
{
    for (int i = 0; i < 40; ++i)
        addFile("C" + std::to_string(i) + ".JPG", std::string(300'000, 'c'));
    // The interrupt comes when the first file is in its place.
    std::thread interrupter([this] {
        for (int i = 0; i < 20'000; ++i) {
            if (fs::exists(target() / "A.JPG")) {
                const std::string command = "pkill -INT -f -- '" + target().string() + "'";
                EXPECT_NE(
                    std::system(command.c_str()), -1); // the shell has the pattern in its line, too
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    const RunResult first = downloadWithBackup({"--delete-originals", "--yes"});
    interrupter.join();
    EXPECT_EQ(first.code, 130) << first.err;
    EXPECT_EQ(first.summary()["interrupted"], true);
    EXPECT_EQ(first.summary()["deleted"], 0);
    expectNoLeftovers();
    expectSecondRunCompletes("after an interrupt");
}

TEST_F(DownloadFaultTest, TwoProgramsOnOneFolderSaveEachFileOnce)
{
    for (int i = 0; i < 60; ++i)
        addFile(
            "C" + std::to_string(i) + ".JPG", std::string(20'000, static_cast<char>('a' + i % 26)));
    RunResult other;
    std::thread second([this, &other] { other = download(); });
    const RunResult first = download();
    second.join();
    EXPECT_EQ(first.code, 0) << first.err;
    EXPECT_EQ(other.code, 0) << other.err;
    EXPECT_EQ(filesIn(target()), filesIn(card() / "DCIM/100MFX"));
    expectNoLeftovers();
}

TEST_F(DownloadFaultTest, SaysSoWhenTheCardIsTakenOut)
{
    const fs::path mounted = root() / "card2";
    if (!mountSmallDisk(mounted, "size=8m")) {
        GTEST_SKIP() << "mounting a card needs root";
    }
    for (int i = 0; i < 30; ++i)
        std::ofstream(mounted / ("C" + std::to_string(i) + ".JPG")) << std::string(200'000, 'c');
    std::thread puller([this, &mounted] {
        for (int i = 0; i < 20'000; ++i) {
            if (fs::exists(target() / "C0.JPG")) {
                ::umount2(mounted.c_str(), MNT_DETACH);
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    const RunResult result = mfx({"download", mounted, "--to", target(), "--json"});
    puller.join();
    EXPECT_EQ(result.code, 1) << result.err;
    EXPECT_EQ(result.summary()["card_may_be_wiped"], false);
    EXPECT_NE(result.out.find("the card was taken out"), std::string::npos) << result.out;
    for (const auto& [name, content] : filesIn(target()))
        EXPECT_EQ(content.size(), 200'000U) << name;
    expectNoLeftovers();
}

TEST_F(DownloadFaultTest, SavesIntoAFolderThatIsAMountOfItsOwn)
{
    const fs::path year = target() / "2026";
    if (!mountSmallDisk(year, "size=8m")) {
        GTEST_SKIP() << "mounting a disk needs root";
    }
    const RunResult result = download({"--subfolders", "%Y"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(filesIn(year).size(), 3U);
    ::umount2(year.c_str(), MNT_DETACH);
}

} // namespace e2e
