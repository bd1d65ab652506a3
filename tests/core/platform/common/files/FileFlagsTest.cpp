#include "platform/common/files/FileFlags.h"

#include "support/OrdinaryUser.h"
#include "support/TestFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

fs::perms modeOf(const std::string& path)
{
    return fs::status(path).permissions();
}

// Whether the immutable attribute could be set or cleared.
bool setImmutable(const std::string& path, bool isOn)
{
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    int attributes = 0;
    bool isDone = descriptor >= 0 && ::ioctl(descriptor, FS_IOC_GETFLAGS, &attributes) == 0;
    attributes = isOn ? attributes | FS_IMMUTABLE_FL : attributes & ~FS_IMMUTABLE_FL;
    isDone = isDone && ::ioctl(descriptor, FS_IOC_SETFLAGS, &attributes) == 0;
    ::close(descriptor);
    return isDone;
}

} // namespace

TEST(FileFlagsTest, GivesTheOwnerBackTheRightToWrite)
{
    const test::TestFolder folder;
    const std::string file = folder.write("picture", "x");
    fs::permissions(file, fs::perms(0444));
    Pt::clearLock(file);
    EXPECT_EQ(modeOf(file), fs::perms(0644));
}

TEST(FileFlagsTest, UnlocksAFileThatItsOwnerMayNotEvenRead)
{
    const test::TestFolder folder;
    const std::string file = folder.write("picture", "x");
    fs::permissions(file, fs::perms(0000));
    Pt::clearLock(file);
    EXPECT_EQ(modeOf(file), fs::perms(0200));
}

TEST(FileFlagsTest, LeavesAnUnlockedFileAsItIs)
{
    const test::TestFolder folder;
    const std::string file = folder.write("picture", "x");
    fs::permissions(file, fs::perms(0640));
    Pt::clearLock(file);
    EXPECT_EQ(modeOf(file), fs::perms(0640));
    EXPECT_EQ(test::read(file), "x");
}

TEST(FileFlagsTest, LeavesFoldersAndPipesAsTheyAre)
{
    const test::TestFolder folder;
    const std::string inner = folder.path("inner");
    const std::string pipe = folder.path("pipe");
    fs::create_directory(inner);
    fs::permissions(inner, fs::perms(0555));
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0444), 0);
    Pt::clearLock(inner);
    Pt::clearLock(pipe);
    EXPECT_EQ(modeOf(inner), fs::perms(0555));
    EXPECT_EQ(modeOf(pipe), fs::perms(0444));
}

TEST(FileFlagsTest, SaysNothingAboutAMissingFile)
{
    const test::TestFolder folder;
    Pt::clearLock(folder.path("none"));
    EXPECT_FALSE(fs::exists(folder.path("none")));
}

TEST(FileFlagsTest, SaysNothingAboutAFileOfSomebodyElse)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can make a file that belongs to somebody else";
    }
    const test::TestFolder folder;
    const std::string file = folder.write("picture", "x");
    fs::permissions(folder.path(), fs::perms(0755));
    fs::permissions(file, fs::perms(0444));
    const auto attempt = [&] {
        Pt::clearLock(file);
        return 7;
    };
    EXPECT_EQ(test::askedAsOrdinaryUser(attempt), 7);
    EXPECT_EQ(modeOf(file), fs::perms(0444));
}

TEST(FileFlagsTest, TakesAwayTheImmutableAttribute)
{
    const test::TestFolder folder;
    const std::string file = folder.write("picture", "x");
    if (!setImmutable(file, true)) {
        GTEST_SKIP() << "this user or this file system has no immutable attribute";
    }
    Pt::clearLock(file);
    std::error_code error;
    const bool isRemoved = fs::remove(file, error);
    if (!isRemoved)
        setImmutable(file, false);
    EXPECT_TRUE(isRemoved) << error.message();
}
