#include "messaging/Specifier.h"

#include "core/messaging/support/MessagingFixture.h"
#include "core/messaging/support/TestRegistry.h"

#include <random>
#include <string>
#include <vector>

namespace {

using ScObjects::SoString;
using ScObjects::TevoroTalk;
using test::bytes;
using Specifier = TevoroTalk::Specifier;

Specifier specifier(const std::string& text)
{
    return {text.c_str(), false};
}

struct Parts {
    std::string text;
    std::string name;
    std::string instance;
    std::string version;
    std::string locale;
    std::string suffix;
};

void expectParts(const Specifier& read, const Parts& parts)
{
    EXPECT_EQ(bytes(read.appName()), parts.name);
    EXPECT_EQ(bytes(read.instance()), parts.instance);
    EXPECT_EQ(bytes(read.version()), parts.version);
    EXPECT_EQ(bytes(read.locale()), parts.locale);
    EXPECT_EQ(bytes(read.suffix()), parts.suffix);
}

class SpecifierOnTheBusTest : public test::MessagingFixture {
protected:
    SpecifierOnTheBusTest()
        : registry(test::TestRegistry::install())
    {
        TevoroTalk::InitTerm::init("self-1.0", true);
    }

    test::TestRegistry& registry;
};

class SpecifierWithoutBusTest : public test::MessagingFixture { };

} // namespace

TEST(SpecifierTest, ReadsANameAlone)
{
    expectParts(specifier("tevoro"), {"tevoro", "tevoro", "", "", "", ""});
}

TEST(SpecifierTest, ReadsAnInstanceBehindTheName)
{
    expectParts(specifier("tevoro_3"), {"", "tevoro", "3", "", "", ""});
}

TEST(SpecifierTest, TakesTheUnderscoreOfALocaleForNoInstance)
{
    expectParts(specifier("tevoro-en_us"), {"", "tevoro", "", "", "en_us", ""});
}

TEST(SpecifierTest, TakesADashBehindTheSuffixMarkForPartOfTheSuffix)
{
    expectParts(specifier("tevoro#a-1.0"), {"", "tevoro", "", "", "", "a-1.0"});
}

TEST(SpecifierTest, ReadsEachPartAtItsPlace)
{
    const Parts rows[] = {
        {"tevoro-4.0", "tevoro", "", "4.0", "", ""},
        {"tevoro-4.0-en_us", "tevoro", "", "4.0", "en_us", ""},
        {"tevoro_2-4.0-en_us#tag", "tevoro", "2", "4.0", "en_us", "tag"},
        {"tevoro_2#tag", "tevoro", "2", "", "", "tag"},
        {"tevoro-4.0#tag", "tevoro", "", "4.0", "", "tag"},
        {"tevoro-en_us#tag", "tevoro", "", "", "en_us", "tag"},
        {"TEVORO_A-4.0-EN_US#Tag", "tevoro", "a", "4.0", "en_us", "tag"},
        {"tevoro_2_3-1.0", "tevoro", "2_3", "1.0", "", ""},
        {"tevoro-4.0_2", "tevoro", "", "4.0_2", "", ""},
        {"tevoro#a_1", "tevoro", "", "", "", "a_1"},
        {"tevoro##", "tevoro", "", "", "", "#"},
        {"tevoro-4.0#t-en", "tevoro", "", "4.0", "", "t-en"},
        {"tevoro-en-4.0", "tevoro", "", "", "en-4.0", ""},
        {"tevoro-4.0-5.0-en", "tevoro", "", "4.0", "5.0-en", ""},
        {"tevoro-", "tevoro", "", "", "", ""},
        {"tevoro-4.0-", "tevoro", "", "4.0", "", ""},
        {"tevoro--en", "tevoro", "", "", "-en", ""},
        {"tevoro_", "tevoro", "", "", "", ""},
        {"tevoro#", "tevoro", "", "", "", ""},
        {"tevoro_-4.0", "tevoro", "", "4.0", "", ""},
        {"_3", "", "3", "", "", ""},
        {"-4.0", "", "", "4.0", "", ""},
        {"#tag", "", "", "", "", "tag"},
        {"", "", "", "", "", ""},
        {"t\xc3\xa4voro-1", "t\xc3\xa4voro", "", "1", "", ""},
    };
    for (const Parts& row : rows) {
        SCOPED_TRACE(row.text);
        expectParts(specifier(row.text), row);
    }
}

TEST(SpecifierTest, IsInLowerCase)
{
    EXPECT_EQ(bytes(specifier("TeVoRo_A-1.0-EN_US#TAG")), "tevoro_a-1.0-en_us#tag");
}

TEST(SpecifierTest, Keeps255Bytes)
{
    const std::string longest(255, 'a');
    EXPECT_EQ(bytes(specifier(longest)), longest);
}

TEST(SpecifierTest, IsEmptyFrom256Bytes)
{
    EXPECT_TRUE(specifier(std::string(256, 'a')).isEmpty());
    EXPECT_TRUE(specifier(std::string(100000, 'a')).isEmpty());
}

TEST(SpecifierTest, IsEmptyWithoutAText)
{
    EXPECT_TRUE(Specifier(nullptr, false).isEmpty());
    EXPECT_TRUE(Specifier(nullptr, true).isEmpty());
}

TEST(SpecifierTest, TakesTheTextOfAnotherByAssignment)
{
    Specifier copy = specifier("other_1-2.0");
    copy = specifier("tevoro_2-4.0#tag");
    EXPECT_EQ(bytes(copy), "tevoro_2-4.0#tag");
}

TEST(SpecifierTest, ReplacesTheNameAndKeepsTheRest)
{
    Specifier whole = specifier("tevoro_2-4.0-en_us#tag");
    EXPECT_TRUE(whole.setAppName("Other"));
    EXPECT_EQ(bytes(whole), "Other_2-4.0-en_us#tag");
}

TEST(SpecifierTest, ReplacesTheInstanceAsItIsGiven)
{
    Specifier whole = specifier("tevoro-4.0-en_us#tag");
    EXPECT_TRUE(whole.setInstance("Second"));
    EXPECT_EQ(bytes(whole), "tevoro_Second-4.0-en_us#tag");
    EXPECT_TRUE(whole.setInstance(""));
    EXPECT_EQ(bytes(whole), "tevoro-4.0-en_us#tag");
}

TEST(SpecifierTest, ReplacesTheSuffixAsItIsGiven)
{
    Specifier whole = specifier("tevoro_2");
    EXPECT_TRUE(whole.setSuffix("Thread"));
    EXPECT_EQ(bytes(whole), "tevoro_2#Thread");
    EXPECT_TRUE(whole.setSuffix(""));
    EXPECT_EQ(bytes(whole), "tevoro_2");
}

TEST(SpecifierTest, LosesWhatNoPartHoldsWhenAPartIsSet)
{
    Specifier odd = specifier("tevoro-4.0-#");
    EXPECT_TRUE(odd.setInstance(""));
    EXPECT_EQ(bytes(odd), "tevoro-4.0");
}

TEST(SpecifierTest, ReadsWhatItsPartsWereBuiltInto)
{
    std::mt19937 random(20);
    const auto maybe = [&random](const std::string& part) { return random() % 2 ? part : ""; };
    for (int i = 0; i < 200; ++i) {
        const std::string number = std::to_string(random() % 100);
        Parts parts{"",
            "app" + number,
            maybe(number),
            maybe(number + ".1"),
            maybe("l" + number),
            maybe("s" + number)};
        parts.text = parts.name;
        for (const auto& [mark, part] : {std::pair{"_", parts.instance},
                 {"-", parts.version},
                 {"-", parts.locale},
                 {"#", parts.suffix}})
            parts.text += part.empty() ? "" : mark + part;
        SCOPED_TRACE(parts.text);
        Specifier read = specifier(parts.text);
        expectParts(read, parts);
        read.setSuffix(parts.suffix.c_str());
        EXPECT_EQ(bytes(read), parts.text);
    }
}

TEST_F(SpecifierWithoutBusTest, KnowsNothingOfWhatIsInstalled)
{
    SoString version = "former";
    EXPECT_TRUE(specifier("tevoro-4.0").group(&version).isEmpty());
    EXPECT_TRUE(version.isEmpty());
    EXPECT_TRUE(specifier("tevoro-4.0").group(nullptr).isEmpty());
    EXPECT_FALSE(specifier("tevoro-4.0").isInstalled());
    EXPECT_TRUE(Specifier::getApplicationPath("tevoro-4.0").isEmpty());
    EXPECT_TRUE(specifier("tevoro-4.0").preferred("other", "group").isEmpty());
    EXPECT_EQ(TevoroTalk::getNumberOfRegisteredApplications(), 0);
    EXPECT_TRUE(TevoroTalk::getApplicationSpecifier(0).isEmpty());
}

TEST_F(SpecifierWithoutBusTest, RefusesToRegister)
{
    const Specifier tevoro = specifier("tevoro-4.0");
    EXPECT_FALSE(tevoro.registerApplication("/path", nullptr, true));
    EXPECT_FALSE(tevoro.unregisterApplication(nullptr));
    EXPECT_FALSE(tevoro.addToGroup("group", nullptr));
    EXPECT_FALSE(tevoro.removeFromGroup("group", nullptr));
}

TEST_F(SpecifierWithoutBusTest, RefusesVersionsAndLocales)
{
    Specifier tevoro = specifier("tevoro_1-4.0");
    EXPECT_FALSE(tevoro.setVersion("4.0"));
    EXPECT_FALSE(tevoro.setLocale("en_us"));
    EXPECT_EQ(bytes(tevoro), "tevoro_1-4.0");
}

TEST_F(SpecifierOnTheBusTest, IsInstalledWhereItHasAPath)
{
    registry.paths["tevoro-4.0"] = "/bin/tevoro";
    EXPECT_EQ(bytes(Specifier::getApplicationPath("tevoro-4.0")), "/bin/tevoro");
    EXPECT_TRUE(specifier("tevoro-4.0").isInstalled());
    EXPECT_FALSE(specifier("tevoro-5.0").isInstalled());
    registry.paths[""] = "/bin/nobody";
    EXPECT_FALSE(specifier("").isInstalled());
}

TEST_F(SpecifierOnTheBusTest, AsksTheRegistryForItsGroup)
{
    registry.groups["tevoro-4.0"] = {"suite", "3.0"};
    SoString version = "former";
    EXPECT_EQ(bytes(specifier("tevoro-4.0").group(&version)), "suite");
    EXPECT_EQ(bytes(version), "3.0");
    EXPECT_TRUE(specifier("tevoro-5.0").group(&version).isEmpty());
    EXPECT_TRUE(version.isEmpty());
}

TEST_F(SpecifierOnTheBusTest, HandsChangesToTheRegistry)
{
    const SoString displayName = "Tevoro";
    const SoString version = "3.0";
    const Specifier tevoro = specifier("tevoro-4.0");
    EXPECT_TRUE(tevoro.registerApplication("/path", &displayName, true));
    EXPECT_TRUE(tevoro.unregisterApplication(nullptr));
    EXPECT_TRUE(tevoro.addToGroup("suite", &version));
    EXPECT_TRUE(tevoro.removeFromGroup("suite", nullptr));
    EXPECT_THAT(registry.calls,
        testing::ElementsAre("register tevoro-4.0 /path Tevoro 1 0",
            "unregister tevoro-4.0 (null)",
            "add tevoro-4.0 suite 3.0",
            "remove tevoro-4.0 suite (null)"));
}

TEST_F(SpecifierOnTheBusTest, TellsWhenTheRegistryRefuses)
{
    registry.answer = false;
    const Specifier tevoro = specifier("tevoro-4.0");
    EXPECT_FALSE(tevoro.registerApplication("/path", nullptr, false));
    EXPECT_FALSE(tevoro.unregisterApplication(nullptr));
    EXPECT_FALSE(tevoro.addToGroup("suite", nullptr));
    EXPECT_FALSE(tevoro.removeFromGroup("suite", nullptr));
}

TEST_F(SpecifierOnTheBusTest, PrefersWhatTheGivenGroupHolds)
{
    registry.preferences["mfx-1.0 tevoro suite"] = "tevoro-4.0";
    EXPECT_EQ(bytes(specifier("mfx-1.0").preferred("tevoro", "suite")), "tevoro-4.0");
    EXPECT_EQ(bytes(specifier("mfx-1.0").preferred("other", "suite")), "other");
}

TEST_F(SpecifierOnTheBusTest, PrefersWhatItsOwnGroupHolds)
{
    registry.groups["mfx-1.0"] = {"suite", ""};
    registry.preferences["mfx-1.0 tevoro suite"] = "tevoro-4.0";
    EXPECT_EQ(bytes(specifier("mfx-1.0").preferred("tevoro", "")), "tevoro-4.0");
    EXPECT_EQ(bytes(specifier("mfx-2.0").preferred("tevoro", "")), "tevoro");
}
