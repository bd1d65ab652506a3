#include "support/disks/Mounts.h"

#include "support/TestFolder.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kMegabyte = 1 << 20;

class MountsTest : public testing::Test {
protected:
    void SetUp() override
    {
        if (!test::canMount()) {
            GTEST_SKIP() << "mounting takes root, in no container that forbids it";
        }
        fs::create_directory(at());
    }

    std::string at() const { return m_folder.path("at"); }
    std::string in(const std::string& name) const { return at() + "/" + name; }

    // True where all bytes went down to the disk.
    static bool write(const std::string& path, std::size_t size)
    {
        std::ofstream file(path, std::ios::binary);
        file << std::string(size, 'x') << std::flush;
        return file.good();
    }

    // Inode and device.
    static std::pair<ino_t, dev_t> identity(const std::string& path)
    {
        struct stat told { };
        EXPECT_EQ(::stat(path.c_str(), &told), 0) << path;
        return {told.st_ino, told.st_dev};
    }

    test::TestFolder m_folder;
};

class LoopMountTest : public MountsTest {
protected:
    void SetUp() override
    {
        MountsTest::SetUp();
        if (!IsSkipped() && !test::canMountImages()) {
            GTEST_SKIP() << "there are no devices for images of disks";
        }
    }

    std::string image() const { return m_folder.path("image"); }
};

} // namespace

TEST_F(MountsTest, AnotherProcessDoesNotSeeThem)
{
    test::enterOwnMounts();
    const fs::path ofWhoStartedUs = "/proc/" + std::to_string(::getppid()) + "/ns/mnt";
    EXPECT_NE(fs::read_symlink("/proc/self/ns/mnt"), fs::read_symlink(ofWhoStartedUs));
}

TEST_F(MountsTest, AChildSeesThem)
{
    const test::MemoryMount disk(at(), kMegabyte);
    m_folder.write("at/a", "text");
    test::ChildProgram child({"/bin/cat", in("a")});
    EXPECT_TRUE(child.waitForEnd(std::chrono::seconds(10)));
    EXPECT_EQ(child.output(), "text");
    EXPECT_EQ(child.code(), 0);
}

TEST_F(MountsTest, ABoundFolderIsTheSameFolder)
{
    const std::string file = m_folder.write("from/a", "text");
    const test::BindMount bound(m_folder.path("from"), at());
    EXPECT_EQ(test::read(in("a")), "text");
    EXPECT_EQ(identity(in("a")), identity(file));
}

TEST_F(MountsTest, NoLinkLeadsOutOfABoundFolder)
{
    m_folder.write("from/a", "text");
    const test::BindMount bound(m_folder.path("from"), at());
    EXPECT_NE(::link(in("a").c_str(), m_folder.path("from/b").c_str()), 0);
    EXPECT_EQ(errno, EXDEV);
}

TEST_F(MountsTest, AFolderThatIsMissingIsMade)
{
    const test::MemoryMount disk(m_folder.path("not/there/yet"), kMegabyte);
    EXPECT_TRUE(test::isMountPoint(m_folder.path("not/there/yet")));
}

TEST_F(MountsTest, FindsAPlaceWithABlankInItsName)
{
    const test::MemoryMount disk(m_folder.path("a b"), kMegabyte);
    EXPECT_TRUE(test::isMountPoint(m_folder.path("a b")));
}

TEST_F(MountsTest, ADiskInMemoryIsFullAtItsSize)
{
    const test::MemoryMount disk(at(), kMegabyte);
    EXPECT_TRUE(write(in("small"), kMegabyte / 2));
    EXPECT_FALSE(write(in("large"), kMegabyte));
    EXPECT_NE(identity(at()).second, identity(m_folder.path()).second);
}

TEST_F(MountsTest, AnOverlayShowsTheLowerFolderAndKeepsItAsItIs)
{
    m_folder.write("lower/a", "low");
    const test::OverlayMount overlay(
        at(), m_folder.path("lower"), m_folder.path("upper"), m_folder.path("work"));
    EXPECT_EQ(test::read(in("a")), "low");
    m_folder.write("at/a", "high");
    EXPECT_EQ(test::read(m_folder.path("lower/a")), "low");
    EXPECT_EQ(test::read(m_folder.path("upper/a")), "high");
}

TEST_F(MountsTest, NothingStaysMountedBehindIt)
{
    {
        const test::MemoryMount disk(at(), kMegabyte);
        EXPECT_TRUE(test::isMountPoint(at()));
    }
    EXPECT_FALSE(test::isMountPoint(at()));
}

TEST_F(MountsTest, NothingStaysMountedAfterAnException)
{
    try {
        const test::MemoryMount disk(at(), kMegabyte);
        const test::OverlayMount overlay(
            m_folder.path("over"), m_folder.path("lower-that-is-missing"), in("upper"), in("work"));
        FAIL() << "an overlay of nothing";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), testing::HasSubstr("mount overlay at"));
        EXPECT_THAT(error.what(), testing::HasSubstr("No such file"));
    }
    EXPECT_FALSE(test::isMountPoint(at()));
    EXPECT_FALSE(test::isMountPoint(m_folder.path("over")));
}

TEST_F(MountsTest, NothingStaysMountedThoughAFileIsOpen)
{
    std::ofstream open;
    {
        const test::MemoryMount disk(at(), kMegabyte);
        open.open(in("a"));
    }
    EXPECT_FALSE(test::isMountPoint(at()));
    EXPECT_TRUE(open << "text" << std::flush);
}

TEST_F(MountsTest, ADetachedPlaceShowsTheFolderBeneath)
{
    m_folder.write("at/beneath", "");
    test::MemoryMount disk(at(), kMegabyte);
    std::ofstream open(in("a"));
    disk.detach();
    EXPECT_TRUE(fs::exists(in("beneath")));
    EXPECT_TRUE(open << "text" << std::flush);
}

TEST_F(MountsTest, ADetachedPlaceTakesAnotherMount)
{
    test::MemoryMount first(at(), kMegabyte);
    first.detach();
    const test::MemoryMount second(at(), kMegabyte);
    m_folder.write("at/a", "");
    first.detach(); // once is enough
    EXPECT_TRUE(test::isMountPoint(at()));
}

TEST_F(LoopMountTest, AnImageIsAnEmptyDisk)
{
    const test::LoopMount disk(at(), image(), 8 * kMegabyte);
    EXPECT_TRUE(fs::is_empty(at()));
    EXPECT_TRUE(write(in("a"), kMegabyte));
    EXPECT_FALSE(write(in("large"), 8 * kMegabyte));
}

TEST_F(LoopMountTest, AnImageKeepsItsFiles)
{
    {
        const test::LoopMount disk(at(), image(), 8 * kMegabyte);
        m_folder.write("at/a", "text");
    }
    EXPECT_FALSE(fs::exists(in("a")));
    const test::LoopMount again(at(), image(), 0);
    EXPECT_EQ(test::read(in("a")), "text");
}

TEST_F(LoopMountTest, AnImageCanBeReadOnly)
{
    {
        const test::LoopMount disk(at(), image(), 8 * kMegabyte);
        m_folder.write("at/a", "text");
    }
    const test::LoopMount disk(at(), image(), 0, true);
    EXPECT_EQ(test::read(in("a")), "text");
    EXPECT_EQ(::open(in("b").c_str(), O_CREAT | O_WRONLY, 0600), -1);
    EXPECT_EQ(errno, EROFS);
}

TEST_F(LoopMountTest, OneImageIsTwoDevicesAtTwoPlaces)
{
    {
        const test::LoopMount disk(at(), image(), 8 * kMegabyte);
        m_folder.write("at/a", "text");
    }
    const test::LoopMount first(at(), image(), 0, true);
    const test::LoopMount second(m_folder.path("other"), image(), 0, true);
    EXPECT_EQ(identity(in("a")).first, identity(m_folder.path("other/a")).first);
    EXPECT_NE(identity(in("a")).second, identity(m_folder.path("other/a")).second);
}

TEST_F(LoopMountTest, APulledDiskFailsForOpenFilesToo)
{
    test::LoopMount disk(at(), image(), 8 * kMegabyte);
    const int file = ::open(in("a").c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
    EXPECT_EQ(::write(file, "a", 1), 1);
    disk.die();
    EXPECT_NE(::fsync(file), 0);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(::open(in("b").c_str(), O_CREAT | O_WRONLY, 0600), -1);
    EXPECT_EQ(::close(file), 0);
}

TEST_F(LoopMountTest, NoDescriptorAndNoDeviceIsLeft)
{
    const auto before = test::openDescriptors();
    {
        const test::LoopMount disk(at(), image(), 8 * kMegabyte);
    }
    EXPECT_EQ(test::openDescriptors(), before);
    for (const auto& device : fs::directory_iterator("/sys/block")) {
        const std::string backing = test::read(device.path() / "loop/backing_file");
        EXPECT_THAT(backing, testing::Not(testing::HasSubstr(image())));
    }
}
