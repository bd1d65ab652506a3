#include "registry/TrustedFile.h"

#include "support/TestFolder.h"

#include <filesystem>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using ScObjects::isTrusted;
using ScObjects::isTrustedWay;

class TrustedFileTest : public testing::Test {
protected:
    const test::TestFolder m_folder;
    const std::string m_program = m_folder.write("program", "");
    const std::string m_file = m_folder.write("file", "");
};

TEST_F(TrustedFileTest, IsOnesOwnThatOthersCannotWrite)
{
    EXPECT_TRUE(isTrusted(m_file, m_program));
    ASSERT_EQ(::chmod(m_file.c_str(), 0646), 0);
    EXPECT_FALSE(isTrusted(m_file, m_program));
}

TEST_F(TrustedFileTest, IsNoFileOfAnotherGroupThatMayWriteIt)
{
    constexpr gid_t kAGroup = 1000;
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can give files to another group";
    ASSERT_EQ(::chown(m_file.c_str(), 0, kAGroup), 0);
    ASSERT_EQ(::chmod(m_file.c_str(), 0775), 0);
    EXPECT_FALSE(isTrusted(m_file, m_program));
    EXPECT_FALSE(isTrustedWay(m_file, m_program));
}

TEST_F(TrustedFileTest, TheWayIsNotTrustedBelowAFolderThatOthersMayWrite)
{
    std::filesystem::create_directory(m_folder.path("open"));
    const std::string below = m_folder.write("open/file", "");
    EXPECT_TRUE(isTrustedWay(below, m_program));
    ASSERT_EQ(::chmod(m_folder.path("open").c_str(), 0777), 0);
    EXPECT_FALSE(isTrustedWay(below, m_program));
    EXPECT_TRUE(isTrusted(below, m_program)) << "which looks at the file alone";
}

TEST_F(TrustedFileTest, IsNotWhereNothingIs)
{
    EXPECT_FALSE(isTrustedWay(m_folder.path("nothing"), m_program));
    EXPECT_FALSE(isTrustedWay("file", m_program)) << "no whole path";
    EXPECT_FALSE(isTrusted(m_folder.path("nothing"), m_program));
}

TEST_F(TrustedFileTest, BelongsToNobodyButRootThisUserAndWhoeverOwnsTheProgram)
{
    constexpr uid_t kSomebody = 65534;
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can give files to somebody else";
    ASSERT_EQ(::chown(m_file.c_str(), kSomebody, kSomebody), 0);
    EXPECT_FALSE(isTrusted(m_file, m_program));
    ASSERT_EQ(::chown(m_program.c_str(), kSomebody, kSomebody), 0);
    EXPECT_TRUE(isTrusted(m_file, m_program));
    // A link is looked at itself.
    const std::string link = m_folder.path("link");
    std::filesystem::create_symlink(m_file, link);
    ASSERT_EQ(::chown(m_program.c_str(), 0, 0), 0);
    EXPECT_TRUE(isTrusted(link, m_program));
    ASSERT_EQ(::lchown(link.c_str(), kSomebody, kSomebody), 0);
    EXPECT_FALSE(isTrusted(link, m_program));
}

} // namespace
