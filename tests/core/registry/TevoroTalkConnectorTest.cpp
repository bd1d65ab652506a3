#include "registry/TevoroTalkConnector.h"

#include "core/messaging/support/MessagingFixture.h"
#include "core/platform/support/PeerProcess.h"
#include "core/platform/support/PortText.h"
#include "core/registry/support/ListedConnector.h"
#include "registry/SuiteApplications.h"

#include <memory>
#include <set>

namespace {

using ScObjects::QKConnectorAppInfo;
using ScObjects::SoString;
using ScObjects::TevoroTalk;
using ScObjects::TevoroTalkConnector;
using test::bytes;
using test::ListedConnector;
using test::record;
using testing::ElementsAre;
using testing::IsEmpty;

class TevoroTalkConnectorTest : public test::MessagingFixture {
protected:
    // As "GROUP|VERSION|SPECIFIER", behind "refused " for what is no entry.
    static std::string parsed(const char* entry)
    {
        SoString group = "before";
        SoString version = "before";
        SoString specifier = "before";
        const bool isParsed = TevoroTalkConnector::parseEntry(entry, group, version, specifier);
        return (isParsed ? "" : "refused ") + bytes(group) + "|" + bytes(version) + "|"
            + bytes(specifier);
    }

    static QKConnectorAppInfo full()
    {
        QKConnectorAppInfo info = record("full-1.0", "/opt/full");
        info.displayName = "Full";
        info.bundleIdentifier = "id";
        info.isShellTool = true;
        info.supportsQSDT = true;
        info.messageAuthentication = false;
        info.messageDigest = false;
        info.executableBasename = "base";
        info.executableExtension = "ext";
        info.omvDictionary = "dictionary";
        info.developerInstallPath = "/dev";
        info.redirectTo = "other-1.0";
        return info;
    }

    // A process that holds that name for the rest of the test.
    void run(const std::string& name)
    {
        peers.push_back(std::make_unique<test::PeerProcess>(
            std::vector<std::string>{PORT_PEER, "hold", test::hexOf(ScObjects::gPortName + name)}));
        EXPECT_EQ(peers.back()->line(), "held");
    }

    ~TevoroTalkConnectorTest() override
    {
        for (const auto& peer : peers)
            EXPECT_EQ(peer->finish(), 0);
        peers.clear();
    }

    std::vector<std::unique_ptr<test::PeerProcess>> peers;
};

} // namespace

TEST_F(TevoroTalkConnectorTest, SplitsEntriesOfGroups)
{
    EXPECT_EQ(parsed("nx/3/tevoro-2.0"), "nx|3|tevoro-2.0");
    EXPECT_EQ(parsed("a/b/c/d"), "a|b/c|d");
    EXPECT_EQ(parsed("//"), "||");
    for (const char* entry : {"", "a", "a/b", "/"})
        EXPECT_EQ(parsed(entry), "refused ||") << entry;
}

TEST_F(TevoroTalkConnectorTest, NamesSubdomains)
{
    EXPECT_EQ(
        TevoroTalkConnector::getAppSubdomainName("tevoro-2.0"), "/velmo/tevorotalk/tevoro-2.0");
    EXPECT_EQ(TevoroTalkConnector::getGroupSubdomainName("nx/3/tevoro_2-2.0-en_us"),
        "/velmo/tevorotalk/groups/nx/3/tevoro-2.0");
    EXPECT_EQ(TevoroTalkConnector::getGroupSubdomainName("NX/3/tevoro-en_us#tag"),
        "/velmo/tevorotalk/groups/nx/3/tevoro#tag");
}

TEST_F(TevoroTalkConnectorTest, NamesItsMakerWithoutReadingAnything)
{
    const ListedConnector connector;
    EXPECT_EQ(connector.getApplicationSpecifier(-1), "self-1.0");
    EXPECT_EQ(connector.timesRead, 0);
}

TEST_F(TevoroTalkConnectorTest, ListsApplicationsInTheirOrder)
{
    const ListedConnector connector({record("b-1.0", "/b"), record("a-1.0", "/a")});
    EXPECT_EQ(connector.getNumberOfRegisteredApplications(), 2);
    EXPECT_EQ(connector.getApplicationSpecifier(0), "b-1.0");
    EXPECT_EQ(connector.getApplicationSpecifier(1), "a-1.0");
    EXPECT_EQ(connector.getApplicationSpecifier(2), "");
    EXPECT_EQ(connector.getApplicationSpecifier(-2), "");
}

TEST_F(TevoroTalkConnectorTest, ReadsOnceUntilItsCachesAreCleared)
{
    ListedConnector connector({record("a-1.0", "/a")}, {"nx/3/a-1.0"});
    EXPECT_EQ(connector.getGroupsCache()->length(), 1);
    EXPECT_EQ(connector.getApplicationPath("a-1.0", nullptr), "/a");
    EXPECT_EQ(connector.timesRead, 1);
    connector.records = {record("a-1.0", "/b")};
    connector.clearCache();
    EXPECT_EQ(connector.getApplicationPath("a-1.0", nullptr), "/b");
    EXPECT_EQ(connector.timesRead, 2);
}

TEST_F(TevoroTalkConnectorTest, DoesNotTryAFailedReadAgain)
{
    ListedConnector connector({record("a-1.0", "/a")});
    connector.isReadable = false;
    EXPECT_FALSE(connector.isGood());
    EXPECT_EQ(connector.getAppInfoList(), nullptr);
    connector.isReadable = true;
    EXPECT_FALSE(connector.isGood());
    EXPECT_EQ(connector.getNumberOfRegisteredApplications(), 0);
    EXPECT_EQ(connector.timesRead, 1);
    connector.clearCache();
    EXPECT_TRUE(connector.isGood());
    EXPECT_EQ(connector.getNumberOfRegisteredApplications(), 1);
}

TEST_F(TevoroTalkConnectorTest, TellsWhatRecordsSay)
{
    ListedConnector connector({full()});
    EXPECT_TRUE(connector.isShellTool("full-1.0"));
    EXPECT_FALSE(connector.getMessageAuthentication("full-1.0"));
    EXPECT_FALSE(connector.getMessageDigest("full-1.0"));
    EXPECT_EQ(connector.getBundleIdentifier("full-1.0"), "id");
    EXPECT_EQ(connector.getExecutableBasename("full-1.0"), "base");
    EXPECT_EQ(connector.getExecutableExtension("full-1.0"), "ext");
    EXPECT_EQ(connector.getOMVDictionary("full-1.0"), "dictionary");
    EXPECT_EQ(connector.getDeveloperInstallPath("full-1.0"), "/dev");
    EXPECT_EQ(connector.getRedirectTo("full-1.0"), "other-1.0");
    EXPECT_EQ(connector.getProcessID("full-1.0"), 0U);
    EXPECT_TRUE(connector.setProcessID("full-1.0", 17));
    EXPECT_FALSE(connector.setProcessID("full_2-1.0", 18));
    EXPECT_EQ(connector.getProcessID("full_2-1.0"), 17U);
}

TEST_F(TevoroTalkConnectorTest, AnswersWithDefaultsForWhatItDoesNotKnow)
{
    ListedConnector unreadable({full()});
    unreadable.isReadable = false;
    ListedConnector readable({full()});
    for (ListedConnector* const connector : {&readable, &unreadable})
        for (const char* specifier : {"", "unknown-1.0"}) {
            EXPECT_FALSE(connector->isShellTool(specifier));
            EXPECT_TRUE(connector->getMessageAuthentication(specifier));
            EXPECT_TRUE(connector->getMessageDigest(specifier));
            EXPECT_EQ(connector->getBundleIdentifier(specifier), "");
            EXPECT_EQ(connector->getExecutableBasename(specifier), "");
            EXPECT_EQ(connector->getExecutableExtension(specifier), "");
            EXPECT_EQ(connector->getOMVDictionary(specifier), "");
            EXPECT_EQ(connector->getDeveloperInstallPath(specifier), "");
            EXPECT_EQ(connector->getRedirectTo(specifier), "");
            EXPECT_EQ(connector->getProcessID(specifier), 0U);
            EXPECT_FALSE(connector->setProcessID(specifier, 1));
            EXPECT_EQ(connector->getApplicationPath(specifier, nullptr), "");
            EXPECT_FALSE(connector->supportsQSDT(specifier));
            EXPECT_EQ(connector->getDisplayName(specifier, "", ""), "");
        }
    EXPECT_EQ(unreadable.getMessageDigest("full-1.0"), true);
    EXPECT_EQ(unreadable.getTimestamp(), 0);
    EXPECT_FALSE(unreadable.skipImport(full()));
}

TEST_F(TevoroTalkConnectorTest, HasNoDictionaryForARecordWithoutOne)
{
    const ListedConnector connector({record("a-1.0", "/a")});
    EXPECT_EQ(connector.getOMVDictionary("a-1.0"), "none");
    EXPECT_EQ(connector.getOMVDictionary("b-1.0"), "");
}

TEST_F(TevoroTalkConnectorTest, FindsThePathWhateverSuffixIsAsked)
{
    const ListedConnector connector({record("a-1.0", "/a")});
    EXPECT_EQ(connector.getApplicationPath("A-1.0#thread", nullptr), "/a");
    EXPECT_EQ(connector.getApplicationPath("a_2-1.0#x", "/hint"), "/a");
}

TEST_F(TevoroTalkConnectorTest, TakesTheFileNameForAMissingDisplayName)
{
    QKConnectorAppInfo named = record("named-1.0", "/opt/x.app");
    named.displayName = "Named";
    auto* const connector = new ListedConnector({named,
        record("typed-1.0-en_us", "/opt/Two.Dots.app"),
        record("plain-1.0", "/opt/plain"),
        record("bare-1.0", "bare.app")});
    TevoroTalkConnector::set(connector);
    EXPECT_EQ(connector->getDisplayName("named", "", ""), "Named");
    EXPECT_EQ(connector->getDisplayName("named", "1.0", ""), "Named");
    EXPECT_EQ(connector->getDisplayName("typed", "1.0", "EN_US"), "Two.Dots");
    EXPECT_EQ(connector->getDisplayName("plain", "1.0", ""), "plain");
    EXPECT_EQ(connector->getDisplayName("bare", "1.0", ""), "");
    EXPECT_EQ(connector->getDisplayName("none", "", ""), "");
    EXPECT_EQ(TevoroTalk::getDisplayName("named", "", ""), "Named");
}

TEST_F(TevoroTalkConnectorTest, CompletesTheAddressBeforeItTellsOfTheScriptTool)
{
    auto* const connector = new ListedConnector({full(), record("plain-1.0", "/plain")});
    TevoroTalkConnector::set(connector);
    EXPECT_TRUE(connector->supportsQSDT("full"));
    EXPECT_TRUE(connector->supportsQSDT("full-1.0"));
    EXPECT_FALSE(connector->supportsQSDT("plain"));
}

TEST_F(TevoroTalkConnectorTest, DoesNotSupportTheScriptToolOfAnApplicationWithoutAPlace)
{
    QKConnectorAppInfo info = full();
    info.path = "";
    auto* const connector = new ListedConnector({info});
    TevoroTalkConnector::set(connector);
    EXPECT_FALSE(connector->supportsQSDT("full-1.0"));
}

TEST_F(TevoroTalkConnectorTest, RegistersARecordAndAddsIt)
{
    ListedConnector connector;
    QKConnectorAppInfo info = record("foo-1.0", "/Applications/Foo.app");
    EXPECT_TRUE(connector.doRegisterApplication(info));
    EXPECT_THAT(connector.calls, ElementsAre("record foo-1.0 /Applications/Foo.app /Foo"));
    EXPECT_EQ(connector.getDisplayName("foo", "1.0", ""), "/Foo");
    EXPECT_EQ(connector.timesRead, 1);
}

TEST_F(TevoroTalkConnectorTest, NamesARegisteredRecordAfterItsPath)
{
    ListedConnector connector;
    QKConnectorAppInfo plain = record("plain-1.0", "/opt.d/plain");
    QKConnectorAppInfo bare = record("bare-1.0", "bare.app");
    EXPECT_TRUE(connector.doRegisterApplication(plain));
    EXPECT_TRUE(connector.doRegisterApplication(bare));
    EXPECT_THAT(connector.calls,
        ElementsAre("record plain-1.0 /opt.d/plain /plain", "record bare-1.0 bare.app "));
}

TEST_F(TevoroTalkConnectorTest, RegistersNothingTwiceOrIncomplete)
{
    ListedConnector connector({record("a-1.0", "/a")});
    QKConnectorAppInfo same = record("a-1.0", "/a");
    same.displayName = "other";
    QKConnectorAppInfo nameless = record("", "/b");
    QKConnectorAppInfo placeless = record("b-1.0", "");
    EXPECT_FALSE(connector.doRegisterApplication(same));
    EXPECT_FALSE(connector.doRegisterApplication(nameless));
    EXPECT_FALSE(connector.doRegisterApplication(placeless));
    EXPECT_THAT(connector.calls, IsEmpty());
    EXPECT_EQ(connector.getNumberOfRegisteredApplications(), 1);
}

TEST_F(TevoroTalkConnectorTest, UnregistersTheRecordOfAnotherPlaceFirst)
{
    QKConnectorAppInfo former = record("a-1.0", "/a");
    former.displayName = "A";
    ListedConnector connector({former});
    QKConnectorAppInfo moved = record("a-1.0", "/moved");
    EXPECT_TRUE(connector.doRegisterApplication(moved));
    EXPECT_THAT(connector.calls, ElementsAre("unregister a-1.0 A", "record a-1.0 /moved /moved"));
    connector.calls.clear();
    connector.answer = false;
    QKConnectorAppInfo again = record("a-1.0", "/again");
    EXPECT_FALSE(connector.doRegisterApplication(again));
    EXPECT_THAT(connector.calls, ElementsAre("unregister a-1.0 A"));
}

TEST_F(TevoroTalkConnectorTest, AddsNothingThatASubclassRefuses)
{
    ListedConnector connector;
    connector.answer = false;
    QKConnectorAppInfo info = record("a-1.0", "/a");
    EXPECT_FALSE(connector.doRegisterApplication(info));
    EXPECT_EQ(connector.getNumberOfRegisteredApplications(), 0);
    connector.answer = true;
    connector.isReadable = false;
    connector.clearCache();
    EXPECT_FALSE(connector.doRegisterApplication(info));
}

TEST_F(TevoroTalkConnectorTest, RefusesRegistrationBySpecifier)
{
    // As the base class has it.
    class Refusing final : public ListedConnector {
    public:
        bool ask()
        {
            const Specifier specifier("a-1.0", false);
            return TevoroTalkConnector::registerApplication(specifier, "/a", nullptr, true, true)
                || TevoroTalkConnector::unregisterApplication(specifier, nullptr);
        }
    } connector;
    EXPECT_FALSE(connector.ask());
}

TEST_F(TevoroTalkConnectorTest, RemovesAllFromTheLastRecordToTheFirst)
{
    ListedConnector connector(
        {record("a-1.0", "/a"), record("b-1.0", "/b")}, {"nx/3/a-1.0", "nx//b-1.0"});
    EXPECT_TRUE(connector.removeAll());
    EXPECT_THAT(connector.calls,
        ElementsAre("unregister b-1.0 ",
            "unregister a-1.0 ",
            "remove a-1.0 nx 3",
            "remove b-1.0 nx (null)"));
    connector.isGood();
    EXPECT_EQ(connector.timesRead, 2) << "the caches were not cleared";
}

TEST_F(TevoroTalkConnectorTest, GoesOnRemovingWhenSomethingFails)
{
    ListedConnector connector({record("a-1.0", "/a")}, {"malformed", "nx/3/a-1.0"});
    EXPECT_FALSE(connector.removeAll());
    EXPECT_THAT(connector.calls, ElementsAre("unregister a-1.0 ", "remove a-1.0 nx 3"));
    ListedConnector refusing({record("a-1.0", "/a")});
    refusing.answer = false;
    EXPECT_FALSE(refusing.removeAll());
    ListedConnector unreadable;
    unreadable.isReadable = false;
    EXPECT_FALSE(unreadable.removeAll());
}

TEST_F(TevoroTalkConnectorTest, StartsOverWhenItIsUpdated)
{
    ListedConnector connector({record("a-1.0", "/a")});
    EXPECT_TRUE(connector.updateCache(false));
    EXPECT_THAT(connector.calls, ElementsAre("unregister a-1.0 "));
    EXPECT_EQ(connector.timesRead, 2);
    EXPECT_FALSE(connector.updateCache(true)) << "nothing runs";
    connector.isReadable = false;
    EXPECT_FALSE(connector.updateCache(false));
}

TEST_F(TevoroTalkConnectorTest, RegistersWhatRunsWithoutBeingInstalled)
{
    ScObjects::InterAppStream::InitTerm::init("self-1.0");
    ListedConnector& connector = ListedConnector::install({"mfx-2.0"});
    EXPECT_FALSE(connector.registerRunningApps());
    run("tevoro-2.0");
    run("mfx-2.0");
    connector.answer = false;
    EXPECT_TRUE(connector.registerRunningApps()) << "whatever the registration says";
    EXPECT_TRUE(connector.updateCache(true));
    EXPECT_THAT(connector.calls,
        ElementsAre("register tevoro-2.0 (running) (null) 0 1",
            "unregister mfx-2.0 ",
            "register tevoro-2.0 (running) (null) 0 1"));
}

TEST_F(TevoroTalkConnectorTest, LooksForRunningApplicationsInTheCurrentLocale)
{
    ScObjects::InterAppStream::InitTerm::init("self-1.0");
    ListedConnector& connector = ListedConnector::install({});
    environment.set("LC_ALL", "de_DE.UTF-8");
    run("tevoro-2.0-de_de");
    EXPECT_TRUE(connector.registerRunningApps());
    EXPECT_THAT(connector.calls, ElementsAre("register tevoro-2.0-de_de (running) (null) 0 1"));
}

TEST_F(TevoroTalkConnectorTest, KnowsTwentyTwoRowsAndElevenEntriesOfTheSuite)
{
    std::set<std::string> rows;
    for (const char* const row : ScObjects::TevoroTalkData::kSuiteSpecifiers)
        EXPECT_TRUE(rows.insert(row).second) << row;
    EXPECT_EQ(rows.size(), 22U);
    std::set<std::string> entries;
    for (const char* const entry : ScObjects::TevoroTalkData::kSuiteGroupEntries)
        EXPECT_TRUE(entries.insert(entry).second && rows.count(entry) == 1) << entry;
    EXPECT_EQ(entries.size(), 11U);
    EXPECT_EQ(*ScObjects::TevoroTalkData::kWebDomainSuffix, '.');
}
