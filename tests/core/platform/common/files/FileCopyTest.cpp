#include "platform/common/files/FileCopy.h"

#include "support/TestFolder.h"

#include <csignal>
#include <filesystem>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace fs = std::filesystem;
using Pt::CopyProblem;

namespace {

class FileCopyTest : public testing::Test {
protected:
    FileCopyTest() { fs::create_directory(folder.path("to")); }
    ~FileCopyTest() override { EXPECT_EQ(test::openDescriptors(), m_descriptors); }

    Pt::CopyResult copy(const Pt::CopyOptions& options = {})
    {
        return Pt::copyFile(folder.path("source"), folder.path("to"), "copy", options);
    }
    // Nothing stands in the target folder, whatever went wrong.
    void expectNothing() { EXPECT_TRUE(fs::is_empty(folder.path("to"))); }

    std::string copied() const { return test::read(folder.path("to/copy")); }

    Pt::FileStatus statusOf(const std::string& name) const
    {
        struct stat status = {};
        EXPECT_EQ(::lstat(folder.path(name).c_str(), &status), 0);
        Pt::FileStatus result;
        result.device = status.st_dev;
        result.inode = status.st_ino;
        result.size = static_cast<std::uint64_t>(status.st_size);
        result.modified = status.st_mtim.tv_sec * 1'000'000'000L + status.st_mtim.tv_nsec;
        result.changed = status.st_ctim.tv_sec * 1'000'000'000L + status.st_ctim.tv_nsec;
        return result;
    }

    test::TestFolder folder;
    std::ptrdiff_t m_descriptors = test::openDescriptors();
};

std::string patterned(std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(i * 31 + i / 251);
    return bytes;
}

} // namespace

TEST_F(FileCopyTest, CopiesAnyNumberOfBytes)
{
    for (const std::size_t size :
        {0UL, 1UL, (1UL << 20) - 1, 1UL << 20, (1UL << 20) + 1, (9UL << 20) + 7}) {
        const std::string bytes = patterned(size);
        folder.write("source", bytes);
        const Pt::CopyResult result = copy();
        EXPECT_TRUE(result.isProven()) << size;
        EXPECT_EQ(result.digest.size, size);
        EXPECT_TRUE(copied() == bytes) << size;
        fs::remove(folder.path("to/copy"));
        expectNothing();
    }
}

TEST_F(FileCopyTest, GivesTheDigestOfTheBytes)
{
    folder.write("source", "abc");
    std::error_code error;
    EXPECT_EQ(copy().digest, Pt::digestOfFile(folder.path("source"), error));
    EXPECT_FALSE(error);
    // The published digest of "abc".
    EXPECT_EQ(copied(), "abc");
    const auto digest = Pt::digestOfFile(folder.path("to/copy"), error)->sha256;
    EXPECT_EQ(digest[0], 0xba);
    EXPECT_EQ(digest[1], 0x78);
    EXPECT_EQ(digest[31], 0xad);
}

TEST_F(FileCopyTest, KeepsTheTimesAndTakesTheMode)
{
    const std::string source = folder.write("source", "bytes");
    const timespec times[2] = {{11, 12}, {13, 999'999'999}};
    ASSERT_EQ(::utimensat(AT_FDCWD, source.c_str(), times, 0), 0);
    Pt::CopyOptions options;
    options.mode = 0604;
    options.exactMode = true;
    EXPECT_TRUE(copy(options).timesKept);
    struct stat status = {};
    ::stat(folder.path("to/copy").c_str(), &status);
    EXPECT_EQ(status.st_mtim.tv_sec, 13);
    EXPECT_EQ(status.st_mtim.tv_nsec, 999'999'999);
    EXPECT_EQ(status.st_mode & 07777, 0604U);
}

TEST_F(FileCopyTest, TellsOfAMissingSource)
{
    EXPECT_EQ(copy().problem, CopyProblem::kSourceMissing);
    folder.write("file", "");
    EXPECT_EQ(Pt::copyFile(folder.path("file/a"), folder.path("to"), "copy").problem,
        CopyProblem::kSourceMissing);
    expectNothing();
}

TEST_F(FileCopyTest, ReadsNothingThatIsNoFile)
{
    fs::create_directory(folder.path("source"));
    EXPECT_EQ(copy().problem, CopyProblem::kSourceUnreadable);
    fs::remove(folder.path("source"));
    ASSERT_EQ(::mkfifo(folder.path("source").c_str(), 0600), 0);
    EXPECT_EQ(copy().problem, CopyProblem::kSourceUnreadable); // and does not wait for a writer
    expectNothing();
}

TEST_F(FileCopyTest, CopiesOnlyTheSourceThatWasExpected)
{
    folder.write("source", "bytes");
    Pt::CopyOptions options;
    options.expected = statusOf("source");
    EXPECT_TRUE(copy(options).isProven());
    fs::remove(folder.path("to/copy"));
    const Pt::FileStatus right = *options.expected;
    for (const auto& change : std::vector<void (*)(Pt::FileStatus&)>{
             [](Pt::FileStatus& s) { ++s.size; }, [](Pt::FileStatus& s) { ++s.modified; }}) {
        options.expected = right;
        change(*options.expected);
        EXPECT_EQ(copy(options).problem, CopyProblem::kSourceChanged);
    }
    expectNothing();
}

// Some file systems forget inode numbers, and a link that is removed changes the time of change.
TEST_F(FileCopyTest, CopiesASourceWhoseNumbersAloneAreOthers)
{
    folder.write("source", "bytes");
    Pt::CopyOptions options;
    options.expected = statusOf("source");
    ++options.expected->inode;
    ++options.expected->changed;
    EXPECT_TRUE(copy(options).isProven());
}

TEST_F(FileCopyTest, FollowsNoLinkToAnExpectedSource)
{
    folder.write("file", "bytes");
    fs::create_symlink("file", folder.path("source"));
    Pt::CopyOptions options;
    options.expected = statusOf("file");
    EXPECT_EQ(copy(options).problem, CopyProblem::kSourceChanged);
    expectNothing();
    EXPECT_TRUE(copy().isProven());
}

TEST_F(FileCopyTest, NoticesASourceThatChangesWhileItIsRead)
{
    for (const char* how : {"grow", "shrink", "touch"}) {
        folder.write("source", patterned(3 << 20));
        Pt::CopyOptions options;
        options.progress = [&](std::uint64_t) {
            if (std::string(how) == "grow")
                fs::resize_file(folder.path("source"), (3 << 20) + 9);
            else if (std::string(how) == "shrink")
                fs::resize_file(folder.path("source"), 2 << 20);
            else
                ::utimensat(AT_FDCWD, folder.path("source").c_str(), nullptr, 0);
            return true;
        };
        EXPECT_EQ(copy(options).problem, CopyProblem::kSourceChanged) << how;
        expectNothing();
    }
}

TEST_F(FileCopyTest, NoticesATargetThatChangesBehindItsBack)
{
    folder.write("source", patterned(2 << 20));
    Pt::CopyOptions options;
    int calls = 0;
    options.progress = [&](std::uint64_t) {
        if (++calls == 2) { // all is written, nothing is read back
            for (const auto& entry : fs::directory_iterator(folder.path("to"))) {
                const int file = ::open(entry.path().c_str(), O_WRONLY | O_CLOEXEC);
                EXPECT_EQ(::pwrite(file, "?", 1, 77), 1);
                ::close(file);
            }
        }
        return true;
    };
    EXPECT_EQ(copy(options).problem, CopyProblem::kNotProven);
    expectNothing();
}

TEST_F(FileCopyTest, EndsWhereverItIsCancelled)
{
    folder.write("source", patterned((2 << 20) + 1));
    for (int last = 1; last <= 6; ++last) { // three pieces written, three read back
        Pt::CopyOptions options;
        int calls = 0;
        options.progress = [&](std::uint64_t) { return ++calls != last; };
        EXPECT_EQ(copy(options).problem, CopyProblem::kCancelled) << last;
        EXPECT_EQ(calls, last);
        expectNothing();
    }
}

TEST_F(FileCopyTest, CountsEachByteTwiceInItsProgress)
{
    folder.write("source", patterned((2 << 20) + 1));
    Pt::CopyOptions options;
    std::uint64_t bytes = 0;
    options.progress = [&](std::uint64_t more) {
        bytes += more;
        return true;
    };
    EXPECT_TRUE(copy(options).isProven());
    EXPECT_EQ(bytes, 2 * ((2U << 20) + 1));
}

TEST_F(FileCopyTest, NeverReplacesWhatStandsThere)
{
    folder.write("source", "new");
    folder.write("to/copy", "old");
    EXPECT_EQ(copy().problem, CopyProblem::kTargetTaken);
    EXPECT_EQ(copied(), "old");
    fs::remove(folder.path("to/copy"));
    fs::create_symlink("nowhere", folder.path("to/copy"));
    EXPECT_EQ(copy().problem, CopyProblem::kTargetTaken);
    fs::remove(folder.path("to/copy"));
    fs::create_directory(folder.path("to/copy"));
    EXPECT_EQ(copy().problem, CopyProblem::kTargetTaken);
    fs::remove(folder.path("to/copy"));
    expectNothing();
}

TEST_F(FileCopyTest, TellsOfATargetFolderThatIsMissing)
{
    folder.write("source", "bytes");
    fs::remove(folder.path("to"));
    EXPECT_EQ(copy().problem, CopyProblem::kTargetUnusable);
    EXPECT_FALSE(fs::exists(folder.path("to")));
}

TEST_F(FileCopyTest, TellsOfAFileThatIsLargerThanItMayWrite)
{
    folder.write("source", patterned(300'000));
    struct rlimit before = {};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const struct rlimit small = {100'000, before.rlim_max};
    auto* const handler = std::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &small);
    const Pt::CopyResult result = copy();
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(result.problem, CopyProblem::kTargetUnusable);
    EXPECT_EQ(result.error, std::errc::file_too_large);
    expectNothing();
}

TEST_F(FileCopyTest, WritesUnderTheNameItselfWhereAsked)
{
    folder.write("source", "bytes");
    const std::string target = folder.path("to/copy");
    EXPECT_TRUE(Pt::writeProvenCopy(folder.path("source"), target).isProven());
    EXPECT_EQ(copied(), "bytes");
    EXPECT_EQ(
        Pt::writeProvenCopy(folder.path("source"), target).problem, CopyProblem::kTargetTaken);
    EXPECT_EQ(copied(), "bytes");
    Pt::CopyOptions options;
    options.progress = [](std::uint64_t) { return false; };
    EXPECT_EQ(Pt::writeProvenCopy(folder.path("source"), folder.path("to/other"), options).problem,
        CopyProblem::kCancelled);
    EXPECT_FALSE(fs::exists(folder.path("to/other")));
}

// Some tools and broken clocks leave times that nanoseconds since 1970 cannot hold.
TEST_F(FileCopyTest, KnowsASourceOfTheFarFutureAgain)
{
    const test::TestFolder memory("/dev/shm"); // it keeps 64 bits of seconds
    const std::string source = memory.write("source", "picture");
    for (const time_t seconds : {time_t{100'000'000'000}, time_t{-100'000'000'000}}) {
        const timespec times[]{{0, UTIME_OMIT}, {seconds, 5}};
        ASSERT_EQ(::utimensat(AT_FDCWD, source.c_str(), times, 0), 0);
        std::error_code error;
        Pt::CopyOptions options;
        options.expected = Pt::fileStatus(source, error);
        ASSERT_TRUE(options.expected) << error.message();
        const std::string target = folder.path("to/" + std::to_string(seconds));
        EXPECT_EQ(Pt::writeProvenCopy(source, target, options).problem, CopyProblem::kNone);
    }
}

// No process has a number like that.
TEST_F(FileCopyTest, RemovesStaleCopiesAndSparesThoseThatAreWritten)
{
    folder.write("to/.unfinished-99999999-1", "stale");
    folder.write("to/.unfinished-99999999-2", "in use");
    folder.write("to/unfinished-99999999-1", "a user's file");
    fs::create_symlink("unfinished-99999999-1", folder.path("to/.unfinished-link"));
    const int held = ::open(folder.path("to/.unfinished-99999999-2").c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(held, LOCK_EX), 0);
    EXPECT_EQ(Pt::removeStaleCopies(folder.path("to")), 1U);
    EXPECT_FALSE(fs::exists(folder.path("to/.unfinished-99999999-1")));
    EXPECT_TRUE(fs::exists(folder.path("to/.unfinished-99999999-2")));
    EXPECT_TRUE(fs::exists(folder.path("to/unfinished-99999999-1")));
    ::close(held);
    EXPECT_EQ(Pt::removeStaleCopies(folder.path("to")), 1U);
    EXPECT_EQ(Pt::removeStaleCopies(folder.path("missing")), 0U);
}

// What bears such a name and cannot be ours: all of it stays.
TEST_F(FileCopyTest, RemovesNothingThatNoneOfItsProcessesMade)
{
    const auto path = [this](const char* number) {
        return folder.path("to/.unfinished-99999999-") + number;
    };
    folder.write("precious", "one file with two names");
    fs::create_hard_link(folder.path("precious"), path("1"));
    ASSERT_EQ(::mkfifo(path("2").c_str(), 0600), 0);
    fs::create_symlink(folder.path("precious"), path("3"));
    fs::create_directory(path("4"));
    const std::string ofLiving =
        folder.write("to/.unfinished-" + std::to_string(::getpid()) + "-900", "being written");
    EXPECT_EQ(Pt::removeStaleCopies(folder.path("to")), 0U);
    for (const char* const number : {"1", "2", "3", "4"})
        EXPECT_TRUE(fs::exists(fs::symlink_status(path(number)))) << number;
    EXPECT_TRUE(fs::exists(ofLiving));
}

TEST_F(FileCopyTest, RemovesNothingOfAnotherUser)
{
    const std::string path = folder.write("to/.unfinished-99999999-1", "somebody's");
    if (::chown(path.c_str(), 65534, 65534) != 0)
        GTEST_SKIP() << "this user may not give a file away";
    EXPECT_EQ(Pt::removeStaleCopies(folder.path("to")), 0U);
    EXPECT_TRUE(fs::exists(path));
}

TEST_F(FileCopyTest, RemovesOnlyNamesOfTheExactFormOfItsOwn)
{
    const char* const theirs[] = {".unfinished-",
        ".unfinished-1",
        ".unfinished-1-",
        ".unfinished--1",
        ".unfinished-99999999-2x",
        ".unfinished-a-1",
        ".unfinished-99999999-2-3",
        ".unfinished-00-00",
        ".unfinished-99999999-01",
        ".unfinished-099999999-1",
        ".unfinished-99999999999999999999999-1",
        ".unfinished-1 -2",
        "unfinished-1-2",
        "x.unfinished-1-2",
        ".unfinished novel"};
    for (const char* const name : theirs)
        folder.write(std::string("to/") + name, "a user's file");
    EXPECT_EQ(Pt::removeStaleCopies(folder.path("to")), 0U);
    for (const char* const name : theirs)
        EXPECT_TRUE(fs::exists(folder.path(std::string("to/") + name))) << name;
}

TEST_F(FileCopyTest, SparesItsOwnCopyWhileItIsWritten)
{
    folder.write("source", patterned(2 << 20));
    Pt::CopyOptions options;
    options.progress = [&](std::uint64_t) {
        EXPECT_EQ(Pt::removeStaleCopies(folder.path("to")), 0U);
        return true;
    };
    EXPECT_TRUE(copy(options).isProven());
}

TEST_F(FileCopyTest, DigestsFilesAlone)
{
    std::error_code error;
    EXPECT_FALSE(Pt::digestOfFile(folder.path("missing"), error));
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
    EXPECT_FALSE(Pt::digestOfFile(folder.path("to"), error));
    EXPECT_TRUE(error);
    folder.write("source", patterned(3'000'000));
    const auto whole = Pt::digestOfFile(folder.path("source"), error);
    EXPECT_FALSE(error);
    EXPECT_EQ(whole->size, 3'000'000U);
    fs::resize_file(folder.path("source"), 2'999'999);
    EXPECT_NE(Pt::digestOfFile(folder.path("source"), error), whole);
}

TEST_F(FileCopyTest, SaysWhatWentWrong)
{
    EXPECT_EQ(copy().problem, CopyProblem::kSourceMissing);
    folder.write("source", "bytes");
    EXPECT_EQ(copy().problem, CopyProblem::kNone);
    EXPECT_EQ(copy().problem, CopyProblem::kTargetTaken);
    fs::remove_all(folder.path("to"));
    const auto result = copy();
    EXPECT_EQ(result.problem, CopyProblem::kTargetUnusable);
    EXPECT_EQ(result.error, std::errc::no_such_file_or_directory);
    fs::create_directory(folder.path("to"));
}
