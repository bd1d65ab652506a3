// Completion over a registry that each test writes down. Applications that run are processes that
// hold the ports of their names.
#include "core/messaging/support/MessagingFixture.h"
#include "core/messaging/support/TestRegistry.h"
#include "core/platform/support/PeerProcess.h"
#include "core/platform/support/PortText.h"
#include "messaging/Specifier.h"

#include <memory>
#include <string>
#include <vector>

namespace {

using ScObjects::SoString;
using ScObjects::TevoroTalk;
using test::bytes;
using test::TestRegistry;
using Specifier = TevoroTalk::Specifier;

class SpecifierCompletionTest : public test::MessagingFixture {
protected:
    // The current locale is en_us where a test says nothing else.
    static std::string completed(const std::string& text, bool usePreferred = true)
    {
        Specifier specifier(text.c_str(), false);
        specifier.fixUp(usePreferred);
        return bytes(specifier);
    }
    static std::string withVersion(const std::string& text, const std::string& version)
    {
        Specifier specifier(text.c_str(), false);
        const bool isSet = specifier.setVersion(version.c_str());
        return (isSet ? "" : "refused ") + bytes(specifier);
    }
    static std::string withLocale(const std::string& text, const std::string& locale)
    {
        Specifier specifier(text.c_str(), false);
        const bool isSet = specifier.setLocale(locale.c_str());
        return (isSet ? "" : "refused ") + bytes(specifier);
    }

    // Under the name that the registry has for this process. The instance goes with the bus.
    static void joinBus()
    {
        const auto* const instance = new TevoroTalk("self-1.0", nullptr, true, nullptr);
        EXPECT_EQ(bytes(instance->getAppName()), "self-1.0");
    }

    // A process that holds that name for the rest of the test.
    void run(const std::string& name)
    {
        const std::string port = ScObjects::gPortName + name;
        peers.push_back(std::make_unique<test::PeerProcess>(
            std::vector<std::string>{PORT_PEER, "hold", test::hexOf(port)}));
        EXPECT_EQ(peers.back()->line(), "held");
    }

    ~SpecifierCompletionTest() override
    {
        for (const auto& peer : peers)
            EXPECT_EQ(peer->finish(), 0);
        peers.clear();
    }

    std::vector<std::unique_ptr<test::PeerProcess>> peers;
};

} // namespace

TEST_F(SpecifierCompletionTest, LeavesAnEmptyTextEmpty)
{
    TestRegistry::install({"tevoro-4.0", "-5.0"});
    EXPECT_EQ(completed(""), "");
}

TEST_F(SpecifierCompletionTest, LeavesAnUnknownNameInLowerCase)
{
    TestRegistry::install({"tevoro-4.0"});
    Specifier specifier(nullptr, false);
    specifier.assign("Other_1#Tag");
    specifier.fixUp(true);
    EXPECT_EQ(bytes(specifier), "other_1#tag");
}

TEST_F(SpecifierCompletionTest, TakesTheHighestVersion)
{
    TestRegistry::install({"tevoro-3.0", "tevoro-10.0", "tevoro-4.5", "other-11.0"});
    EXPECT_EQ(completed("tevoro"), "tevoro-10.0");
    EXPECT_EQ(bytes(Specifier("TEVORO", true)), "tevoro-10.0");
}

TEST_F(SpecifierCompletionTest, ReadsVersionsInHexadecimalToo)
{
    TestRegistry::install({"tevoro-2.0", "tevoro-0x10", "tevoro-15.0"});
    EXPECT_EQ(completed("tevoro"), "tevoro-0x10");
}

TEST_F(SpecifierCompletionTest, NeverTakesAVersionFrom99On)
{
    TestRegistry::install({"tevoro-98.9", "tevoro-99.0", "tevoro-100.0"});
    EXPECT_EQ(completed("tevoro"), "tevoro-98.9");
    TestRegistry::install({"tevoro-99.0"});
    EXPECT_EQ(completed("tevoro"), "tevoro");
    EXPECT_EQ(completed("tevoro-99"), "tevoro-99.0");
}

TEST_F(SpecifierCompletionTest, TakesTheLaterOfEqualVersions)
{
    TestRegistry::install({"tevoro-4.0-fr_fr", "tevoro-4.00-de_de", "tevoro-3.0"});
    EXPECT_EQ(completed("tevoro"), "tevoro-4.00-de_de");
}

TEST_F(SpecifierCompletionTest, PrefersAnOlderVersionInTheCurrentLocale)
{
    TestRegistry::install({"tevoro-3.0-en_us", "tevoro-4.0-de_de"});
    EXPECT_EQ(completed("tevoro"), "tevoro-3.0-en_us");
    environment.set("LC_ALL", "de_DE.UTF-8");
    EXPECT_EQ(completed("tevoro"), "tevoro-4.0-de_de");
}

TEST_F(SpecifierCompletionTest, TakesNoOlderVersionInTheCurrentLocaleBehindANewerOne)
{
    TestRegistry::install({"tevoro-4.0-de_de", "tevoro-3.0-en_us"});
    EXPECT_EQ(completed("tevoro"), "tevoro-4.0-de_de");
}

TEST_F(SpecifierCompletionTest, TakesAnEntryWithoutALocaleForASecondChoiceOnly)
{
    TestRegistry::install({"tevoro-4.0-en_us", "tevoro-4.0"});
    EXPECT_EQ(completed("tevoro"), "tevoro-4.0-en_us");
}

TEST_F(SpecifierCompletionTest, TakesAnEntryWithoutAVersion)
{
    TestRegistry::install({"tevoro-de_de"});
    EXPECT_EQ(completed("tevoro"), "tevoro-de_de");
}

TEST_F(SpecifierCompletionTest, FindsAVersionByItsNumber)
{
    TestRegistry::install(
        {"tevoro-4.0-de_de", "tevoro-4.00-fr_fr", "tevoro-4.000", "tevoro-4.0-en_us"});
    EXPECT_EQ(completed("tevoro-4"), "tevoro-4.000");
    TestRegistry::install({"tevoro-4.0-de_de", "tevoro-4.0-en_us", "tevoro-4.0"});
    EXPECT_EQ(completed("tevoro-4"), "tevoro-4.0-en_us");
    TestRegistry::install({"tevoro-4.0-de_de", "tevoro-4.0-fr_fr", "tevoro-5.0"});
    EXPECT_EQ(completed("tevoro-4"), "tevoro-4.0-fr_fr");
    EXPECT_EQ(completed("tevoro-3"), "tevoro-3");
}

TEST_F(SpecifierCompletionTest, SearchesNothingForALocaleAlone)
{
    TestRegistry::install({"tevoro-4.0-fr_fr", "tevoro-5.0"});
    EXPECT_EQ(completed("tevoro-fr_fr"), "tevoro-fr_fr");
    EXPECT_EQ(completed("tevoro-4-fr_fr"), "tevoro-4-fr_fr");
    run("tevoro-5.0");
    EXPECT_EQ(completed("tevoro-fr_fr"), "tevoro-5.0");
    EXPECT_EQ(completed("tevoro-4-fr_fr"), "tevoro-4-fr_fr");
}

TEST_F(SpecifierCompletionTest, KeepsInstanceAndSuffix)
{
    TestRegistry::install({"tevoro-4.0", "other_1-2.0#a"});
    EXPECT_EQ(completed("tevoro_2#Tag"), "tevoro_2-4.0#tag");
    EXPECT_EQ(completed("tevoro_2-4#tag"), "tevoro_2-4.0#tag");
    EXPECT_EQ(completed("other"), "other_1-2.0#a");
    EXPECT_EQ(completed("other_1"), "other_1-2.0#a");
    EXPECT_EQ(completed("other_3#b"), "other_3-2.0#a#b");
}

TEST_F(SpecifierCompletionTest, TakesTheFirstThatRuns)
{
    TestRegistry::install({"tevoro-5.0", "tevoro-3.0", "tevoro-4.0", "tevoro-6.0"});
    EXPECT_EQ(completed("tevoro"), "tevoro-6.0");
    run("tevoro-4.0");
    EXPECT_EQ(completed("tevoro"), "tevoro-4.0");
    run("tevoro-3.0#thread");
    EXPECT_EQ(completed("tevoro"), "tevoro-3.0");
    EXPECT_EQ(completed("tevoro-5"), "tevoro-5.0");
    peers.back()->kill();
    peers.pop_back();
    EXPECT_EQ(completed("tevoro"), "tevoro-4.0");
}

TEST_F(SpecifierCompletionTest, AsksForTheInstanceAndTheSuffixThatRun)
{
    TestRegistry::install({"tevoro-4.0", "tevoro-5.0"});
    run("tevoro_2-4.0");
    run("tevoro-4.0#tag");
    EXPECT_EQ(completed("tevoro"), "tevoro-5.0");
    EXPECT_EQ(completed("tevoro_2"), "tevoro_2-4.0");
    EXPECT_EQ(completed("tevoro#tag"), "tevoro-4.0#tag");
    EXPECT_EQ(completed("tevoro_2#tag"), "tevoro_2-5.0#tag");
}

TEST_F(SpecifierCompletionTest, TakesAnApplicationThatIsBeingStartedForRunning)
{
    TestRegistry& registry = TestRegistry::install({"tevoro-4.0", "tevoro-5.0"});
    joinBus();
    registry.processes["tevoro-4.0"] = static_cast<std::uint32_t>(::getpid());
    EXPECT_EQ(completed("tevoro"), "tevoro-4.0");
}

TEST_F(SpecifierCompletionTest, TakesWhatTheGroupOfThisProcessPrefers)
{
    TestRegistry& registry = TestRegistry::install({"tevoro-4.0", "tevoro-5.0"});
    joinBus();
    registry.groups["self-1.0"] = {"suite", ""};
    registry.preferences["self-1.0 tevoro suite"] = "tevoro-4.0";
    EXPECT_EQ(completed("tevoro"), "tevoro-4.0");
    EXPECT_EQ(completed("tevoro_2#tag"), "tevoro_2-4.0#tag");
    EXPECT_EQ(completed("tevoro", false), "tevoro-5.0");
    EXPECT_EQ(completed("tevoro-5"), "tevoro-5.0");
    run("tevoro-5.0");
    EXPECT_EQ(completed("tevoro"), "tevoro-4.0");
}

TEST_F(SpecifierCompletionTest, GoesOnWhereThePreferenceIsTheTextItself)
{
    TestRegistry& registry = TestRegistry::install({"tevoro-4.0"});
    joinBus();
    EXPECT_EQ(completed("tevoro"), "tevoro-4.0"); // in no group
    registry.groups["self-1.0"] = {"suite", ""};
    EXPECT_EQ(completed("tevoro"), "tevoro-4.0"); // no preference in it
    registry.preferences["self-1.0 tevoro suite"] = "tevoro";
    EXPECT_EQ(completed("tevoro"), "tevoro-4.0");
}

TEST_F(SpecifierCompletionTest, HasNoPreferenceWithoutAContext)
{
    TestRegistry& registry = TestRegistry::install({"tevoro-4.0", "tevoro-5.0"});
    registry.groups["self-1.0"] = {"suite", ""};
    registry.preferences["self-1.0 tevoro suite"] = "tevoro-4.0";
    EXPECT_EQ(completed("tevoro"), "tevoro-5.0");
}

TEST_F(SpecifierCompletionTest, SetsTheEmptyVersionOnlyWhereOneReadsAsNothing)
{
    TestRegistry::install({"tevoro-3.0", "tevoro-4.0"});
    EXPECT_EQ(withVersion("tevoro_1-4.0#tag", ""), "refused tevoro_1-4.0#tag");
    TestRegistry::install({"tevoro-3.0", "tevoro-en_us"});
    EXPECT_EQ(withVersion("tevoro_1-4.0#tag", ""), "tevoro_1-en_us#tag");
    TestRegistry::install({"tevoro-3.0", "tevoro-0.0"});
    EXPECT_EQ(withVersion("tevoro_1-4.0#tag", ""), "tevoro_1-0.0#tag");
}

TEST_F(SpecifierCompletionTest, SetsTheHighestVersionUpToANegativeOne)
{
    TestRegistry::install({"tevoro-3.0", "tevoro-4.0", "tevoro-5.0"});
    EXPECT_EQ(withVersion("tevoro", "-4.0"), "tevoro-4.0");
    EXPECT_EQ(withVersion("tevoro", "-4.9"), "tevoro-4.0");
    EXPECT_EQ(withVersion("tevoro", "-500"), "tevoro-5.0");
    EXPECT_EQ(withVersion("tevoro", "-2.9"), "refused tevoro");
    TestRegistry::install({"tevoro-4.0-de_de", "tevoro-3.0-en_us", "tevoro-3.00"});
    EXPECT_EQ(withVersion("tevoro", "-4.0"), "tevoro-3.0-en_us");
    TestRegistry::install({"tevoro-3.0-en_us", "tevoro-3.00-en_us"}); // the first of equal ones
    EXPECT_EQ(withVersion("tevoro", "-4.0"), "tevoro-3.0-en_us");
}

TEST_F(SpecifierCompletionTest, SetsAPositiveVersionOnlyWhereItIsThatNumber)
{
    TestRegistry::install({"tevoro-3.0", "tevoro-4.0", "tevoro-100.0"});
    EXPECT_EQ(withVersion("tevoro_1#tag", "4"), "tevoro_1-4.0#tag");
    EXPECT_EQ(withVersion("tevoro_1#tag", "100"), "tevoro_1-100.0#tag");
    EXPECT_EQ(withVersion("tevoro_1#tag", "4.5"), "refused tevoro_1#tag");
    EXPECT_EQ(withVersion("tevoro_1#tag", "words"), "refused tevoro_1#tag");
    EXPECT_EQ(withVersion("other_1#tag", "4"), "refused other_1#tag");
}

TEST_F(SpecifierCompletionTest, ReadsAVersionWithBlanksAndASignInFront)
{
    TestRegistry::install({"tevoro-3.0", "tevoro-4.0"});
    EXPECT_EQ(withVersion("tevoro", " +4.0"), "tevoro-4.0");
    EXPECT_EQ(withVersion("tevoro", "+-4.0"), "refused tevoro");
}

TEST_F(SpecifierCompletionTest, SetsAVersionInItsOwnLocaleOrNone)
{
    TestRegistry::install({"tevoro-4.0-de_de", "tevoro-4.00"});
    EXPECT_EQ(withVersion("tevoro", "4"), "tevoro-4.00");
    EXPECT_EQ(withVersion("tevoro-de_de", "4"), "tevoro-4.0-de_de");
    EXPECT_EQ(withVersion("tevoro-fr_fr", "4"), "tevoro-4.00");
    TestRegistry::install({"tevoro-4.0-de_de"});
    EXPECT_EQ(withVersion("tevoro", "4"), "refused tevoro");
}

TEST_F(SpecifierCompletionTest, SetsALocaleThatIsRegistered)
{
    TestRegistry::install({"tevoro-4.0-de_de", "tevoro-4.0", "tevoro-5.0-fr_fr", "tevoro-de_de"});
    EXPECT_EQ(withLocale("tevoro_1-4.0#tag", "de_de"), "tevoro_1-4.0-de_de#tag");
    EXPECT_EQ(withLocale("tevoro_1-4.0-de_de#tag", "fr_fr"), "tevoro_1-4.0#tag");
    EXPECT_EQ(withLocale("tevoro_1-5.0#tag", "de_de"), "refused tevoro_1-5.0#tag");
    EXPECT_EQ(withLocale("tevoro", "de_de"), "tevoro-de_de");
    EXPECT_EQ(withLocale("tevoro-4#tag", "de_de"), "refused tevoro-4#tag"); // versions as texts
}

TEST_F(SpecifierCompletionTest, SetsTheCurrentLocaleForAnEmptyOne)
{
    TestRegistry::install({"tevoro-4.0-de_de", "tevoro-4.0-en_us"});
    EXPECT_EQ(withLocale("tevoro-4.0", ""), "tevoro-4.0-en_us");
    environment.set("LANG", "de_DE.UTF-8");
    EXPECT_EQ(withLocale("tevoro-4.0", ""), "tevoro-4.0-de_de");
}

TEST_F(SpecifierCompletionTest, PutsTheGroupWhereTheVersionStands)
{
    TestRegistry::install({"tevoro-4.0", "tevoro-5.0"});
    Specifier specifier("tevoro_1-5.0-en_us#tag", false);
    EXPECT_TRUE(specifier.setGroup("4"));
    EXPECT_EQ(bytes(specifier), "tevoro-4.0");
    EXPECT_TRUE(specifier.setGroup("Suite"));
    EXPECT_EQ(bytes(specifier), "tevoro-suite");
    EXPECT_FALSE(specifier.setGroup(std::string(300, 'g').c_str()));
    EXPECT_TRUE(specifier.isEmpty());
}
