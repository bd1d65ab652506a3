// The store among real processes: several that save, one that is killed, one that may not, one
// whose disk is full.

#include "modules/preference_xml_parser/StoreClient.h"

#include <chrono>
#include <csignal>
#include <functional>
#include <random>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace tests;
using testing::ElementsAre;

namespace {

constexpr uid_t kNobody = 65534;
constexpr int kCannotTry = 77; // exit status of a child that lacks what the test needs

// A child that runs a function; killed at the latest with this object.
class Child {
public:
    explicit Child(const std::function<int()>& run)
        : m_process(::fork())
    {
        if (m_process == 0)
            ::_exit(run());
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child()
    {
        if (m_process > 0)
            kill();
    }

    // The exit status; -1 when it ended otherwise.
    int wait()
    {
        int status = 0;
        ::waitpid(m_process, &status, 0);
        m_process = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    void kill()
    {
        ::kill(m_process, SIGKILL);
        wait();
    }

private:
    pid_t m_process;
};

std::u16string numbered(char16_t letter, int number)
{
    const std::string digits = std::to_string(number);
    return letter + std::u16string(digits.begin(), digits.end());
}

// Saves one new key after the other, as a host does: load, set, save.
int saveManyKeys(const std::string& folder, char16_t letter, int count)
{
    for (int number = 0; number < count; ++number) {
        StoreClient store(folder);
        store.load();
        if (!store.set(numbered(letter, number), u"1") || !store.save())
            return 1;
    }
    return 0;
}

// From now on this process is an ordinary user's, the owner of the folder.
bool becomeOrdinaryUser(const std::string& folder)
{
    return ::getuid() != 0
        || (::chown(folder.c_str(), kNobody, kNobody) == 0 && ::setgid(kNobody) == 0
            && ::setuid(kNobody) == 0);
}

// Runs a check as an ordinary user; what the check's steps are is up to its text.
int asOrdinaryUser(const std::string& folder, const std::function<bool()>& check)
{
    return Child([&] {
        ::umask(022);
        return becomeOrdinaryUser(folder) ? (check() ? 0 : 1) : kCannotTry;
    }).wait();
}

bool setMode(const std::string& path, mode_t mode)
{
    return ::chmod(path.c_str(), mode) == 0;
}

} // namespace

TEST(PreferenceProcessesTest, TwoThatSaveInTurnLoseNoKeys)
{
    constexpr int kSaves = 200;
    StoreFolder folder;
    Child first([&] { return saveManyKeys(folder.path(), u'a', kSaves); });
    Child second([&] { return saveManyKeys(folder.path(), u'b', kSaves); });
    EXPECT_EQ(first.wait(), 0);
    EXPECT_EQ(second.wait(), 0);
    StoreClient store(folder.path());
    ASSERT_TRUE(store.load());
    for (int number = 0; number < kSaves; ++number) {
        ASSERT_EQ(store.text(numbered(u'a', number)), u"1") << number;
        ASSERT_EQ(store.text(numbered(u'b', number)), u"1") << number;
    }
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("preferences-3.lock", "preferences-3.xml"));
}

TEST(PreferenceProcessesTest, AKilledSaverLeavesAWholeFileAndNoLock)
{
    constexpr std::size_t kLength = 60000;
    std::mt19937 random(99);
    StoreFolder folder;
    StoreClient store(folder.path());
    store.set(u"other", u"kept");
    ASSERT_TRUE(store.save());
    for (int round = 0; round < 40; ++round) {
        Child saver([&] {
            StoreClient victim(folder.path());
            for (char16_t letter = u'a';; letter = letter == u'a' ? u'b' : u'a') {
                victim.set(u"long", std::u16string(kLength, letter));
                victim.save();
            }
            return 0;
        });
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 30000));
        saver.kill();
        ASSERT_TRUE(store.load()) << round;
        ASSERT_EQ(store.text(u"other"), u"kept");
        const std::u16string text = store.text(u"long").value_or(u"");
        ASSERT_EQ(text, std::u16string(text.size(), text[0]));
        ASSERT_TRUE(text.empty() || text.size() == kLength);
    }
    EXPECT_FALSE(store.text(u"long").value_or(u"").empty()) << "no saver came as far as saving";
    store.set(u"last", u"1");
    EXPECT_TRUE(store.save());
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("preferences-3.lock", "preferences-3.xml"));
}

TEST(PreferenceProcessesTest, AFileWithoutReadPermissionIsNeitherLoadedNorReplaced)
{
    StoreFolder folder;
    const int status = asOrdinaryUser(folder.path(), [&] {
        StoreClient store(folder.path());
        store.set(u"key", u"1");
        bool ok = store.save() && setMode(folder.preferences(), 0);
        ok = ok && !store.load() && store.set(u"key", u"2") && !store.save();
        ok = ok && setMode(folder.preferences(), 0600) && store.load();
        return ok && store.text(u"key") == u"1" && namesIn(folder.path()).size() == 2;
    });
    EXPECT_EQ(status, 0);
}

TEST(PreferenceProcessesTest, InAFolderWithoutWritePermissionAStoreIsReadOnly)
{
    StoreFolder folder;
    const int status = asOrdinaryUser(folder.path(), [&] {
        StoreClient store(folder.path());
        store.set(u"key", u"1");
        bool ok = store.save() && setMode(folder.path(), 0500);
        ok = ok && store.load() && store.set(u"key", u"2") && !store.save();
        ok = ok && store.text(u"key") == u"2" && store.load() && store.text(u"key") == u"1";
        return ok && setMode(folder.path(), 0700);
    });
    EXPECT_EQ(status, 0);
}

TEST(PreferenceProcessesTest, ADamagedFileThatCannotBePutAsideStays)
{
    StoreFolder folder;
    const int status = asOrdinaryUser(folder.path(), [&] {
        folder.writePreferences("broken");
        bool ok = setMode(folder.path(), 0500);
        StoreClient store(folder.path());
        ok = ok && !store.load() && store.set(u"key", u"1") && !store.save();
        return ok && test::read(folder.preferences()) == "broken" && setMode(folder.path(), 0700);
    });
    EXPECT_EQ(status, 0);
}

TEST(PreferenceProcessesTest, AFolderThatCannotBeMadeIsRefused)
{
    StoreFolder folder;
    const int status = asOrdinaryUser(folder.path(), [&] {
        preferences::StoreChain chain;
        StoreClient store(new preferences::PreferenceStore(chain));
        const bool ok = setMode(folder.path(), 0500) && !store.init(folder.path("store"));
        return ok && setMode(folder.path(), 0700);
    });
    EXPECT_EQ(status, 0);
}

TEST(PreferenceProcessesTest, AFileThatMayGrowNoFurtherLeavesTheOldOneWhole)
{
    StoreFolder folder;
    Child child([&] {
        StoreClient store(folder.path());
        store.set(u"key", u"1");
        bool ok = store.save();
        const std::string before = test::read(folder.preferences());
        const rlimit limit{1000, 1000};
        ::signal(SIGXFSZ, SIG_IGN);
        ok = ok && ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
        ok = ok && store.set(u"key", std::u16string(5000, u'x')) && !store.save();
        ok = ok && test::read(folder.preferences()) == before && namesIn(folder.path()).size() == 2;
        return ok && store.set(u"key", u"2") && store.save() ? 0 : 1;
    });
    EXPECT_EQ(child.wait(), 0);
}

TEST(PreferenceProcessesTest, AFullDiskLeavesTheOldFileWhole)
{
    StoreFolder folder;
    Child child([&] {
        // In a namespace of its own, so that the file system goes with the process.
        const bool mounted = ::unshare(CLONE_NEWNS) == 0
            && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
            && ::mount("tmpfs", folder.path().c_str(), "tmpfs", 0, "size=64k") == 0;
        if (!mounted)
            return kCannotTry;
        StoreClient store(folder.path());
        store.set(u"key", u"1");
        bool ok = store.save();
        const std::string before = test::read(folder.preferences());
        ok = ok && store.set(u"key", std::u16string(200000, u'x')) && !store.save();
        ok = ok && test::read(folder.preferences()) == before && namesIn(folder.path()).size() == 2;
        return ok && store.set(u"key", u"2") && store.save() ? 0 : 1;
    });
    const int status = child.wait();
    if (status == kCannotTry) {
        GTEST_SKIP() << "a file system can be mounted by root only";
    }
    EXPECT_EQ(status, 0);
}
