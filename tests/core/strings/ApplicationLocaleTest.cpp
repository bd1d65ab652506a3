#include "strings/ApplicationLocale.h"

#include "platform/common/text/PtUnicode.h"
#include "support/Environment.h"
#include "support/TestFolder.h"

#include <QString>

#include <array>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

namespace {

class ApplicationLocaleTest : public testing::Test {
protected:
    ApplicationLocaleTest()
    {
        for (const char* variable : {"LC_MESSAGES", "LANG", "XDG_CONFIG_HOME"})
            m_environment.unset(variable);
        m_environment.set("HOME", m_folder.path("home"));
        m_environment.set("XDG_DATA_DIRS", m_folder.path("machine"));
        m_environment.set("LC_ALL", "C");
        std::filesystem::create_directory(m_folder.path("bin"));
        std::filesystem::current_path(m_folder.path("bin"));
    }
    ~ApplicationLocaleTest() override { std::filesystem::current_path(m_before); }

    void setSystem(const std::string& locale) { m_environment.set("LC_ALL", locale); }
    void setMachine(const std::string& bytes)
    {
        m_folder.write("machine/Velmo/VelmoDefaultLanguage.txt", bytes);
    }
    void setHost(const std::string& language)
    {
        m_folder.write("bin/mfx_common_config.xml",
            "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>Other</key><string>x</string>"
            "<key>AppPreferenceID</key><string>com.velmo.app</string></dict></plist>");
        m_folder.write("home/.config/velmo/com.velmo.app.ini", "Language=" + language + "\n");
    }
    std::string locale() const
    {
        std::array<unsigned short, 1024> buffer;
        buffer.fill(0xAAAA);
        EXPECT_EQ(getApplicationLocale(buffer.data()), 1);
        buffer.back() = 0;
        return Pt::toUtf8(buffer.data());
    }

    test::TestFolder m_folder;
    test::Environment m_environment;
    std::filesystem::path m_before = std::filesystem::current_path();
};

std::string mapped(const char* token)
{
    QString text = QString::fromUtf8(token);
    GetLocaleFromToken(text);
    return text.toStdString();
}

} // namespace

TEST_F(ApplicationLocaleTest, IsAmericanEnglishWhereNobodySaysAnything)
{
    EXPECT_EQ(locale(), "en_us");
}

TEST_F(ApplicationLocaleTest, IsTheSystemsInLowerCase)
{
    setSystem("de_DE.UTF-8");
    EXPECT_EQ(locale(), "de_de");
    setSystem("JA");
    EXPECT_EQ(locale(), "ja_jp");
    setSystem("de_AT@euro");
    EXPECT_EQ(locale(), "de_at");
}

TEST_F(ApplicationLocaleTest, CountsAllEnglishSpanishAndFrenchAsOneEach)
{
    for (const auto& [system, expected] : {std::pair{"en_GB", "en_us"},
             {"en", "en_us"},
             {"es_MX", "es_es"},
             {"fr_CA", "fr_fr"},
             {"fil_PH", "fil_ph"},
             {"et_EE", "et_ee"}}) {
        setSystem(system);
        EXPECT_EQ(locale(), expected) << system;
    }
}

TEST_F(ApplicationLocaleTest, PrefersTheMachinesDefaultToTheSystems)
{
    setSystem("de_DE");
    setMachine("  PT \r\nfr\n");
    EXPECT_EQ(locale(), "pt_br");
    setMachine("nb_NO");
    EXPECT_EQ(locale(), "no_no");
}

TEST_F(ApplicationLocaleTest, PassesOverAnEmptyDefaultOfTheMachine)
{
    setSystem("de_DE");
    for (const char* bytes : {"", "\n", "\r\nfr\n"}) {
        setMachine(bytes);
        EXPECT_EQ(locale(), "de_de");
    }
}

TEST_F(ApplicationLocaleTest, PrefersTheHostsLanguageToAllOthers)
{
    setSystem("de_DE");
    setMachine("pt");
    setHost("nl_BE");
    EXPECT_EQ(locale(), "nl_nl");
}

TEST_F(ApplicationLocaleTest, PassesOverAnEmptyLanguageOfTheHost)
{
    setMachine("pt");
    setHost("");
    EXPECT_EQ(locale(), "pt_br");
}

TEST_F(ApplicationLocaleTest, PassesOverAConfigurationThatNamesNobody)
{
    setHost("ja");
    for (const char* bytes : {"",
             "garbage",
             "<plist><dict><key>AppPreferenceID</key></dict></plist>",
             "<plist><dict><key>AppPreferenceID</key><integer>3</integer></dict></plist>",
             "<plist><dict><key>AppPreferenceID</key><string>../app</string></dict></plist>"}) {
        m_folder.write("bin/mfx_common_config.xml", bytes);
        EXPECT_EQ(locale(), "en_us") << bytes;
    }
}

TEST_F(ApplicationLocaleTest, KeepsWithinItsBuffer)
{
    setHost(std::string(5000, 'x'));
    EXPECT_EQ(locale(), std::string(1023, 'x'));
    std::filesystem::remove(m_folder.path("bin/mfx_common_config.xml"));
    setMachine(std::string(5000, 'y'));
    EXPECT_LT(locale().size(), 1024U);
}

TEST(GetLocaleFromTokenTest, MapsTheTokensOfTheTableExactly)
{
    for (const auto& [token, expected] : {std::pair{"ja", "ja_jp"},
             {"de", "de_de"},
             {"fr", "fr_fr"},
             {"es", "es_es"},
             {"it", "it_it"},
             {"sv", "sv_se"},
             {"nl", "nl_nl"},
             {"nl_be", "nl_nl"},
             {"ko", "ko_kr"},
             {"pt", "pt_br"},
             {"ar", "ar_ae"},
             {"cs", "cs_cz"},
             {"da", "da_dk"},
             {"el", "el_gr"},
             {"fi", "fi_fi"},
             {"he", "he_il"},
             {"hu", "hu_hu"},
             {"no", "no_no"},
             {"nb", "no_no"},
             {"nb_no", "no_no"},
             {"pl", "pl_pl"},
             {"ro", "ro_ro"},
             {"ru", "ru_ru"},
             {"tr", "tr_tr"},
             {"uk", "uk_ua"}})
        EXPECT_EQ(mapped(token), expected);
}

TEST(GetLocaleFromTokenTest, LeavesOtherTokensAlone)
{
    for (const char* token : {"en_gb", "en", "DE", "de_de", "pt_br", "", " de", "nn"})
        EXPECT_EQ(mapped(token), token);
}
