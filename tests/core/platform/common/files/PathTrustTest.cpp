#include "platform/common/files/PathTrust.h"

#include "support/OrdinaryUser.h"
#include "support/TestFolder.h"

#include <filesystem>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

using Pt::FileStatus;
using Pt::isOpenToOthers;
using Pt::openOnTheWay;
using test::kNobody;

constexpr std::uint32_t kAnn = 1000;
constexpr std::uint32_t kBob = 1001;

FileStatus statusOf(std::uint32_t owner,
    std::uint32_t group,
    std::uint32_t mode,
    FileStatus::Kind kind = FileStatus::Kind::kRegular)
{
    FileStatus status;
    status.owner = owner;
    status.group = group;
    status.mode = mode;
    status.kind = kind;
    return status;
}

TEST(PathTrustTest, AFileIsClosedWhereOnlyItsTrustedOwnerWritesIt)
{
    EXPECT_FALSE(isOpenToOthers(statusOf(kAnn, kBob, 0755), {kAnn}));
    EXPECT_FALSE(isOpenToOthers(statusOf(0, 50, 0644), {kAnn})) << "root is trusted";
    EXPECT_TRUE(isOpenToOthers(statusOf(kBob, kBob, 0600), {kAnn})) << "an owner who is not";
    EXPECT_TRUE(isOpenToOthers(statusOf(kAnn, kAnn, 0646), {kAnn}));
    EXPECT_TRUE(isOpenToOthers(statusOf(kAnn, kAnn, 01646), {kAnn})) << "no folder";
}

TEST(PathTrustTest, AGroupThatWritesIsOthersUnlessItHasTheOwnersNumber)
{
    EXPECT_TRUE(isOpenToOthers(statusOf(kAnn, kBob, 0664), {kAnn}));
    EXPECT_TRUE(isOpenToOthers(statusOf(0, kAnn, 0775), {kAnn}));
    EXPECT_FALSE(isOpenToOthers(statusOf(kAnn, kAnn, 0775), {kAnn}));
    EXPECT_FALSE(isOpenToOthers(statusOf(0, 0, 0775), {kAnn}));
}

TEST(PathTrustTest, AFolderWithTheStickyBitKeepsNamesToTheirOwners)
{
    EXPECT_FALSE(isOpenToOthers(statusOf(0, 0, 01777, FileStatus::Kind::kFolder), {kAnn}));
    EXPECT_TRUE(isOpenToOthers(statusOf(0, 0, 0777, FileStatus::Kind::kFolder), {kAnn}));
    EXPECT_TRUE(isOpenToOthers(statusOf(kBob, kBob, 01777, FileStatus::Kind::kFolder), {kAnn}));
}

TEST(PathTrustTest, OfALinkItsOwnerCountsAlone)
{
    EXPECT_FALSE(isOpenToOthers(statusOf(kAnn, kBob, 0777, FileStatus::Kind::kLink), {kAnn}));
    EXPECT_TRUE(isOpenToOthers(statusOf(kBob, kBob, 0777, FileStatus::Kind::kLink), {kAnn}));
}

class WayTest : public testing::Test {
protected:
    WayTest()
    {
        fs::create_directories(m_folder.path("a/b"));
        m_folder.write("a/b/file", "");
        fs::create_directory(m_folder.path("elsewhere"));
        m_folder.write("elsewhere/file", "");
    }
    std::string way(const std::string& name) const
    {
        return openOnTheWay(m_folder.path(name), {::geteuid()});
    }
    void setMode(const std::string& name, unsigned int mode) const
    {
        ASSERT_EQ(::chmod(m_folder.path(name).c_str(), mode), 0);
    }
    void link(const std::string& name, const std::string& target) const
    {
        fs::create_symlink(target, m_folder.path(name));
    }

    const test::TestFolder m_folder;
};

TEST_F(WayTest, IsClosedWhereEveryPartIs)
{
    EXPECT_EQ(way("a/b/file"), "");
    EXPECT_EQ(way("a/./b/../b/file"), "");
}

TEST_F(WayTest, NamesThePartThatOthersCouldExchange)
{
    for (const char* const part : {"a", "a/b", "a/b/file"}) {
        setMode(part, 0777);
        EXPECT_EQ(way("a/b/file"), m_folder.path(part));
        setMode(part, 0755);
    }
}

TEST_F(WayTest, EndsAtWhatIsMissing)
{
    EXPECT_EQ(way("a/nothing/below"), "");
    setMode("a", 0777);
    EXPECT_EQ(way("a/nothing/below"), m_folder.path("a"));
}

TEST_F(WayTest, GoesOnWhereLinksLead)
{
    link("a/first", "b/second");
    link("a/b/second", m_folder.path("elsewhere"));
    EXPECT_EQ(way("a/first/file"), "");
    setMode("elsewhere", 0777);
    EXPECT_EQ(way("a/first/file"), m_folder.path("elsewhere"));
    setMode("elsewhere", 0755);
    setMode("a/b", 0777);
    EXPECT_EQ(way("a/first/file"), m_folder.path("a/b")) << "where the second link lies";
}

TEST_F(WayTest, OfLinksInACircleNamesOne)
{
    link("a/one", "two");
    link("a/two", "one");
    EXPECT_NE(way("a/one/file"), "");
}

TEST_F(WayTest, TrustsNoLinkOfSomebodyElse)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can give files to somebody else";
    link("a/link", "b");
    ASSERT_EQ(::lchown(m_folder.path("a/link").c_str(), kNobody, kNobody), 0);
    EXPECT_EQ(way("a/link/file"), m_folder.path("a/link"));
    EXPECT_EQ(openOnTheWay(m_folder.path("a/link/file"), {kNobody}), "");
}

} // namespace
