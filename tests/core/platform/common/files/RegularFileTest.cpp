#include "platform/common/files/RegularFile.h"

#include "support/TestFolder.h"

#include <sys/stat.h>

namespace Pt {
namespace {

class RegularFileTest : public testing::Test {
protected:
    std::error_code refusal(const std::string& path)
    {
        std::error_code error;
        EXPECT_FALSE(openRegularFile(path, error).has_value()) << path;
        return error;
    }

    const test::TestFolder m_folder;
    const std::ptrdiff_t m_before = test::openDescriptors();
};

TEST_F(RegularFileTest, OpensAFileAndTellsItsStatus)
{
    std::error_code error = std::make_error_code(std::errc::io_error);
    const auto file = openRegularFile(m_folder.write("a", "abc"), error);
    ASSERT_TRUE(file.has_value());
    EXPECT_FALSE(error);
    EXPECT_EQ(file->status.size, 3U);
    EXPECT_EQ(statusOfOpenFile(file->descriptor.get()), file->status);
}

TEST_F(RegularFileTest, FollowsALinkToAFile)
{
    std::filesystem::create_symlink(m_folder.write("a", "abc"), m_folder.path("link"));
    std::error_code error;
    EXPECT_TRUE(openRegularFile(m_folder.path("link"), error).has_value());
}

TEST_F(RegularFileTest, RefusesAFolderAPipeAndADeviceWithoutWaiting)
{
    ASSERT_EQ(::mkfifo(m_folder.path("pipe").c_str(), 0600), 0);
    for (const std::string& path :
        {m_folder.path(), m_folder.path("pipe"), std::string("/dev/zero")})
        EXPECT_EQ(refusal(path), std::errc::invalid_argument) << path;
    EXPECT_EQ(test::openDescriptors(), m_before);
}

TEST_F(RegularFileTest, SaysThatAFileIsMissing)
{
    EXPECT_EQ(refusal(m_folder.path("none")), std::errc::no_such_file_or_directory);
}

TEST_F(RegularFileTest, GivesAPathThatLeadsToTheFileAfterItsNameIsGone)
{
    std::error_code error;
    const auto file = openRegularFile(m_folder.write("a", "abc"), error);
    ASSERT_TRUE(file.has_value());
    std::filesystem::remove(m_folder.path("a"));
    EXPECT_EQ(test::read(pathOfOpenFile(file->descriptor.get())), "abc");
}

} // namespace
} // namespace Pt
