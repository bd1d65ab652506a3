// Which application is meant, over groups that each test writes down. Nothing runs.
#include "core/messaging/support/MessagingFixture.h"
#include "core/registry/support/ListedConnector.h"
#include "messaging/Specifier.h"

namespace {

using ScObjects::SoString;
using ScObjects::TevoroTalk;
using ScObjects::TevoroTalkConnector;
using test::bytes;
using test::ListedConnector;
using Specifier = TevoroTalk::Specifier;

class ConnectorResolutionTest : public test::MessagingFixture {
protected:
    static std::vector<std::string> twoGenerations()
    {
        return {"nx/3/alpha-2.0", "nx/3/beta-1.0", "nx/4/alpha-3.0", "nx/4/beta-2.0"};
    }
    static std::vector<std::string> bothInstalled()
    {
        return {"alpha-2.0", "alpha-3.0", "beta-1.0", "beta-2.0"};
    }

    static std::string preferred(const char* from, const char* target, const char* group = "nx")
    {
        return bytes(TevoroTalkConnector::get()->findPreferredApp(from, target, group));
    }
    static std::string inGroup(const char* target, const char* group, const char* version)
    {
        return bytes(TevoroTalkConnector::get()->findSpecifierInGroup(target, group, version));
    }
    // As "GROUP VERSION".
    static std::string groupOf(const char* specifier)
    {
        SoString version = "before";
        const SoString group = TevoroTalkConnector::get()->findGroupForSpecifier(
            Specifier(specifier, false), &version);
        return bytes(group) + " " + bytes(version);
    }

    // The bus of this process, under that name, with the registry kept. It goes with the test.
    static void joinBus(const char* name)
    {
        const auto* const instance = new TevoroTalk(name, nullptr, true, nullptr);
        EXPECT_EQ(bytes(instance->getAppName()), name);
    }
};

} // namespace

TEST_F(ConnectorResolutionTest, FindsThePartnerOfTheOwnGeneration)
{
    ListedConnector::install(bothInstalled(), twoGenerations());
    EXPECT_EQ(preferred("alpha-2.0", "beta"), "beta-1.0");
    EXPECT_EQ(preferred("alpha-2.5", "beta"), "beta-1.0");
    EXPECT_EQ(preferred("alpha-3.0", "beta"), "beta-2.0");
    EXPECT_EQ(preferred("beta-1.0", "alpha"), "alpha-2.0") << "met in the other order";
    EXPECT_EQ(preferred("Alpha_3-2.0", "BETA"), "beta-1.0");
}

TEST_F(ConnectorResolutionTest, FindsTheNewestPartnerOfAnAskerWithoutAVersion)
{
    ListedConnector::install(bothInstalled(), twoGenerations());
    EXPECT_EQ(preferred("alpha", "beta"), "beta-2.0");
}

TEST_F(ConnectorResolutionTest, FallsBackToTheNewestEntryOfTheTarget)
{
    ListedConnector::install(bothInstalled(), twoGenerations());
    EXPECT_EQ(preferred("gamma-1.0", "beta"), "beta-2.0");
    EXPECT_EQ(preferred("alpha-1.0", "beta"), "beta-2.0") << "below every generation";
}

TEST_F(ConnectorResolutionTest, TakesNoPartnersOfDifferentGenerations)
{
    ListedConnector::install({"beta-0.5", "beta-1.0"},
        {"nx/2/alpha-1.0", "nx/2/beta-0.5", "nx/3/beta-1.0", "nx/4/alpha-2.0"});
    EXPECT_EQ(preferred("alpha-2.0", "beta"), "beta-0.5");
}

TEST_F(ConnectorResolutionTest, FindsAnApplicationThatAsksForItself)
{
    ListedConnector::install(bothInstalled(), twoGenerations());
    EXPECT_EQ(preferred("alpha-2.0", "alpha"), "alpha-2.0");
    EXPECT_EQ(preferred("alpha-3.0", "alpha"), "alpha-3.0");
}

TEST_F(ConnectorResolutionTest, TakesTheTargetAsGivenWithoutAnEntry)
{
    ListedConnector::install({"gamma-1.5", "gamma-1.0"}, twoGenerations());
    EXPECT_EQ(preferred("alpha-2.0", "gamma"), "gamma-1.5");
    EXPECT_EQ(preferred("alpha-2.0", "delta"), "");
    EXPECT_EQ(preferred("", "gamma"), "gamma-1.5");
    EXPECT_EQ(preferred("alpha-2.0", ""), "");
    EXPECT_EQ(preferred("alpha-2.0", "gamma", "other"), "gamma-1.5");
}

TEST_F(ConnectorResolutionTest, TakesTheTargetAsGivenWithoutGroups)
{
    ListedConnector::install({"beta-1.0"});
    EXPECT_EQ(preferred("alpha-2.0", "beta"), "beta-1.0");
    ListedConnector::install({"beta-1.0"}, twoGenerations()).isReadable = false;
    EXPECT_EQ(preferred("alpha-2.0", "beta"), "");
}

TEST_F(ConnectorResolutionTest, GivesNothingThatIsNotInstalled)
{
    ListedConnector::install({"alpha-2.0", "beta-2.0"}, twoGenerations());
    EXPECT_EQ(preferred("alpha-2.0", "beta"), "") << "that of the own generation is missing";
}

TEST_F(ConnectorResolutionTest, TakesTheHighestVersionBelowAnOpenOne)
{
    const std::vector<std::string> groups = {"nx/5/alpha-5.0", "nx/5/beta-5.*"};
    ListedConnector::install({"beta-4.0", "beta-5.1", "beta-5.5", "beta-6.0"}, groups);
    EXPECT_EQ(preferred("alpha-5.0", "beta"), "beta-5.5");
    ListedConnector::install({"beta-5.1", "beta-5.0", "beta-5.5"}, groups);
    EXPECT_EQ(preferred("alpha-5.0", "beta"), "beta-5.0") << "which the mark names itself";
}

TEST_F(ConnectorResolutionTest, KeepsAnOpenVersionBelowWhichNothingIsInstalled)
{
    ListedConnector::install({"beta-6.0"}, {"nx/5/alpha-5.0", "nx/5/beta-5.*"});
    EXPECT_EQ(preferred("alpha-5.0", "beta"), "beta-5.*");
}

TEST_F(ConnectorResolutionTest, DoesNotTakeEveryStarForAnOpenVersion)
{
    ListedConnector::install({}, {"nx/5/alpha-5.0", "nx/5/beta-5*", "nx/5/gamma-5.1"});
    EXPECT_EQ(preferred("alpha-5.0", "beta"), "");
    EXPECT_EQ(preferred("alpha-5.0", "gamma"), "");
}

TEST_F(ConnectorResolutionTest, EndsAtAMalformedEntryBehindTheGroup)
{
    for (const char* malformed : {"malformed", "a/b", "/3/beta-1.0"}) {
        std::vector<std::string> groups = twoGenerations();
        groups.emplace_back(malformed);
        ListedConnector::install({"beta-0.5", "beta-2.0", "beta-1.0"}, groups);
        EXPECT_EQ(preferred("alpha-2.0", "beta"), "beta-2.0") << "the target as given";
    }
}

TEST_F(ConnectorResolutionTest, PassesOverAMalformedEntryInsideTheGroup)
{
    ListedConnector::install(bothInstalled(),
        {"nx/3/alpha-2.0",
            "nx/3/beta-1.0",
            "malformed",
            "other/4/alpha-2.0",
            "nx/4/alpha-3.0",
            "nx/4/beta-2.0"});
    EXPECT_EQ(preferred("alpha-2.0", "beta"), "beta-1.0");
}

TEST_F(ConnectorResolutionTest, PassesOverOtherGroupsBeforeTheFirstEntry)
{
    std::vector<std::string> groups = twoGenerations();
    groups.emplace_back("other/9/beta-9.0");
    ListedConnector::install(bothInstalled(), groups);
    EXPECT_EQ(preferred("alpha-2.0", "beta"), "beta-1.0");
}

TEST_F(ConnectorResolutionTest, FindsTheGroupOfTheHighestGeneration)
{
    ListedConnector::install({"alpha-2.0"},
        {"old/2/alpha-2.0",
            "nx/4/alpha-2.0",
            "nx/3/alpha-2.0",
            "same/4/beta-1.0",
            "later/4/beta-1.0",
            "zero/0/gamma-1.0"});
    EXPECT_EQ(groupOf("alpha-2.0"), "nx 4");
    EXPECT_EQ(groupOf("alpha"), "nx 4") << "after completion";
    EXPECT_EQ(groupOf("alpha_3-2.0-en_us#x"), "nx 4");
    EXPECT_EQ(groupOf("beta"), "later 4") << "1.0 without a version, and the later of equal ones";
    EXPECT_EQ(groupOf("gamma-1.0"), " ") << "generation 0";
    EXPECT_EQ(groupOf("beta-1"), " ") << "the text counts";
    EXPECT_EQ(groupOf(""), " ");
}

TEST_F(ConnectorResolutionTest, ReadsGenerationsAsNumbersOfAnyForm)
{
    ListedConnector::install(bothInstalled(),
        {"other/nano/alpha-2.0",
            "nx/3/alpha-2.0",
            "hex/0x10/beta-1.0",
            "nx/3/beta-1.0",
            "nx/1e999/beta-2.0",
            "nx/3/beta-2.0",
            "none/nan/alpha-3.0"});
    EXPECT_EQ(groupOf("alpha-2.0"), "nx 3") << "what is no number is higher than none";
    EXPECT_EQ(groupOf("beta-1.0"), "hex 0x10");
    EXPECT_EQ(groupOf("beta-2.0"), "nx 1e999");
    EXPECT_EQ(groupOf("alpha-3.0"), " ");
}

TEST_F(ConnectorResolutionTest, FindsNoGroupWithoutEntries)
{
    ListedConnector::install({"alpha-2.0"});
    EXPECT_EQ(groupOf("alpha-2.0"), " ");
    EXPECT_EQ(
        TevoroTalkConnector::get()->findGroupForSpecifier(Specifier("alpha-2.0", false), nullptr),
        "");
}

TEST_F(ConnectorResolutionTest, FindsTheEntryOfOneGeneration)
{
    ListedConnector::install(bothInstalled(), twoGenerations());
    EXPECT_EQ(inGroup("beta", "nx", "3"), "beta-1.0");
    EXPECT_EQ(inGroup("beta", "nx", "4"), "beta-2.0");
    EXPECT_EQ(inGroup("beta", "nx", "5"), "beta-2.0") << "the target, as it is installed";
    EXPECT_EQ(inGroup("beta", "other", "3"), "beta-2.0");
    EXPECT_EQ(inGroup("beta-1.0", "nx", "4"), "beta-1.0") << "no bare name";
}

TEST_F(ConnectorResolutionTest, TakesTheTargetForAnEntryThatIsNotInstalled)
{
    ListedConnector::install({"beta-7.0"}, twoGenerations());
    EXPECT_EQ(inGroup("beta", "nx", "3"), "beta-7.0");
    EXPECT_EQ(inGroup("gamma", "nx", "3"), "");
    ListedConnector::install({"beta-7.0"});
    EXPECT_EQ(inGroup("beta", "nx", "3"), "beta-7.0");
}

TEST_F(ConnectorResolutionTest, PrefersNothingBeforeTheBusRuns)
{
    ListedConnector::install(bothInstalled(), twoGenerations());
    EXPECT_EQ(bytes(Specifier("alpha-2.0", false).preferred("beta", "")), "");
    EXPECT_EQ(bytes(Specifier("beta", true)), "beta-2.0") << "the highest version";
}

TEST_F(ConnectorResolutionTest, CompletesANameWithTheOwnGeneration)
{
    ListedConnector::install(bothInstalled(), twoGenerations());
    joinBus("alpha-2.0");
    EXPECT_EQ(bytes(Specifier("beta", true)), "beta-1.0");
    EXPECT_EQ(bytes(Specifier("beta_3#x", true)), "beta_3-1.0#x");
    EXPECT_EQ(bytes(Specifier("beta-2.0", true)), "beta-2.0");
    EXPECT_EQ(bytes(Specifier("alpha-2.0", false).preferred("beta", "")), "beta-1.0");
    EXPECT_EQ(bytes(Specifier("alpha-3.0", false).preferred("beta", "")), "beta-2.0");
    EXPECT_EQ(bytes(Specifier("alpha-3.0", false).preferred("beta", "other")), "beta-2.0");
    EXPECT_EQ(bytes(Specifier("gamma-3.0", false).preferred("gone", "")), "gone");
    SoString version;
    EXPECT_EQ(bytes(Specifier("alpha-3.0", false).group(&version)), "nx");
    EXPECT_EQ(bytes(version), "4");
}

TEST_F(ConnectorResolutionTest, EndsWhenTheAskerIsCompletedByItsOwnPreference)
{
    ListedConnector::install({"alpha", "beta-1.0"}, {"nx/3/alpha-1.0", "nx/3/beta-1.0"});
    joinBus("alpha");
    EXPECT_EQ(bytes(Specifier("beta", true)), "beta-1.0");
}

TEST_F(ConnectorResolutionTest, EndsWhenOpenVersionsLeadToEachOther)
{
    ListedConnector::install(
        {"alpha-1.0", "beta", "gamma"}, {"nx/3/alpha-1.0", "nx/3/beta-5.*", "nx/3/gamma-5.*"});
    joinBus("alpha-1.0");
    EXPECT_EQ(bytes(Specifier("beta", true)), "beta-5.*");
}
