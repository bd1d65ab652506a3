// An installation makes the browser known to the message bus.

#include "support/Environment.h"
#include "support/ProgramOutput.h"
#include "support/TestFolder.h"

#include <gmock/gmock.h>

namespace {

class RegistrationTest : public testing::Test {
protected:
    RegistrationTest()
    {
        m_environment.set("HOME", m_folder.path("home"));
        m_environment.set("XDG_DATA_DIRS", m_folder.path("machine"));
        for (const char* const name :
            {"MFX_APPLICATION_DATA", "MFX_USER_DATA", "XDG_DATA_HOME", "DESTDIR"})
            m_environment.unset(name);
        std::filesystem::create_directory(m_folder.path("home"));
    }
    // The parts that take part in it, in the order of a whole installation.
    std::string install(const std::string& destination = {}) const
    {
        const std::string prefix = m_folder.path("usr");
        std::string said = test::outputOf({"DESTDIR=" + destination,
            CMAKE_PROGRAM,
            "--install",
            BUILD_FOLDER,
            "--component",
            "tevorotalk",
            "--prefix",
            prefix});
        for (const char* const part : {"velmo-caps", "tevoro"})
            said += test::outputOf({"DESTDIR=" + destination,
                CMAKE_PROGRAM,
                "-DCMAKE_INSTALL_PREFIX=" + prefix,
                "-P",
                std::string(BUILD_FOLDER "/apps/") + part + "/cmake_install.cmake"});
        return said;
    }
    std::string registered() const
    {
        return test::outputOf({STAGE_PROGRAMS "/velmo-caps", "list", "--json"});
    }

    test::TestFolder m_folder;

private:
    test::Environment m_environment;
};

TEST_F(RegistrationTest, TellsTheBusWhereTheBrowserWasInstalled)
{
    install();
    EXPECT_THAT(registered(), testing::HasSubstr("\"tevoro-2.0\""));
    EXPECT_THAT(registered(), testing::HasSubstr("\"" + m_folder.path("usr/bin/tevoro") + "\""));
    EXPECT_THAT(registered(), testing::HasSubstr("\"Tevoro\""));
    EXPECT_TRUE(std::filesystem::exists(m_folder.path("usr/bin/tevoro")));
}

TEST_F(RegistrationTest, LeavesItToThePackageThatIsMade)
{
    EXPECT_THAT(install(m_folder.path("package")), testing::Not(testing::HasSubstr("egister")));
    EXPECT_EQ(registered(), "");
    EXPECT_TRUE(
        std::filesystem::exists(m_folder.path("package") + m_folder.path("usr/bin/velmo-caps")));
    EXPECT_FALSE(std::filesystem::exists(m_folder.path("home/.local")));
}

// The rest of what was installed is whole, and of use.
TEST_F(RegistrationTest, EndsWithAWarningWhereTheStoreCannotBeWritten)
{
    m_folder.write("home/.local", "in the way");
    EXPECT_THAT(install(), testing::HasSubstr("tevoro-2.0 is not registered"));
    EXPECT_TRUE(std::filesystem::exists(m_folder.path("usr/bin/tevoro")));
}

} // namespace
