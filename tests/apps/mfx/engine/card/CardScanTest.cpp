#include "mfx/engine/card/CardScan.h"

#include "apps/mfx/engine/CardFixture.h"
#include "platform/common/text/NameText.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <random>
#include <set>

#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace mfx {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using tests::itemPaths;
using tests::TestCard;

using NotHandledList = std::vector<std::pair<std::string, NotHandledReason>>;

NotHandledList passedOver(const CardContents& card)
{
    NotHandledList names;
    for (const NotHandled& entry : card.notHandled)
        names.emplace_back(entry.name, entry.reason);
    return names;
}

// Runs `check` as a user without special rights; true when it says so. Root would read everything.
bool holdsForOrdinaryUser(const std::function<bool()>& check)
{
    const pid_t child = fork();
    if (child == 0) {
        constexpr uid_t kNobody = 65534;
        const bool dropped = geteuid() != 0 || (setgid(kNobody) == 0 && setuid(kNobody) == 0);
        _exit(dropped && check() ? 0 : 1);
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST(CardScanTest, TakesEveryRegularFileInAStableOrder)
{
    const TestCard card;
    for (const std::string name : {"DCIM/101/a.jpg",
             "DCIM/100/b.JPG",
             "DCIM/100/B.jpg",
             "z.txt",
             "DCIM/100/c",
             "MISC/AUTPRINT.MRK",
             "DCIM-2/x.cr2"})
        card.add(name);
    EXPECT_THAT(itemPaths(card.scan()),
        ElementsAre("z.txt",
            "DCIM-2/x.cr2",
            "DCIM/100/B.jpg",
            "DCIM/100/b.JPG",
            "DCIM/100/c",
            "DCIM/101/a.jpg",
            "MISC/AUTPRINT.MRK"));
}

TEST(CardScanTest, TellsWhatTheFileSystemTellsOfAFile)
{
    const TestCard card;
    card.add("a.jpg", "12345");
    card.setFileTime("a.jpg", 1'600'000'000);
    std::error_code error;
    const auto expected = Pt::fileStatus(card.path("a.jpg"), error);
    const CardContents contents = card.scan();
    ASSERT_THAT(contents.items, SizeIs(1));
    EXPECT_EQ(contents.items[0].status, expected);
    EXPECT_EQ(contents.items[0].status.size, 5U);
    EXPECT_EQ(contents.items[0].status.modified, 1'600'000'000LL * 1'000'000'000);
    EXPECT_NE(contents.items[0].status.inode, 0U);
}

TEST(CardScanTest, ListsWhatItDoesNotTake)
{
    const TestCard card;
    card.add("real/a.jpg");
    std::filesystem::create_symlink("real/a.jpg", card.path("link.jpg"));
    std::filesystem::create_directory_symlink("real", card.path("linked"));
    std::filesystem::create_symlink("nowhere", card.path("broken"));
    ASSERT_EQ(mkfifo(card.path("pipe.mov").c_str(), 0600), 0);
    card.add(".hidden.jpg");
    card.add(".folder/a.jpg");
    const CardContents contents = card.scan();
    EXPECT_THAT(itemPaths(contents), ElementsAre("real/a.jpg"));
    EXPECT_THAT(passedOver(contents),
        ElementsAre(std::pair(".folder", NotHandledReason::kHidden),
            std::pair(".hidden.jpg", NotHandledReason::kHidden),
            std::pair("broken", NotHandledReason::kLink),
            std::pair("link.jpg", NotHandledReason::kLink),
            std::pair("linked", NotHandledReason::kLink),
            std::pair("pipe.mov", NotHandledReason::kPipe)));
    EXPECT_EQ(contents.harmfulNotHandled(), 5U);
    EXPECT_THAT(contents.problems, IsEmpty());
}

TEST(CardScanTest, PassesOverASocket)
{
    const TestCard card;
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = card.path("s.jpg");
    ASSERT_LT(path.size(), sizeof(address.sun_path));
    path.copy(address.sun_path, path.size());
    void* const where = &address;
    ASSERT_EQ(bind(socket, static_cast<sockaddr*>(where), sizeof(address)), 0);
    EXPECT_THAT(
        passedOver(card.scan()), ElementsAre(std::pair("s.jpg", NotHandledReason::kSocket)));
    close(socket);
}

TEST(CardScanTest, PassesOverADevice)
{
    const TestCard card;
    if (mknod(card.path("d.jpg").c_str(), S_IFCHR | 0600, 0x103) != 0) {
        GTEST_SKIP() << "this user may not make device files";
    }
    EXPECT_THAT(
        passedOver(card.scan()), ElementsAre(std::pair("d.jpg", NotHandledReason::kDevice)));
}

TEST(CardScanTest, PassesOverFoldersOfSystemsAndJunk)
{
    const TestCard card;
    for (const std::string name : {".Trash-1000/a.jpg",
             ".Trashes/a.jpg",
             ".Spotlight-V100/a.jpg",
             ".fseventsd/a.jpg",
             "__MACOSX/a.jpg",
             "THMBNL/a.jpg",
             "System Volume Information/a.jpg",
             "$RECYCLE.BIN/a.jpg",
             "LOST.DIR/a.jpg",
             "DCIM/.mfxdownload/a.cr2",
             "DCIM/thmbnl/a.jpg"})
        card.add(name);
    const CardContents folders = card.scan();
    EXPECT_THAT(folders.items, IsEmpty());
    EXPECT_THAT(folders.notHandled, SizeIs(11));
    for (const NotHandled& entry : folders.notHandled)
        EXPECT_EQ(entry.reason, NotHandledReason::kSystemFolder) << entry.name;
    const TestCard junk;
    for (const std::string name : {"THUMBS.DB", "desktop.ini", ".DS_Store", "._a.jpg"})
        junk.add(name, std::string("\0\5\26\7", 4));
    EXPECT_THAT(passedOver(junk.scan()),
        ElementsAre(std::pair(".DS_Store", NotHandledReason::kJunkFile),
            std::pair("._a.jpg", NotHandledReason::kJunkFile),
            std::pair("THUMBS.DB", NotHandledReason::kJunkFile),
            std::pair("desktop.ini", NotHandledReason::kJunkFile)));
}

TEST(CardScanTest, TakesAFileThatOnlyHasTheNameOfASystemFolder)
{
    const TestCard card;
    card.add("THMBNL");
    card.add("Thumbs.db/a.jpg");
    EXPECT_THAT(itemPaths(card.scan()), ElementsAre("THMBNL", "Thumbs.db/a.jpg"));
}

TEST(CardScanTest, SaysWhichFolderCannotBeRead)
{
    const TestCard card;
    card.add("a.jpg");
    card.add("closed/b.jpg");
    chmod(card.path().c_str(), 0755);
    chmod(card.path("closed").c_str(), 0);
    EXPECT_TRUE(holdsForOrdinaryUser([&card] {
        const CardContents contents = card.scan();
        return itemPaths(contents) == std::vector<std::string>{"a.jpg"}
        && contents.problems.size() == 1 && contents.problems[0].path == card.path("closed")
            && contents.problems[0].error == std::errc::permission_denied && !contents.rootError;
    }));
    chmod(card.path("closed").c_str(), 0700);
}

TEST(CardScanTest, SaysWhichFilesCannotBeAskedAbout)
{
    const TestCard card;
    card.add("listed/b.jpg");
    chmod(card.path().c_str(), 0755);
    chmod(card.path("listed").c_str(), 0444); // names can be read, nothing else
    EXPECT_TRUE(holdsForOrdinaryUser([&card] {
        const CardContents contents = card.scan();
        return contents.items.empty() && contents.problems.size() == 1
            && contents.problems[0].path == card.path("listed/b.jpg");
    }));
    chmod(card.path("listed").c_str(), 0700);
}

TEST(CardScanTest, SaysWhyTheSourceCannotBeRead)
{
    const TestCard card;
    card.add("file");
    const CardContents missing = scanCard(card.path("missing"));
    EXPECT_EQ(missing.rootError, std::errc::no_such_file_or_directory);
    EXPECT_THAT(missing.problems, SizeIs(1));
    EXPECT_EQ(scanCard(card.path("file")).rootError, std::errc::not_a_directory);
    EXPECT_TRUE(scanCard("").rootError);
    EXPECT_FALSE(card.scan().rootError);
}

TEST(CardScanTest, FollowsALinkThatIsTheSourceItself)
{
    const TestCard card;
    card.add("real/a.jpg");
    std::filesystem::create_directory_symlink("real", card.path("link"));
    const CardContents contents = scanCard(card.path("link") + "/");
    EXPECT_EQ(contents.root, card.path("real"));
    EXPECT_THAT(itemPaths(contents), ElementsAre("a.jpg"));
}

TEST(CardScanTest, IsNotCaughtInALoopOfLinks)
{
    const TestCard card;
    card.add("a/b/c.jpg");
    std::filesystem::create_directory_symlink("..", card.path("a/b/up"));
    std::filesystem::create_directory_symlink(card.path(), card.path("a/root"));
    const CardContents contents = card.scan();
    EXPECT_THAT(itemPaths(contents), ElementsAre("a/b/c.jpg"));
    EXPECT_THAT(contents.notHandled, SizeIs(2));
}

// 0: as expected, 1: not, 2: this user cannot bind folders.
int scanWithTheCardBoundIntoItself(const TestCard& card)
{
    const std::string inner = card.path("in");
    if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0
        || mount(card.path().c_str(), inner.c_str(), nullptr, MS_BIND, nullptr) != 0)
        return 2;
    const CardContents contents = card.scan();
    const bool once = itemPaths(contents) == std::vector<std::string>{"a.jpg"};
    return once && passedOver(contents) == NotHandledList{{"in", NotHandledReason::kSameFolder}}
        ? 0
        : 1;
}

TEST(CardScanTest, EntersNoFolderTwice)
{
    const TestCard card;
    card.add("a.jpg");
    card.addFolder("in");
    const pid_t child = fork();
    if (child == 0)
        _exit(scanWithTheCardBoundIntoItself(card));
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == 2) {
        GTEST_SKIP() << "this user cannot bind folders";
    }
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(CardScanTest, WalksThreeHundredFoldersDeep)
{
    const TestCard card;
    std::string deep;
    for (int i = 0; i < 300; ++i)
        deep += "d" + std::to_string(i) + '/';
    card.add(deep + "a.jpg");
    EXPECT_THAT(itemPaths(card.scan()), ElementsAre(deep + "a.jpg"));
}

TEST(CardScanTest, ReportsAFolderTooDeepForThePathsOfTheSystem)
{
    const TestCard card;
    const std::string step(200, 'd');
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(card.path());
    for (int i = 0; i < 25; ++i) { // beyond 4096 bytes
        ASSERT_EQ(mkdir(step.c_str(), 0700), 0);
        ASSERT_EQ(chdir(step.c_str()), 0);
    }
    std::filesystem::current_path(before);
    const CardContents contents = card.scan();
    ASSERT_THAT(contents.problems, SizeIs(1));
    EXPECT_EQ(contents.problems[0].error, std::errc::filename_too_long);
}

TEST(CardScanTest, TakesNamesOfAnyBytes)
{
    const TestCard card;
    std::mt19937 random(7);
    std::set<std::string> names{"line\nfeed.jpg",
        "tab\t.jpg",
        "\xC3\xBC.jpg",
        "u\xCC\x88.jpg",
        " ",
        "trailing.",
        "trailing ",
        "-",
        "\\",
        "\xFF\xFE",
        "%FF",
        "*.jpg"};
    while (names.size() < 1000) {
        std::string name(1 + random() % 40, 'x');
        for (char& c : name)
            c = static_cast<char>(random() % 256);
        std::replace(name.begin(), name.end(), '/', '_');
        std::replace(name.begin(), name.end(), '\0', '_');
        if (name.front() != '.')
            names.insert(name);
    }
    for (const std::string& name : names)
        card.add(name);
    const CardContents contents = card.scan();
    EXPECT_EQ(itemPaths(contents), std::vector<std::string>(names.begin(), names.end()));
    for (const MediaItem& item : contents.items)
        EXPECT_TRUE(Pt::isUtf8(Pt::displayName(item.name)));
}

TEST(CardScanTest, CountsWhatTheFilterLeavesOut)
{
    const TestCard card;
    for (const std::string name : {"a.CR2", "a.jpg", "b.mov", "c.mov", ".h.cr2"})
        card.add(name);
    const CardContents contents = card.scan({"*.cr2", "A.*"});
    EXPECT_THAT(itemPaths(contents), ElementsAre("a.CR2", "a.jpg"));
    EXPECT_EQ(contents.notAskedFor, 2U);
    EXPECT_THAT(contents.notHandled, SizeIs(1));
}

TEST(CardScanTest, BringsWhatBelongsToAFileThatWasAskedForAndNamesTheRest)
{
    const TestCard card;
    for (const char* name : {"x/A.CR2", "x/A.xmp", "y/A.xmp", "x/A.JPG", "x/B.JPG", "C", "D", "E"})
        card.add(name);
    const CardContents contents = card.scan({"*.cr2"});
    EXPECT_THAT(itemPaths(contents), ElementsAre("x/A.CR2", "x/A.xmp"));
    EXPECT_EQ(contents.notAskedFor, 6U);
    EXPECT_THAT(contents.leftOut, ElementsAre("C", "D", "E", "x/A.JPG", "x/B.JPG", "y/A.xmp"));
}

TEST(CardScanTest, StopsWhenItIsTold)
{
    const TestCard card;
    card.add("a.jpg");
    const std::atomic<bool> stop = true;
    ScanOptions options;
    options.stop = &stop;
    const CardContents contents = scanCard(card.path(), options);
    EXPECT_TRUE(contents.stopped);
    EXPECT_THAT(contents.items, IsEmpty());
    EXPECT_FALSE(card.scan().stopped);
}

TEST(CardScanTest, KeepsAnItemSmall)
{
    // Twenty thousand items stay below four million bytes, names of up to 60 bytes included.
    EXPECT_LE(sizeof(MediaItem), 128U);
}

} // namespace
} // namespace mfx
