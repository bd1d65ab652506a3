#include "support/disks/OddMountFixture.h"

#include <gmock/gmock.h>

namespace {

namespace fs = std::filesystem;

class OddPoolTest : public test::OddMountFixture { };

} // namespace

TEST_F(OddPoolTest, APoolMergesItsFolders)
{
    m_folder.write("a/both/one", "");
    m_folder.write("a/twice", "first");
    m_folder.write("b/both/two", "");
    m_folder.write("b/twice", "second");
    const auto both = pool();
    EXPECT_THAT(namesIn(at()), testing::UnorderedElementsAre("both", "twice"));
    EXPECT_THAT(namesIn(in("both")), testing::UnorderedElementsAre("one", "two"));
    EXPECT_EQ(test::read(in("twice")), "first");
}

TEST_F(OddPoolTest, APoolMakesNewFilesInTheChosenFolder)
{
    m_folder.write("a/deep/folder/old", "");
    const auto both = pool({"create=1"});
    EXPECT_EQ(create(in("deep/folder/new")), 0);
    EXPECT_TRUE(exists("b/deep/folder/new"));
    EXPECT_FALSE(exists("a/deep/folder/new"));
    EXPECT_EQ(create(in("deep/folder/old")), EEXIST);
    EXPECT_EQ(create(in("missing/new")), ENOENT);
}

TEST_F(OddPoolTest, APoolRenamesWhereTheFileIs)
{
    m_folder.write("b/from", "text");
    m_folder.write("a/folder/other", "");
    const auto both = pool();
    EXPECT_EQ(rename("from", "folder/other", RENAME_NOREPLACE), EEXIST);
    EXPECT_EQ(rename("from", "folder/to", RENAME_NOREPLACE), 0);
    EXPECT_EQ(test::read(m_folder.path("b/folder/to")), "text");
    EXPECT_FALSE(exists("a/folder/to"));
    EXPECT_EQ(look(in("from")), ENOENT);
}

TEST_F(OddPoolTest, WhatAPoolReplacesIsReplacedEverywhere)
{
    m_folder.write("a/to", "old");
    m_folder.write("b/from", "new");
    const auto both = pool();
    EXPECT_EQ(rename("from", "to"), 0);
    EXPECT_EQ(test::read(in("to")), "new");
}

TEST_F(OddPoolTest, APoolLinksWhereTheFileIs)
{
    m_folder.write("a/taken", "");
    m_folder.write("b/from", "text");
    const auto both = pool();
    EXPECT_EQ(link("from", "taken"), EEXIST);
    EXPECT_EQ(link("from", "to"), 0);
    EXPECT_EQ(test::read(m_folder.path("b/to")), "text");
}

TEST_F(OddPoolTest, APoolRemovesAFileFromAllFolders)
{
    m_folder.write("a/file", "");
    m_folder.write("b/file", "");
    const auto both = pool();
    EXPECT_EQ(done(::unlink(in("file").c_str())), 0);
    EXPECT_FALSE(exists("a/file"));
    EXPECT_FALSE(exists("b/file"));
}

TEST_F(OddPoolTest, APoolRemovesAFileFromTheFirstFolderWhereAsked)
{
    m_folder.write("a/file", "first");
    m_folder.write("b/file", "second");
    const auto both = pool({"unlink=first"});
    EXPECT_EQ(done(::unlink(in("file").c_str())), 0);
    EXPECT_EQ(test::read(in("file")), "second");
}

TEST_F(OddPoolTest, APoolRemovesAFolderThatIsEmptyEverywhere)
{
    m_folder.write("a/folder/file", "");
    fs::create_directory(m_folder.path("b/folder"));
    const auto both = pool();
    EXPECT_EQ(done(::rmdir(in("folder").c_str())), ENOTEMPTY);
    EXPECT_TRUE(exists("b/folder"));
    EXPECT_EQ(done(::unlink(in("folder/file").c_str())), 0);
    EXPECT_EQ(done(::rmdir(in("folder").c_str())), 0);
    EXPECT_FALSE(exists("b/folder"));
}
