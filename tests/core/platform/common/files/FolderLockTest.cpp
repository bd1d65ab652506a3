#include "platform/common/files/FolderLock.h"

#include "support/TestFolder.h"

#include <csignal>
#include <filesystem>
#include <thread>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;
using Pt::FolderLock;

namespace {

class FolderLockTest : public testing::Test {
protected:
    bool canTakeAlone()
    {
        std::error_code why;
        const bool isTaken = FolderLock::takeAlone(folder.path(), why).has_value();
        if (!isTaken) {
            EXPECT_EQ(why, std::errc::resource_unavailable_try_again);
        }
        return isTaken;
    }

    test::TestFolder folder;
    std::error_code error;
};

} // namespace

TEST_F(FolderLockTest, IsSharedByMany)
{
    const auto first = FolderLock::share(folder.path(), error);
    const auto second = FolderLock::share(folder.path(), error);
    EXPECT_TRUE(first && second);
    EXPECT_FALSE(error);
    EXPECT_FALSE(canTakeAlone());
}

TEST_F(FolderLockTest, IsHadAloneByOne)
{
    auto alone = FolderLock::takeAlone(folder.path(), error);
    ASSERT_TRUE(alone);
    EXPECT_FALSE(canTakeAlone());
    alone.reset();
    EXPECT_TRUE(canTakeAlone());
}

TEST_F(FolderLockTest, EndsWithTheLastThatShare)
{
    auto first = FolderLock::share(folder.path(), error);
    auto second = FolderLock::share(folder.path(), error);
    first.reset();
    EXPECT_FALSE(canTakeAlone());
    second.reset();
    EXPECT_TRUE(canTakeAlone());
}

TEST_F(FolderLockTest, WaitsToShareUntilTheFolderIsLetGo)
{
    auto alone = FolderLock::takeAlone(folder.path(), error);
    std::optional<FolderLock> shared;
    std::thread waiter([&] {
        std::error_code ignored;
        shared = FolderLock::share(folder.path(), ignored);
    });
    alone.reset();
    waiter.join();
    EXPECT_TRUE(shared);
}

TEST_F(FolderLockTest, WaitsToHaveTheFolderAloneUntilAllLetGo)
{
    auto first = FolderLock::share(folder.path(), error);
    auto second = FolderLock::share(folder.path(), error);
    std::optional<FolderLock> alone;
    std::thread waiter([&] {
        std::error_code ignored;
        alone = FolderLock::waitAlone(folder.path(), ignored);
    });
    first.reset();
    second.reset();
    waiter.join();
    EXPECT_TRUE(alone);
    EXPECT_FALSE(canTakeAlone());
}

TEST_F(FolderLockTest, EndsWithItsProcess)
{
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        std::error_code ignored;
        const auto alone = FolderLock::takeAlone(folder.path(), ignored);
        const char sign = alone ? 'y' : 'n';
        if (::write(ends[1], &sign, 1) == 1)
            ::pause();
        ::_exit(1);
    }
    char sign = 0;
    ASSERT_EQ(::read(ends[0], &sign, 1), 1);
    EXPECT_EQ(sign, 'y');
    EXPECT_FALSE(canTakeAlone());
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    EXPECT_TRUE(canTakeAlone());
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST_F(FolderLockTest, LocksNothingThatIsNoFolder)
{
    EXPECT_FALSE(FolderLock::share(folder.path("missing"), error));
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
    folder.write("file", "");
    EXPECT_FALSE(FolderLock::takeAlone(folder.path("file"), error));
    EXPECT_EQ(error, std::errc::not_a_directory);
    fs::create_directory_symlink(folder.path(), folder.path("link"));
    EXPECT_FALSE(FolderLock::share(folder.path("link"), error));
    EXPECT_TRUE(error);
}

TEST_F(FolderLockTest, KnowsWhetherThePathStillNamesItsFolder)
{
    const std::string path = folder.path("f");
    fs::create_directory(path);
    const auto lock = FolderLock::share(path, error);
    ASSERT_TRUE(lock);
    EXPECT_TRUE(lock->stillNames(path));
    EXPECT_FALSE(lock->stillNames(folder.path()));
    fs::remove(path);
    EXPECT_FALSE(lock->stillNames(path));
    fs::create_directory(path);
    EXPECT_FALSE(lock->stillNames(path)); // another of that name: ours is still open, and not it
}

TEST_F(FolderLockTest, MovesWithItsHolder)
{
    const auto before = test::openDescriptors();
    {
        auto first = FolderLock::takeAlone(folder.path(), error);
        ASSERT_TRUE(first);
        const FolderLock second = std::move(*first);
        first.reset();
        EXPECT_FALSE(canTakeAlone());
        EXPECT_TRUE(second.stillNames(folder.path()));
    }
    EXPECT_EQ(test::openDescriptors(), before);
}
