#include "platform/common/files/FilePlacement.h"

#include "core/platform/support/FileFixture.h"

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

using testing::UnorderedElementsAre;

namespace {

using FilePlacementTest = test::FileFixture;

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
    EXPECT_FALSE(Pt::flushFolder(m_folder.path()));
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
    EXPECT_FALSE(Pt::tryFolder(m_folder.path()));
    EXPECT_THAT(names(), UnorderedElementsAre());
    EXPECT_EQ(Pt::tryFolder(path("none")), std::errc::no_such_file_or_directory);
}
