#include "platform/common/files/FileReplacement.h"

#include "support/TestFolder.h"

#include <csignal>
#include <thread>

#include <sys/resource.h>
#include <sys/stat.h>

namespace Pt {
namespace {

namespace fs = std::filesystem;

class FileReplacementTest : public testing::Test {
protected:
    std::string path(const std::string& name) const { return m_folder.path(name); }

    std::ptrdiff_t namesInTheFolder() const
    {
        const fs::directory_iterator names(m_folder.path());
        return std::distance(begin(names), end(names));
    }

    unsigned int modeOf(const std::string& name) const
    {
        return static_cast<unsigned int>(fs::status(path(name)).permissions());
    }

    test::TestFolder m_folder;
};

TEST_F(FileReplacementTest, MakesANewFileAsTheMaskHasIt)
{
    const mode_t mask = ::umask(027);
    EXPECT_FALSE(replaceFile(path("a"), "text"));
    ::umask(mask);
    EXPECT_EQ(test::read(path("a")), "text");
    EXPECT_EQ(modeOf("a"), 0640U);
}

TEST_F(FileReplacementTest, ReplacesAFileAndKeepsItsModeAndAllOtherNames)
{
    m_folder.write("a", "old and longer");
    m_folder.write("a.new", "somebody's");
    ASSERT_EQ(::chmod(path("a").c_str(), 0604), 0);
    EXPECT_FALSE(replaceFile(path("a"), "new"));
    EXPECT_EQ(test::read(path("a")), "new");
    EXPECT_EQ(modeOf("a"), 0604U);
    EXPECT_EQ(test::read(path("a.new")), "somebody's");
    EXPECT_EQ(namesInTheFolder(), 2);
}

TEST_F(FileReplacementTest, ReplacesWhatALinkNamesAndLeavesTheLink)
{
    m_folder.write("below/a", "old");
    fs::create_symlink("below/a", path("link"));
    EXPECT_FALSE(replaceFile(path("link"), "new"));
    EXPECT_TRUE(fs::is_symlink(path("link")));
    EXPECT_EQ(test::read(path("below/a")), "new");
}

TEST_F(FileReplacementTest, RefusesALinkToNowhere)
{
    fs::create_symlink("nowhere", path("link"));
    EXPECT_EQ(replaceFile(path("link"), "new"), std::errc::no_such_file_or_directory);
    EXPECT_TRUE(fs::is_symlink(path("link")));
}

TEST_F(FileReplacementTest, WritesIntoAPipe)
{
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    std::string received;
    std::thread reader([&] { received = test::read(path("pipe")); });
    EXPECT_FALSE(replaceFile(path("pipe"), "text"));
    reader.join();
    EXPECT_EQ(received, "text");
    EXPECT_TRUE(fs::is_fifo(path("pipe")));
}

TEST_F(FileReplacementTest, LeavesNothingBehindWhereItCannotWrite)
{
    EXPECT_EQ(replaceFile(m_folder.path(), "text"), std::errc::is_a_directory);
    EXPECT_EQ(replaceFile(path("none/a"), "text"), std::errc::no_such_file_or_directory);
    m_folder.write("file", "");
    EXPECT_EQ(replaceFile(path("file/a"), "text"), std::errc::not_a_directory);
    EXPECT_EQ(namesInTheFolder(), 1);
}

// As on a full disk: a part of the bytes is written.
TEST_F(FileReplacementTest, KeepsTheOldFileAndNoOtherWhenTheBytesDoNotFit)
{
    m_folder.write("a", "old");
    struct rlimit old = {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &old), 0);
    const struct rlimit narrow = {5, old.rlim_max};
    const auto before = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &narrow), 0);
    const std::error_code error = replaceFile(path("a"), "too long");
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &old), 0);
    std::signal(SIGXFSZ, before);
    EXPECT_EQ(error, std::errc::file_too_large);
    EXPECT_EQ(test::read(path("a")), "old");
    EXPECT_EQ(namesInTheFolder(), 1);
}

} // namespace
} // namespace Pt
