#include "platform/common/files/FilePlacement.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

using testing::UnorderedElementsAre;

namespace {

class FilePlacementTest : public testing::Test {
protected:
    void SetUp() override
    {
        std::string pattern = "/tmp/file-placement-test-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        m_folder = pattern;
        m_descriptors = openDescriptors();
    }
    void TearDown() override
    {
        EXPECT_EQ(openDescriptors(), m_descriptors);
        std::filesystem::remove_all(m_folder);
    }

    std::string path(const std::string& name) const { return m_folder + "/" + name; }

    void put(const std::string& name, const std::string& bytes) const
    {
        std::ofstream(path(name), std::ios::binary) << bytes;
    }

    std::string bytes(const std::string& name) const
    {
        std::ifstream file(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::vector<std::string> names() const
    {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder))
            found.push_back(entry.path().filename().string());
        return found;
    }

    unsigned int modeOf(const std::string& name) const
    {
        struct stat status = {};
        EXPECT_EQ(::stat(path(name).c_str(), &status), 0);
        return status.st_mode & 07777U;
    }

    static std::ptrdiff_t openDescriptors()
    {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    }

    std::string m_folder;
    std::ptrdiff_t m_descriptors = 0;
};

} // namespace

TEST_F(FilePlacementTest, MovesWithoutReplacing)
{
    put("a", "1");
    put("b", "2");
    EXPECT_EQ(Pt::moveWithoutReplacing(path("a"), path("b")), std::errc::file_exists);
    EXPECT_EQ(bytes("b"), "2");
    EXPECT_FALSE(Pt::moveWithoutReplacing(path("a"), path("c")));
    EXPECT_EQ(bytes("c"), "1");
    EXPECT_EQ(Pt::moveWithoutReplacing(path("a"), path("d")), std::errc::no_such_file_or_directory);
    EXPECT_THAT(names(), UnorderedElementsAre("b", "c"));
}

TEST_F(FilePlacementTest, MakesFoldersWithTheirMode)
{
    EXPECT_FALSE(Pt::makeFolders(path("a/b//c/"), 0700));
    EXPECT_EQ(modeOf("a"), 0700U);
    EXPECT_EQ(modeOf("a/b/c"), 0700U);
    EXPECT_FALSE(Pt::makeFolders(path("a/b/c"), 0755));
    EXPECT_EQ(modeOf("a/b/c"), 0700U);
    put("file", "");
    EXPECT_EQ(Pt::makeFolders(path("file"), 0700), std::errc::file_exists);
    EXPECT_EQ(Pt::makeFolders(path("file/a"), 0700), std::errc::file_exists);
    EXPECT_TRUE(Pt::makeFolders("", 0700));
}

TEST_F(FilePlacementTest, FlushesAFolderThatIsThere)
{
    EXPECT_FALSE(Pt::flushFolder(m_folder));
    EXPECT_EQ(Pt::flushFolder(path("none")), std::errc::no_such_file_or_directory);
    put("file", "");
    EXPECT_EQ(Pt::flushFolder(path("file")), std::errc::not_a_directory);
}

TEST_F(FilePlacementTest, MakesAnEmptyFileUnderAFreeName)
{
    EXPECT_FALSE(Pt::makeEmptyFile(path("a")));
    EXPECT_EQ(bytes("a"), "");
    EXPECT_EQ(modeOf("a"), 0600U);
    put("b", "2");
    EXPECT_EQ(Pt::makeEmptyFile(path("b")), std::errc::file_exists);
    EXPECT_EQ(bytes("b"), "2");
}

TEST_F(FilePlacementTest, TellsWhyAFolderTakesNoFile)
{
    EXPECT_FALSE(Pt::tryFolder(m_folder));
    EXPECT_THAT(names(), UnorderedElementsAre());
    EXPECT_EQ(Pt::tryFolder(path("none")), std::errc::no_such_file_or_directory);
}
