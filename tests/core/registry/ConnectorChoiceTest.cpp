// The registry that a process uses, changed while its bus runs.
#include "core/registry/support/ListedConnector.h"
#include "core/registry/support/StoreFixture.h"
#include "messaging/Message.h"
#include "messaging/Specifier.h"

namespace {

using ScObjects::TevoroTalk;
using ScObjects::TevoroTalkConnector;
using test::bytes;
using test::ListedConnector;
using Message = TevoroTalk::Message;

class ConnectorChoiceTest : public test::StoreFixture {
protected:
    static void joinBus()
    {
        const auto* const instance = new TevoroTalk("self-1.0", nullptr, true, nullptr);
        EXPECT_EQ(bytes(instance->getAppName()), "self-1.0");
    }
    static std::string nameOfCurrent()
    {
        const TevoroTalkConnector* const connector = TevoroTalkConnector::get();
        return connector != nullptr ? bytes(connector->getName()) : "(null)";
    }
    static ListedConnector& useListed(const char* name = "listed")
    {
        ListedConnector& connector = ListedConnector::install({"a-1.0"}, {"nx/3/a-1.0"});
        connector.name = name;
        return connector;
    }
    void addSelf(const char* authentication, const char* digest)
    {
        addApplication("self-1.0",
            {{"Path", "/self"},
                {"MessageAuthentication", authentication},
                {"MessageDigest", digest}});
    }
    static std::string settings()
    {
        return std::string(Message::getAuthentication() ? "1" : "0")
            + (Message::getCreateDigest() ? "1" : "0");
    }
};

} // namespace

TEST_F(ConnectorChoiceTest, KnowsNoWordsWithoutAConnector)
{
    ASSERT_EQ(nameOfCurrent(), "(null)");
    EXPECT_FALSE(TevoroTalk::useConnector("refresh"));
    EXPECT_FALSE(TevoroTalk::useConnector("removeAll"));
    EXPECT_FALSE(TevoroTalk::useConnector("other"));
}

TEST_F(ConnectorChoiceTest, UsesTheStoreByDefault)
{
    for (const char* name : {"", "default", "PCD"}) {
        useListed();
        EXPECT_TRUE(TevoroTalk::useConnector(name));
        EXPECT_EQ(nameOfCurrent(), "PCD");
        const TevoroTalkConnector* const connector = TevoroTalkConnector::get();
        EXPECT_TRUE(TevoroTalk::useConnector(name));
        EXPECT_EQ(TevoroTalkConnector::get(), connector) << "the same one";
    }
}

TEST_F(ConnectorChoiceTest, KeepsTheConnectorWhenThereIsNoOther)
{
    useListed();
    EXPECT_FALSE(TevoroTalk::useConnector("other"));
    ScObjects::pcdLibName = "nowhere.framework";
    EXPECT_FALSE(TevoroTalk::useConnector("PCD"));
    EXPECT_EQ(nameOfCurrent(), "listed");
    EXPECT_TRUE(TevoroTalk::useConnector("listed"));
}

TEST_F(ConnectorChoiceTest, RefreshesAndEmptiesTheConnector)
{
    ListedConnector& connector = useListed();
    connector.isGood();
    EXPECT_TRUE(TevoroTalk::useConnector("refresh"));
    connector.isGood();
    EXPECT_EQ(connector.timesRead, 2);
    EXPECT_TRUE(TevoroTalk::useConnector("removeAll"));
    EXPECT_EQ(connector.calls.size(), 2U);
    connector.answer = false;
    EXPECT_FALSE(TevoroTalk::useConnector("removeAll"));
}

TEST_F(ConnectorChoiceTest, TakesTheMessageSettingsOfTheNewConnector)
{
    joinBus();
    addSelf("false", "true");
    EXPECT_EQ(settings(), "11");
    ListedConnector::install({});
    EXPECT_TRUE(TevoroTalk::useConnector("PCD"));
    EXPECT_EQ(settings(), "01");
    table.domains.clear();
    addSelf("true", "false");
    ListedConnector::install({});
    EXPECT_TRUE(TevoroTalk::useConnector("PCD"));
    EXPECT_EQ(settings(), "10");
}

TEST_F(ConnectorChoiceTest, StartsTheBusWithTheMessageSettingsOfTheStore)
{
    addSelf("false", "false");
    joinBus();
    EXPECT_EQ(nameOfCurrent(), "PCD");
    EXPECT_EQ(settings(), "00");
}

TEST_F(ConnectorChoiceTest, WritesDocumentsOfThisAndOfOtherConnectors)
{
    addApplication("b-1.0", {{"Path", "/b"}});
    useListed();
    EXPECT_NE(TevoroTalk::getConnectorConfig("listed", "a-1.0"), "");
    EXPECT_EQ(TevoroTalk::getConnectorConfig("listed", "b-1.0"), "");
    EXPECT_NE(TevoroTalk::getConnectorConfig("PCD", "b-1.0"), "");
    EXPECT_EQ(TevoroTalk::getConnectorConfig("PCD", "a-1.0"), "");
    EXPECT_EQ(TevoroTalk::getConnectorConfig("other", "a-1.0"), "");
    table.failures = {{"subdomains", 5}};
    EXPECT_EQ(TevoroTalk::getConnectorConfig("PCD", "b-1.0"), "");
    EXPECT_EQ(nameOfCurrent(), "listed");
}

TEST_F(ConnectorChoiceTest, ImportsFromAnotherConnector)
{
    joinBus();
    addSelf("false", "false");
    addApplication("b-1.0", {{"Path", "/b"}});
    EXPECT_FALSE(TevoroTalk::importFromConnector("PCD")) << "from itself";
    ListedConnector& connector = useListed();
    EXPECT_TRUE(TevoroTalk::importFromConnector("PCD"));
    EXPECT_EQ(connector.getApplicationPath("b-1.0", nullptr), "/b");
    EXPECT_EQ(settings(), "00") << "the settings came with it";
    EXPECT_FALSE(TevoroTalk::importFromConnector("listed"));
    EXPECT_FALSE(TevoroTalk::importFromConnector("other"));
    EXPECT_FALSE(TevoroTalk::importFromConnector("PCD")) << "all is there already";
}

TEST_F(ConnectorChoiceTest, ImportsNothingWithoutAGoodConnector)
{
    EXPECT_FALSE(TevoroTalk::importFromConnector("PCD"));
    useListed().isReadable = false;
    EXPECT_FALSE(TevoroTalk::importFromConnector("PCD"));
}

TEST_F(ConnectorChoiceTest, FailsToImportGroupsIntoTheStore)
{
    TevoroTalkConnector::InitTerm::init("self-1.0");
    ListedConnector other({test::record("b-1.0", "/b")}, {"nx/3/b-1.0"});
    EXPECT_FALSE(TevoroTalkConnector::get()->importFrom(other));
    EXPECT_EQ(TevoroTalkConnector::get()->getApplicationPath("b-1.0", nullptr), "/b");
    other.entries.clear();
    other.records = {test::record("c-1.0", "/c"), test::record("b-1.0", "/moved")};
    other.clearCache();
    EXPECT_TRUE(TevoroTalkConnector::get()->importFrom(other)) << "b-1.0 is skipped";
}

TEST_F(ConnectorChoiceTest, UpdatesTheCache)
{
    EXPECT_FALSE(TevoroTalk::updateConnectorCache(false)) << "it was just read";
    EXPECT_EQ(nameOfCurrent(), "PCD");
    table.pcdTime = 201;
    EXPECT_TRUE(TevoroTalk::updateConnectorCache(false));
    useListed().isReadable = false;
    EXPECT_FALSE(TevoroTalk::updateConnectorCache(false));
}

TEST_F(ConnectorChoiceTest, UpdatesNothingWithoutAConnector)
{
    ScObjects::pcdLibName = "nowhere.framework";
    EXPECT_FALSE(TevoroTalk::updateConnectorCache(true));
    EXPECT_EQ(nameOfCurrent(), "(null)");
}

TEST_F(ConnectorChoiceTest, FollowsTheStoreWhileItPumps)
{
    addApplication("a-1.0", {{"Path", "/a"}});
    joinBus();
    EXPECT_TRUE(TevoroTalk::Specifier("a-1.0", false).isInstalled());
    table.domains.clear();
    addApplication("b-1.0", {{"Path", "/b"}});
    table.pcdTime = 201;
    TevoroTalk::pump(TevoroTalk::kBoth, nullptr);
    EXPECT_TRUE(TevoroTalk::Specifier("b-1.0", false).isInstalled());
    EXPECT_FALSE(TevoroTalk::Specifier("a-1.0", false).isInstalled());
}
