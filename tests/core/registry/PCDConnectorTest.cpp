#include "registry/PCDConnector.h"

#include "core/registry/support/StoreFixture.h"
#include "registry/QKConnectorAppInfo.h"

namespace {

using ScObjects::PCDConnector;
using ScObjects::QKConnectorAppInfo;
using ScObjects::TevoroTalk;
using ScObjects::TevoroTalkConnector;
using test::bytes;
using DomainKey = PCDConnector::DomainKey;
using Specifier = TevoroTalk::Specifier;

class PCDConnectorTest : public test::StoreFixture {
protected:
    static std::string nameOf(bool master, int key)
    {
        return bytes(PCDConnector("self-1.0", master, static_cast<DomainKey>(key)).getName());
    }
    static std::unique_ptr<TevoroTalkConnector> created(const char* kind)
    {
        return std::unique_ptr<TevoroTalkConnector>(
            ScObjects::TevoroTalkUtils::createConnector("self-1.0", kind));
    }
    static std::string pathOf(const TevoroTalkConnector& connector, const char* specifier)
    {
        return bytes(connector.getApplicationPath(specifier, nullptr));
    }
};

} // namespace

TEST_F(PCDConnectorTest, IsNamedAfterItsDomain)
{
    EXPECT_EQ(nameOf(true, 1), "PCD");
    EXPECT_EQ(nameOf(false, 1), "PCD-cache-lodo");
    EXPECT_EQ(nameOf(true, 0), "PCD-master-installer");
    EXPECT_EQ(nameOf(true, 2), "PCD-master-qlm");
    EXPECT_EQ(nameOf(true, 3), "PCD-master-qum");
    EXPECT_EQ(nameOf(false, 4), "PCD-cache-qmt");
    EXPECT_EQ(nameOf(true, 5), "PCD-master");
    EXPECT_EQ(nameOf(true, -1), "PCD-master");
}

TEST_F(PCDConnectorTest, ReadsTheDomainOfItsKey)
{
    for (const int key : {0, 1, 2, 3, 4})
        EXPECT_EQ(PCDConnector::getPCDDomain(static_cast<DomainKey>(key)), key);
    EXPECT_EQ(PCDConnector::getPCDDomain(static_cast<DomainKey>(5)), 1);
    EXPECT_EQ(PCDConnector::getPCDDomain(static_cast<DomainKey>(-1)), 1);
    table.domains[3] = {{"/velmo/tevorotalk/a-1.0", {{"Path", "/a"}}}};
    const PCDConnector connector("self-1.0", true, PCDConnector::kQum);
    EXPECT_EQ(pathOf(connector, "a-1.0"), "/a");
    const PCDConnector cache("self-1.0", false, PCDConnector::kQum);
    EXPECT_FALSE(cache.isGood());
}

TEST_F(PCDConnectorTest, IsMadeForThreeKinds)
{
    addApplication("a-1.0", {{"Path", "/a"}});
    for (const char* kind : {"", "default", "PCD"}) {
        const auto connector = created(kind);
        ASSERT_TRUE(connector) << kind;
        EXPECT_EQ(connector->getName(), "PCD");
        EXPECT_EQ(connector->getApplicationSpecifier(-1), "self-1.0");
        EXPECT_EQ(pathOf(*connector, "a-1.0"), "/a");
    }
    for (const char* kind : {"pcd", "refresh", "PCD-cache"})
        EXPECT_FALSE(created(kind)) << kind;
}

TEST_F(PCDConnectorTest, IsNotMadeWithoutAReadableStore)
{
    table.failures = {{"subdomains", 5}};
    EXPECT_FALSE(created("PCD"));
    table.failures = {};
    EXPECT_TRUE(created("PCD")) << "an empty store is good";
    ScObjects::pcdLibName = "nowhere.framework";
    EXPECT_FALSE(created("PCD"));
}

TEST_F(PCDConnectorTest, StandsInAProcessWithAStore)
{
    addApplication("a-1.0", {{"Path", "/a"}});
    TevoroTalkConnector::InitTerm::init("first-1.0");
    TevoroTalkConnector* const connector = TevoroTalkConnector::get();
    ASSERT_NE(connector, nullptr);
    EXPECT_TRUE(TevoroTalkConnector::InitTerm::init("second-1.0"));
    EXPECT_EQ(TevoroTalkConnector::get(), connector);
    EXPECT_EQ(TevoroTalk::getApplicationSpecifier(-1), "first-1.0");
    EXPECT_TRUE(Specifier("a", true).isInstalled());
    EXPECT_EQ(bytes(Specifier("A", true)), "a-1.0");
}

TEST_F(PCDConnectorTest, TellsWhenTheStoreWasWritten)
{
    const PCDConnector connector("self-1.0", true, PCDConnector::kLodo);
    EXPECT_EQ(connector.getTimestamp(), 200);
    table.capsTime = 4'000'000'000U;
    EXPECT_EQ(connector.getTimestamp(), 4'000'000'000);
    table.failures = {{"capsTime", 5}};
    EXPECT_EQ(connector.getTimestamp(), 200);
    table.failures = {{"capsTime", 5}, {"pcdTime", 5}};
    EXPECT_EQ(connector.getTimestamp(), 0);
}

TEST_F(PCDConnectorTest, KeepsItsCachesAsLongAsTheStoreStays)
{
    addApplication("a-1.0", {{"Path", "/a"}});
    const auto connector = created("PCD");
    ASSERT_TRUE(connector);
    table.calls.clear();
    EXPECT_FALSE(connector->updateCache(false));
    EXPECT_EQ(pathOf(*connector, "a-1.0"), "/a");
    EXPECT_THAT(table.calls, testing::ElementsAre("capsTime", "pcdTime"));
}

TEST_F(PCDConnectorTest, FollowsChangesOfEitherTime)
{
    addApplication("a-1.0", {{"Path", "/a"}});
    const auto connector = created("PCD");
    ASSERT_TRUE(connector);
    table.domains[1][0].second[0].second = "/b";
    EXPECT_EQ(pathOf(*connector, "a-1.0"), "/a");
    table.pcdTime = 201;
    EXPECT_TRUE(connector->updateCache(false));
    EXPECT_FALSE(connector->updateCache(false)) << "before it was read again";
    EXPECT_EQ(pathOf(*connector, "a-1.0"), "/b");
    EXPECT_FALSE(connector->updateCache(false));
    table.capsTime = 99; // lower is a change, too
    EXPECT_TRUE(connector->updateCache(false));
    table.capsTime = 98;
    table.failures = {{"capsTime", 5}};
    EXPECT_FALSE(connector->updateCache(false)) << "who knows";
}

TEST_F(PCDConnectorTest, StartsOverWhenItIsForced)
{
    addApplication("a-1.0", {{"Path", "/a"}});
    const auto connector = created("PCD");
    ASSERT_TRUE(connector);
    table.domains[1][0].second[0].second = "/b";
    EXPECT_FALSE(connector->updateCache(true)) << "nothing runs that is not installed";
    EXPECT_EQ(pathOf(*connector, "a-1.0"), "/b");
}

TEST_F(PCDConnectorTest, UpdatesNothingThatWasNeverReadProperly)
{
    table.capsTime = 0;
    addApplication("a-1.0", {{"Path", "/a"}});
    const auto connector = created("PCD");
    ASSERT_TRUE(connector);
    table.capsTime = 5;
    EXPECT_FALSE(connector->updateCache(false));
    EXPECT_FALSE(connector->updateCache(true));
}

TEST_F(PCDConnectorTest, WritesNothing)
{
    addApplication("a-1.0", {{"Path", "/a"}});
    PCDConnector connector("self-1.0", true, PCDConnector::kLodo);
    QKConnectorAppInfo info;
    info.specifier = "a-1.0";
    EXPECT_TRUE(connector.skipImport(info));
    info.specifier = "b-1.0";
    EXPECT_FALSE(connector.skipImport(info));
    EXPECT_TRUE(connector.registerApplication(info));
    EXPECT_TRUE(connector.unregisterApplication(info));
    const Specifier specifier("a-1.0", false);
    EXPECT_FALSE(connector.registerApplication(specifier, "/x", nullptr, false, true));
    EXPECT_FALSE(connector.unregisterApplication(specifier, nullptr));
    EXPECT_FALSE(connector.addToGroup(specifier, "nx", nullptr));
    EXPECT_FALSE(connector.removeFromGroup(specifier, "nx", nullptr));
    EXPECT_TRUE(table.written.empty());
    EXPECT_EQ(connector.getNumberOfRegisteredApplications(), 1);
    PCDConnector bad("self-1.0", false, PCDConnector::kLodo);
    EXPECT_TRUE(bad.skipImport(info));
}

TEST_F(PCDConnectorTest, SurvivesAnyCallThatFails)
{
    addApplication("a-1.0", {{"Path", "/a"}});
    add("{one}", {{"QMTConfigPath", "/x"}, {"TevoroTalkCode", "/velmo/tevorotalk/a-1.0"}});
    for (const char* call : {"pcdOpenSessionNoCreate",
             "capsOpenSession",
             "subdomains",
             "keys",
             "data",
             "payload",
             "capsTime",
             "pcdTime"})
        for (const std::int32_t status : {-1, 1, 8, 9, 0x7FFFFFFF}) {
            table.failures = {{call, status}};
            const auto connector = created("PCD");
            const bool isGood = connector && connector->isGood();
            EXPECT_TRUE(!connector || isGood) << call;
        }
    table.failures = {};
    EXPECT_TRUE(created("PCD"));
}

TEST_F(PCDConnectorTest, FindsNamesByItsIndexAsAWalkDoes)
{
    for (const char* const specifier :
        {"a-1.0", "b-2.0", "a_2-1.0-de_de", "a-3.0", "ab-1.0", "a-en_us", "b_1", "c-1.0-de_de"})
        addApplication(specifier, {{"Path", "/x"}});
    const auto connector = created("PCD");
    ASSERT_TRUE(connector);
    const auto expectSame = [&] {
        for (const char* const name : {"a", "b", "c", "ab", "d", ""})
            for (int from = 0; from <= connector->getNumberOfRegisteredApplications(); ++from)
                EXPECT_EQ(connector->findName(name, from),
                    connector->TevoroTalkConnector::findName(name, from))
                    << name << ' ' << from;
    };
    expectSame();
    EXPECT_EQ(connector->findName("a", 1), 2);
    addApplication("d-1.0", {{"Path", "/d"}});
    EXPECT_EQ(connector->findName("d", 0), -1);
    connector->clearCache(); // reads the store again
    EXPECT_EQ(connector->findName("d", 0), 8);
    expectSame();
}
