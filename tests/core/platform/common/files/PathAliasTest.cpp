#include "platform/common/files/PathAlias.h"

#include "support/TestFolder.h"

namespace {

namespace fs = std::filesystem;

class PathAliasTest : public testing::Test {
protected:
    std::string alias(const std::string& name, const std::string& target) const
    {
        EXPECT_FALSE(Pt::createAlias(folder.path(name), target));
        return folder.path(name);
    }

    test::TestFolder folder;
};

TEST_F(PathAliasTest, LeadsToTheFile)
{
    const std::string file = folder.write("file", "content");
    EXPECT_EQ(Pt::resolveAlias(alias("alias", file)), file);
}

TEST_F(PathAliasTest, FollowsAliasesOfAliases)
{
    const std::string file = folder.write("file", "content");
    EXPECT_EQ(Pt::resolveAlias(alias("third", alias("second", alias("first", file)))), file);
}

TEST_F(PathAliasTest, CountsARelativeTargetFromItsOwnFolder)
{
    const std::string file = folder.write("deep/file", "content");
    EXPECT_EQ(Pt::resolveAlias(alias("deep/alias", "file")), file);
}

TEST_F(PathAliasTest, LeavesAFileAsItIs)
{
    const std::string file = folder.write("file", "content");
    EXPECT_EQ(Pt::resolveAlias(file), file);
    EXPECT_EQ(Pt::resolveAlias(folder.path()), folder.path());
}

TEST_F(PathAliasTest, GivesBackWhatItCannotFollow)
{
    const std::string dangling = alias("dangling", folder.path("nowhere"));
    EXPECT_EQ(Pt::resolveAlias(dangling), dangling);
    const std::string circle = alias("a", folder.path("b"));
    alias("b", circle);
    EXPECT_EQ(Pt::resolveAlias(circle), circle);
    EXPECT_EQ(Pt::resolveAlias(folder.path("missing")), folder.path("missing"));
    EXPECT_EQ(Pt::resolveAlias(""), "");
}

// Parts of "./" keep the path the same and make it as long as wanted.
std::string lengthened(const std::string& folder, const std::string& name, std::size_t length)
{
    std::string path = folder;
    while (path.size() + 2 + name.size() + 1 <= length)
        path += "/.";
    path += path.size() + name.size() + 1 < length ? "//" : "/";
    return path + name;
}

TEST_F(PathAliasTest, FollowsPathsOfAtMost1024Bytes)
{
    const std::string file = folder.write("file", "content");
    alias("alias", file);
    const std::string longest = lengthened(folder.path(), "alias", 1024);
    ASSERT_EQ(longest.size(), 1024U);
    EXPECT_EQ(Pt::resolveAlias(longest), file);
    const std::string tooLong = lengthened(folder.path(), "alias", 1025);
    ASSERT_EQ(tooLong.size(), 1025U);
    EXPECT_EQ(Pt::resolveAlias(tooLong), tooLong);
}

TEST_F(PathAliasTest, LeadsToPathsOfAtMost1024Bytes)
{
    folder.write("file", "content");
    const std::string longest = lengthened(folder.path(), "file", 1024);
    EXPECT_EQ(Pt::resolveAlias(alias("good", longest)), longest);
    const std::string bad = alias("bad", lengthened(folder.path(), "file", 1025));
    EXPECT_EQ(Pt::resolveAlias(bad), bad);
}

TEST_F(PathAliasTest, TakesThePlaceOfAFileOrAnAlias)
{
    const std::string file = folder.write("file", "content");
    folder.write("alias", "old");
    alias("alias", folder.path("nowhere"));
    EXPECT_EQ(Pt::resolveAlias(alias("alias", file)), file);
    EXPECT_EQ(test::read(file), "content");
}

TEST_F(PathAliasTest, LeavesAFolderInItsPlace)
{
    folder.write("alias/file", "content");
    EXPECT_TRUE(Pt::createAlias(folder.path("alias"), folder.path()));
    EXPECT_EQ(test::read(folder.path("alias/file")), "content");
    EXPECT_TRUE(Pt::createAlias(folder.path("missing/alias"), folder.path()));
}

} // namespace
