#include "platform/common/text/SystemLocale.h"

#include "support/Environment.h"

#include <gtest/gtest.h>

namespace {

class SystemLocaleTest : public testing::Test {
protected:
    SystemLocaleTest()
    {
        for (const char* const each : {"LC_ALL", "LC_MESSAGES", "LANG"})
            m_environment.unset(each);
    }

    std::optional<std::string> localeFor(const std::string& lang)
    {
        m_environment.set("LANG", lang);
        return Pt::systemLocale();
    }

    test::Environment m_environment;
};

} // namespace

TEST_F(SystemLocaleTest, IsNothingWhenNothingIsSet)
{
    EXPECT_EQ(Pt::systemLocale(), std::nullopt);
}

TEST_F(SystemLocaleTest, TakesTheFirstVariableThatIsSetAndNotEmpty)
{
    EXPECT_EQ(localeFor("it_IT"), "it_IT");
    m_environment.set("LC_MESSAGES", "fr_FR");
    EXPECT_EQ(Pt::systemLocale(), "fr_FR");
    m_environment.set("LC_ALL", "");
    EXPECT_EQ(Pt::systemLocale(), "fr_FR");
    m_environment.set("LC_ALL", "de_DE");
    EXPECT_EQ(Pt::systemLocale(), "de_DE");
}

TEST_F(SystemLocaleTest, CutsCodesetAndModifier)
{
    EXPECT_EQ(localeFor("de_AT.UTF-8"), "de_AT");
    EXPECT_EQ(localeFor("de_AT@euro"), "de_AT");
    EXPECT_EQ(localeFor("sr_RS.UTF-8@latin"), "sr_RS");
    EXPECT_EQ(localeFor("ja"), "ja");
}

TEST_F(SystemLocaleTest, HasNoNameForTheSystemsPlainLocale)
{
    for (const char* const value : {"C", "POSIX", "C.UTF-8", "C@x", ".UTF-8", "@euro"})
        EXPECT_EQ(localeFor(value), std::nullopt) << value;
    m_environment.set("LC_ALL", "C");
    EXPECT_EQ(localeFor("de_DE"), std::nullopt);
}

TEST_F(SystemLocaleTest, RefusesWhatCouldLeadOutOfAFolder)
{
    for (const char* const value : {"../etc", "/etc", "de/..", "d\xC3\xA9", "de DE", "de\n"})
        EXPECT_EQ(localeFor(value), std::nullopt) << value;
}
