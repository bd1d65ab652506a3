#include "platform/common/files/FileStatus.h"

#include "support/TestFolder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Pt {
namespace {

class FileStatusTest : public testing::Test {
protected:
    std::string path(const std::string& name) const { return m_folder.path(name); }

    FileStatus statusOf(const std::string& name)
    {
        const auto status = fileStatus(path(name), m_error);
        EXPECT_TRUE(status) << m_error.message();
        return status.value_or(FileStatus{});
    }

    test::TestFolder m_folder;
    std::error_code m_error;
};

TEST_F(FileStatusTest, TellsSizeModeAndTimesToTheNanosecond)
{
    std::ofstream(path("a")) << "12345";
    ASSERT_EQ(chmod(path("a").c_str(), 0640), 0);
    const timespec times[]{{1, 0}, {1'600'000'000, 123'456'789}};
    ASSERT_EQ(utimensat(AT_FDCWD, path("a").c_str(), times, 0), 0);
    const FileStatus status = statusOf("a");
    EXPECT_EQ(status.kind, FileStatus::Kind::kRegular);
    EXPECT_EQ(status.size, 5U);
    EXPECT_EQ(status.mode, 0640U);
    EXPECT_EQ(status.modified, 1'600'000'000'123'456'789);
    EXPECT_GT(status.changed, status.modified); // that of the call above
}

TEST_F(FileStatusTest, TellsTheOwner)
{
    std::ofstream(path("a")) << "";
    EXPECT_EQ(statusOf("a").owner, ::geteuid());
    if (::chown(path("a").c_str(), 65534, 65534) != 0)
        GTEST_SKIP() << "this user may not give a file away";
    EXPECT_EQ(statusOf("a").owner, 65534U);
}

TEST_F(FileStatusTest, TellsTimesBefore1970)
{
    std::ofstream(path("a")) << "";
    const timespec times[]{{-10, 0}, {-10, 500'000'000}};
    ASSERT_EQ(utimensat(AT_FDCWD, path("a").c_str(), times, 0), 0);
    EXPECT_EQ(statusOf("a").modified, -9'500'000'000);
}

TEST_F(FileStatusTest, FollowsNoLink)
{
    std::filesystem::create_symlink("nowhere", path("link"));
    EXPECT_EQ(statusOf("link").kind, FileStatus::Kind::kLink);
}

TEST_F(FileStatusTest, KnowsAFileByDeviceAndInode)
{
    std::ofstream(path("a")) << "x";
    std::filesystem::create_hard_link(path("a"), path("b"));
    std::ofstream(path("c")) << "x";
    EXPECT_EQ(statusOf("a"), statusOf("b"));
    EXPECT_EQ(statusOf("a").device, statusOf("c").device);
    EXPECT_NE(statusOf("a").inode, statusOf("c").inode);
}

TEST_F(FileStatusTest, TellsTheKindOfEverything)
{
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    ASSERT_EQ(mkdir(path("folder").c_str(), 0700), 0);
    EXPECT_EQ(statusOf("pipe").kind, FileStatus::Kind::kPipe);
    EXPECT_EQ(statusOf("folder").kind, FileStatus::Kind::kFolder);
    const auto null = fileStatus("/dev/null", m_error);
    ASSERT_TRUE(null);
    EXPECT_EQ(null->kind, FileStatus::Kind::kDevice);
}

TEST_F(FileStatusTest, SaysWhyThereIsNothing)
{
    EXPECT_FALSE(fileStatus(path("missing"), m_error));
    EXPECT_EQ(m_error, std::errc::no_such_file_or_directory);
    EXPECT_FALSE(fileStatus(path(std::string(300, 'x')), m_error));
    EXPECT_EQ(m_error, std::errc::filename_too_long);
    EXPECT_TRUE(fileStatus(m_folder.path(), m_error));
    EXPECT_FALSE(m_error);
}

} // namespace
} // namespace Pt
