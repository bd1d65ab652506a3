#include "platform/common/files/AtomicFile.h"

#include "core/platform/support/FileFixture.h"
#include "platform/common/files/FilePlacement.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using testing::ElementsAre;
using State = Pt::FileContent::State;

namespace {

constexpr std::chrono::milliseconds kNoPatience{0};

using AtomicFileTest = test::FileFixture;

} // namespace

TEST_F(AtomicFileTest, ReadsAWholeFileUpToTheLimit)
{
    const std::string long_(200000, 'x');
    put("a", long_);
    EXPECT_EQ(Pt::readFile(path("a"), long_.size()).bytes, long_);
    EXPECT_EQ(Pt::readFile(path("a"), long_.size()).state, State::kRead);
    const Pt::FileContent tooLarge = Pt::readFile(path("a"), long_.size() - 1);
    EXPECT_EQ(tooLarge.state, State::kTooLarge);
    EXPECT_EQ(tooLarge.bytes, "");
    put("empty", "");
    EXPECT_EQ(Pt::readFile(path("empty"), 0).state, State::kRead);
}

TEST_F(AtomicFileTest, TellsWhyThereIsNothingToRead)
{
    EXPECT_EQ(Pt::readFile(path("none"), 9).state, State::kMissing);
    EXPECT_EQ(Pt::readFile(path("none/below"), 9).state, State::kMissing);
    EXPECT_EQ(Pt::readFile(m_folder.path(), 9).state, State::kNotAFile);
    EXPECT_EQ(Pt::readFile("/dev/zero", 9).state, State::kNotAFile);
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(Pt::readFile(path("pipe"), 9).state, State::kNotAFile);
    std::filesystem::create_symlink("nowhere", path("link"));
    EXPECT_EQ(Pt::readFile(path("link"), 9).state, State::kNotAFile);
    std::filesystem::create_symlink("loop", path("loop"));
    EXPECT_EQ(Pt::readFile(path("loop"), 9).state, State::kUnreadable);
    put("a", "x");
    const Pt::FileContent below = Pt::readFile(path("a/below"), 9);
    EXPECT_EQ(below.state, State::kUnreadable);
    EXPECT_EQ(below.error, std::errc::not_a_directory);
}

TEST_F(AtomicFileTest, PutsANewFileInThePlaceOfTheOld)
{
    put("a", "old");
    const int reader = ::open(path("a").c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_FALSE(Pt::writeFileAtomically(path("a"), "new", 0640));
    EXPECT_EQ(bytes("a"), "new");
    EXPECT_EQ(modeOf("a"), 0640U);
    char buffer[4] = {};
    EXPECT_EQ(::read(reader, buffer, 3), 3); // who had it open still sees the old one
    EXPECT_STREQ(buffer, "old");
    ::close(reader);
    EXPECT_THAT(names(), ElementsAre("a"));
}

TEST_F(AtomicFileTest, ModesDoNotDependOnTheMask)
{
    const mode_t before = ::umask(0777);
    const std::error_code error = Pt::writeFileAtomically(path("a"), "", 0600);
    ::umask(before);
    EXPECT_FALSE(error);
    EXPECT_EQ(modeOf("a"), 0600U);
}

TEST_F(AtomicFileTest, LeavesNothingBehindWhenThePlaceIsTaken)
{
    std::filesystem::create_directories(path("a/b"));
    EXPECT_TRUE(Pt::writeFileAtomically(path("a"), "new", 0600));
    EXPECT_EQ(
        Pt::writeFileAtomically(path("none/a"), "new", 0600), std::errc::no_such_file_or_directory);
    EXPECT_THAT(names(), ElementsAre("a"));
}

TEST_F(AtomicFileTest, ALockHasOneHolderAtATime)
{
    std::error_code error;
    auto first = Pt::FileLock::take(path("lock"), kNoPatience, error);
    ASSERT_TRUE(first);
    EXPECT_FALSE(Pt::FileLock::take(path("lock"), kNoPatience, error));
    EXPECT_EQ(error, std::errc::timed_out);
    Pt::FileLock moved = *std::move(first);
    first.reset();
    EXPECT_FALSE(Pt::FileLock::take(path("lock"), kNoPatience, error));
    {
        const Pt::FileLock gone = std::move(moved);
    }
    EXPECT_TRUE(Pt::FileLock::take(path("lock"), kNoPatience, error));
    EXPECT_FALSE(error);
    EXPECT_EQ(modeOf("lock"), 0600U);
}

TEST_F(AtomicFileTest, ALockIsFreeWhenItsHolderWasKilled)
{
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t holder = ::fork();
    if (holder == 0) {
        std::error_code error;
        const auto lock = Pt::FileLock::take(path("lock"), kNoPatience, error);
        const char held = lock ? 'y' : 'n';
        (void)!::write(ready[1], &held, 1);
        ::pause();
        ::_exit(1);
    }
    char held = 0;
    EXPECT_EQ(::read(ready[0], &held, 1), 1);
    EXPECT_EQ(held, 'y');
    std::error_code error;
    EXPECT_FALSE(Pt::FileLock::take(path("lock"), kNoPatience, error));
    ::kill(holder, SIGKILL);
    ::waitpid(holder, nullptr, 0);
    EXPECT_TRUE(Pt::FileLock::take(path("lock"), kNoPatience, error));
    ::close(ready[0]);
    ::close(ready[1]);
}

TEST_F(AtomicFileTest, ChildrenDoNotInheritALock)
{
    std::error_code error;
    auto lock = Pt::FileLock::take(path("lock"), kNoPatience, error);
    ASSERT_TRUE(lock);
    int alive[2];
    ASSERT_EQ(::pipe2(alive, O_CLOEXEC), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(alive[0], 0);
        ::execl("/bin/cat", "cat", static_cast<char*>(nullptr)); // until its input ends
        ::_exit(1);
    }
    ::close(alive[0]);
    // The write end in the child goes with the exec; wait for that by its executable.
    const std::string link = "/proc/" + std::to_string(child) + "/exe";
    while (std::filesystem::read_symlink(link).filename() != "cat") { }
    lock.reset();
    EXPECT_TRUE(Pt::FileLock::take(path("lock"), kNoPatience, error));
    ::close(alive[1]);
    ::waitpid(child, nullptr, 0);
}

TEST_F(AtomicFileTest, ALockThatCannotBeMadeSaysWhy)
{
    std::error_code error;
    EXPECT_FALSE(Pt::FileLock::take(path("none/lock"), kNoPatience, error));
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
    std::filesystem::create_directory(path("folder"));
    EXPECT_FALSE(Pt::FileLock::take(path("folder"), kNoPatience, error));
    EXPECT_EQ(error, std::errc::is_a_directory);
}
