#include "platform/common/text/AppPreferences.h"

#include "support/Environment.h"
#include "support/TestFolder.h"

#include <gtest/gtest.h>

namespace {

class AppPreferencesTest : public testing::Test {
protected:
    AppPreferencesTest() { m_environment.set("XDG_CONFIG_HOME", m_config.path()); }

    // The value of "Language" in a file of this content.
    std::optional<std::string> languageIn(const std::string& content)
    {
        m_config.write("velmo/app.ini", content);
        return Pt::appPreference("app", "Language");
    }

    test::TestFolder m_config;
    test::Environment m_environment;
};

} // namespace

TEST_F(AppPreferencesTest, ReadsBareLinesAndThoseUnderGeneral)
{
    EXPECT_EQ(languageIn("Language=de_de\n"), "de_de");
    EXPECT_EQ(languageIn("[General]\nLanguage=fr"), "fr");
    EXPECT_EQ(languageIn("[Window]\nx=1\n[General]\nLanguage=fr\n"), "fr");
    EXPECT_EQ(languageIn("[Window]\nLanguage=it\n"), std::nullopt);
}

TEST_F(AppPreferencesTest, PassesOverBlanksCommentsAndLineEnds)
{
    EXPECT_EQ(languageIn(" Language = de \t\r\n"), "de");
    EXPECT_EQ(languageIn("; Language=a\n#Language=b\n\nLanguage=c\n"), "c");
    EXPECT_EQ(languageIn("Language=a=b"), "a=b");
    EXPECT_EQ(languageIn("Language="), "");
    EXPECT_EQ(languageIn("Language\nOther=x\nlanguage=y\nLanguages=z\n"), std::nullopt);
}

TEST_F(AppPreferencesTest, TakesTheLastOfSeveralValues)
{
    EXPECT_EQ(languageIn("Language=a\nLanguage=b\n"), "b");
}

TEST_F(AppPreferencesTest, GivesNothingWithoutAFile)
{
    EXPECT_EQ(Pt::appPreference("missing", "Language"), std::nullopt);
    std::filesystem::create_directories(m_config.path("velmo/folder.ini"));
    EXPECT_EQ(Pt::appPreference("folder", "Language"), std::nullopt);
}

TEST_F(AppPreferencesTest, RefusesADomainThatIsNoFileName)
{
    m_config.write("other.ini", "Language=de\n");
    m_config.write("velmo/.ini", "Language=de\n");
    m_config.write("velmo/app.ini", "Language=de\n");
    EXPECT_EQ(Pt::appPreference("../other", "Language"), std::nullopt);
    EXPECT_EQ(Pt::appPreference("", "Language"), std::nullopt);
    EXPECT_EQ(Pt::appPreference(std::string("app.ini\0", 8), "Language"), std::nullopt);
    EXPECT_EQ(Pt::appPreference("app", "Language"), "de");
}

TEST_F(AppPreferencesTest, PassesOverAFileThatIsFarTooLarge)
{
    EXPECT_EQ(languageIn("Language=de\n" + std::string(2 * 1024 * 1024, '#')), std::nullopt);
}

TEST_F(AppPreferencesTest, UsesTheConfigurationFolderOfTheHome)
{
    m_environment.unset("XDG_CONFIG_HOME");
    m_environment.set("HOME", m_config.path());
    m_config.write(".config/velmo/app.ini", "Language=nl\n");
    EXPECT_EQ(Pt::appPreference("app", "Language"), "nl");
}
