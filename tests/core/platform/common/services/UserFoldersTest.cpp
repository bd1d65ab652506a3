#include "platform/common/services/UserFolders.h"

#include "support/Environment.h"
#include "support/TestFolder.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// A user with a home folder and nothing else set.
class UserFoldersTest : public testing::Test {
protected:
    UserFoldersTest()
    {
        m_environment.set("HOME", m_home.path());
        for (const char* const each : {"XDG_CACHE_HOME",
                 "XDG_CONFIG_HOME",
                 "XDG_DATA_HOME",
                 "XDG_DATA_DIRS",
                 "XDG_RUNTIME_DIR",
                 "MFX_APPLICATION_DATA",
                 "MFX_USER_DATA"})
            m_environment.unset(each);
    }

    // What picturesFolder() makes of the user's list of folders.
    std::string picturesFor(const std::string& list)
    {
        m_home.write(".config/user-dirs.dirs", list);
        return Pt::picturesFolder();
    }

    test::TestFolder m_home;
    test::Environment m_environment;
};

} // namespace

TEST_F(UserFoldersTest, LiesInTheHomeFolderWhereNothingElseIsSet)
{
    EXPECT_EQ(Pt::homeFolder(), m_home.path());
    EXPECT_EQ(Pt::picturesFolder(), m_home.path("Pictures"));
    EXPECT_EQ(Pt::userApplicationData(), m_home.path(".local/share"));
    EXPECT_EQ(Pt::userConfigFolder(), m_home.path(".config"));
    EXPECT_EQ(Pt::userCacheFolder(), m_home.path(".cache"));
    EXPECT_EQ(Pt::userStateFolder(), m_home.path(".local/state"));
}

TEST_F(UserFoldersTest, TakesThePicturesFolderOfTheUsersList)
{
    const std::string fallback = m_home.path("Pictures");
    EXPECT_EQ(picturesFor("XDG_PICTURES_DIR=\"$HOME/Bilder\"\n"), m_home.path("Bilder"));
    EXPECT_EQ(picturesFor("# XDG\r\n  XDG_PICTURES_DIR=\"/data/Photos/\"\r\n"), "/data/Photos");
    EXPECT_EQ(picturesFor("XDG_PICTURES_DIR=\"$HOME\""), m_home.path());
    EXPECT_EQ(picturesFor("XDG_PICTURES_DIR=\"/a \\\"b\\\" c\""), "/a \"b\" c");
    EXPECT_EQ(picturesFor("XDG_PICTURES_DIR=\"/a\"\nXDG_PICTURES_DIR=\"/b\"\n"), "/b");
    EXPECT_EQ(picturesFor("#XDG_PICTURES_DIR=\"/a\"\nXDG_MUSIC_DIR=\"/m\"\n"), fallback);
    EXPECT_EQ(picturesFor(""), fallback);
}

TEST_F(UserFoldersTest, PassesOverPicturesFoldersThatAreNone)
{
    const std::string fallback = m_home.path("Pictures");
    for (const char* const value :
        {"\"Bilder\"", "\"\"", "", "/unquoted", "\"/open", "\"$HOMEx\"", "\"$XDG/x\"", "\"\\"})
        EXPECT_EQ(picturesFor(std::string("XDG_PICTURES_DIR=") + value + "\n"), fallback) << value;
    EXPECT_EQ(picturesFor("XDG_PICTURES_DIR"), fallback);
    EXPECT_EQ(picturesFor("XDG_PICTURES_DIRS=\"/a\""), fallback);
}

TEST_F(UserFoldersTest, LooksForTheListInTheConfigurationFolder)
{
    m_environment.set("XDG_CONFIG_HOME", m_home.path("conf"));
    m_home.write("conf/user-dirs.dirs", "XDG_PICTURES_DIR=\"/there\"\n");
    EXPECT_EQ(Pt::picturesFolder(), "/there");
}

TEST_F(UserFoldersTest, TakesTheListOnlyFromAFile)
{
    fs::create_directories(m_home.path(".config/user-dirs.dirs"));
    EXPECT_EQ(Pt::picturesFolder(), m_home.path("Pictures"));
}

TEST_F(UserFoldersTest, PrefersItsOwnVariableForApplicationData)
{
    m_environment.set("XDG_DATA_HOME", "/xdg/");
    EXPECT_EQ(Pt::userApplicationData(), "/xdg");
    m_environment.set("MFX_APPLICATION_DATA", "/session");
    EXPECT_EQ(Pt::userApplicationData(), "/session");
}

TEST_F(UserFoldersTest, KeepsWhatLastsApartFromASession)
{
    EXPECT_EQ(Pt::lastingApplicationData(), m_home.path(".local/share"));
    m_environment.set("MFX_APPLICATION_DATA", "/session");
    EXPECT_EQ(Pt::lastingApplicationData(), "/session");
    m_environment.set("MFX_USER_DATA", "/lasting");
    EXPECT_EQ(Pt::lastingApplicationData(), "/lasting");
    EXPECT_EQ(Pt::userApplicationData(), "/session");
    m_environment.set("MFX_USER_DATA", "relative");
    EXPECT_EQ(Pt::lastingApplicationData(), "/session");
}

TEST_F(UserFoldersTest, TakesTheCacheFolderOfTheEnvironment)
{
    m_environment.set("XDG_CACHE_HOME", "/cache/");
    EXPECT_EQ(Pt::userCacheFolder(), "/cache");
}

TEST_F(UserFoldersTest, TakesTheStateFolderOfTheEnvironment)
{
    m_environment.set("XDG_STATE_HOME", "/state/");
    EXPECT_EQ(Pt::userStateFolder(), "/state");
}

TEST_F(UserFoldersTest, TakesARelativeFolderForUnset)
{
    for (const char* const value : {"", "relative", "./here", "~/x"}) {
        m_environment.set("XDG_DATA_HOME", value);
        m_environment.set("MFX_APPLICATION_DATA", value);
        m_environment.set("XDG_CONFIG_HOME", value);
        m_environment.set("XDG_CACHE_HOME", value);
        EXPECT_EQ(Pt::userApplicationData(), m_home.path(".local/share")) << value;
        EXPECT_EQ(Pt::userConfigFolder(), m_home.path(".config")) << value;
        EXPECT_EQ(Pt::userCacheFolder(), m_home.path(".cache")) << value;
    }
}

TEST_F(UserFoldersTest, AsksTheAccountWhereHomeIsNotSet)
{
    m_environment.unset("HOME");
    const std::string home = Pt::homeFolder();
    EXPECT_NE(home, m_home.path());
    EXPECT_TRUE(home.empty() || home.front() == '/');
    EXPECT_EQ(Pt::userConfigFolder().empty(), home.empty());
    m_environment.set("HOME", "relative");
    EXPECT_EQ(Pt::homeFolder(), home);
}

TEST_F(UserFoldersTest, GivesTheFirstMachineFolderThatHoldsTheFile)
{
    m_home.write("two/Velmo/file", "x");
    m_home.write("three/Velmo/file", "x");
    m_environment.set("XDG_DATA_DIRS",
        "relative::" + m_home.path("one") + ":" + m_home.path("two") + "/:" + m_home.path("three"));
    EXPECT_EQ(Pt::machineApplicationDataFile("Velmo/file"), m_home.path("two/Velmo/file"));
    EXPECT_EQ(Pt::machineApplicationDataFile("Velmo/other"), std::nullopt);
    EXPECT_EQ(Pt::machineApplicationDataFile("Velmo"), std::nullopt);
}

TEST_F(UserFoldersTest, DoesNotLookForMachineFilesBelowTheWorkingFolder)
{
    m_home.write("relative/Velmo/file", "x");
    const fs::path before = fs::current_path();
    fs::current_path(m_home.path());
    m_environment.set("XDG_DATA_DIRS", "relative:./relative");
    EXPECT_EQ(Pt::machineApplicationDataFile("Velmo/file"), std::nullopt);
    fs::current_path(before);
}

TEST_F(UserFoldersTest, KnowsTheUsualMachineFolders)
{
    if (!fs::is_regular_file("/usr/share/doc/base-files/copyright")) {
        GTEST_SKIP() << "the system has no documentation of its own to find";
    }
    EXPECT_EQ(Pt::machineApplicationDataFile("doc/base-files/copyright"),
        "/usr/share/doc/base-files/copyright");
    m_environment.set("XDG_DATA_DIRS", "");
    EXPECT_TRUE(Pt::machineApplicationDataFile("doc/base-files/copyright"));
}

TEST_F(UserFoldersTest, TakesTheRuntimeFolderOfTheSession)
{
    fs::create_directory(m_home.path("run"));
    m_environment.set("XDG_RUNTIME_DIR", m_home.path("run"));
    EXPECT_EQ(Pt::runtimeFolder(), m_home.path("run"));
}

TEST_F(UserFoldersTest, PassesOverARuntimeFolderThatIsMissingOrNoFolder)
{
    const std::optional<std::string> others = Pt::runtimeFolder(); // without the variable
    m_environment.set("XDG_RUNTIME_DIR", m_home.path("run"));
    EXPECT_EQ(Pt::runtimeFolder(), others);
    m_home.write("run", "a file");
    EXPECT_EQ(Pt::runtimeFolder(), others);
}

// As root with the environment of a user, by sudo -E for example.
TEST_F(UserFoldersTest, PassesOverARuntimeFolderOfSomebodyElse)
{
    const std::optional<std::string> others = Pt::runtimeFolder();
    fs::create_directory(m_home.path("run"));
    if (::chown(m_home.path("run").c_str(), 65534, 65534) != 0)
        GTEST_SKIP() << "this user may not give a folder away";
    m_environment.set("XDG_RUNTIME_DIR", m_home.path("run"));
    EXPECT_EQ(Pt::runtimeFolder(), others);
}

TEST_F(UserFoldersTest, FallsBackToTheSystemsRuntimeFolderWhereThatIsThere)
{
    const std::string folder = "/run/user/" + std::to_string(::getuid());
    EXPECT_EQ(Pt::runtimeFolder(), fs::is_directory(folder) ? std::optional(folder) : std::nullopt);
}

TEST_F(UserFoldersTest, WhatIsNewForTheMachineGoesIntoTheFirstAbsoluteFolder)
{
    EXPECT_EQ(Pt::machineApplicationData(), "/usr/local/share");
    m_environment.set("XDG_DATA_DIRS", "relative:/first/:/second");
    EXPECT_EQ(Pt::machineApplicationData(), "/first");
    m_environment.set("XDG_DATA_DIRS", "relative");
    EXPECT_EQ(Pt::machineApplicationData(), "");
}
