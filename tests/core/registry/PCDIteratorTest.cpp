#include "registry/PCDIterator.h"

#include "core/registry/support/StoreFixture.h"

namespace {

using ScObjects::PCDIterator;
using ScObjects::PCDWrapper;
using ScObjects::QKConnectorAppInfo;
using ScObjects::SoString;
using test::bytes;
using testing::ElementsAre;
using testing::IsEmpty;

// Writes down what it is called for, and ends nothing by what it returns.
class Walk final : public PCDIterator {
public:
    std::vector<std::string> events;
    QKConnectorAppInfo last;

protected:
    bool onStart(PCDWrapper&) override { return note("start"); }
    bool onEnd(PCDWrapper&) override { return note("end"); }
    bool onStartSubDomain(PCDWrapper&, const SoString& subdomain, QKConnectorAppInfo&) override
    {
        return note("begin " + bytes(subdomain));
    }
    bool onEndSubDomain(
        PCDWrapper& wrapper, const SoString& subdomain, QKConnectorAppInfo& info) override
    {
        note("end " + bytes(subdomain));
        return PCDIterator::onEndSubDomain(wrapper, subdomain, info);
    }
    bool onError(PCDWrapper& wrapper, const SoString& subdomain, const SoString& key) override
    {
        note("error " + bytes(subdomain) + " " + bytes(key));
        return PCDIterator::onError(wrapper, subdomain, key);
    }
    bool onAppInfo(PCDWrapper&, QKConnectorAppInfo& info) override
    {
        last = info;
        return note("application " + bytes(info.specifier));
    }
    bool onGroupInfo(PCDWrapper&, const SoString& key, const SoString& entry) override
    {
        return note("group " + bytes(key) + " " + bytes(entry));
    }

private:
    bool note(const std::string& event)
    {
        events.push_back(event);
        return false;
    }
};

class PCDIteratorTest : public test::StoreFixture {
protected:
    bool run()
    {
        PCDWrapper wrapper(true, 1);
        walk = std::make_unique<Walk>();
        return walk->run(wrapper);
    }
    // The record of an application with these keys.
    QKConnectorAppInfo recordOf(Keys keys)
    {
        table.domains.clear();
        addApplication("a-1.0", std::move(keys));
        EXPECT_TRUE(run());
        return walk->last;
    }

    std::unique_ptr<Walk> walk;
};

} // namespace

TEST_F(PCDIteratorTest, VisitsTheStoreInItsOrder)
{
    addApplication("b-1.0", {{"Path", "/b"}});
    add("{payload}", {{"Path", "/no"}});
    addApplication("a-1.0", {});
    EXPECT_TRUE(run());
    EXPECT_THAT(walk->events,
        ElementsAre("start",
            "begin /velmo/tevorotalk/b-1.0",
            "end /velmo/tevorotalk/b-1.0",
            "application b-1.0",
            "begin /velmo/tevorotalk/a-1.0",
            "end /velmo/tevorotalk/a-1.0",
            "application a-1.0",
            "end"));
    EXPECT_EQ(walk->capsLastModTime(), 100U);
    EXPECT_EQ(walk->pcdLastModTime(), 200U);
}

TEST_F(PCDIteratorTest, EndsWellAtAnEmptyStore)
{
    EXPECT_TRUE(run());
    EXPECT_THAT(walk->events, ElementsAre("start"));
    EXPECT_EQ(walk->pcdLastModTime(), 200U);
}

TEST_F(PCDIteratorTest, EndsBadlyWithoutAStore)
{
    ScObjects::pcdLibName = "nowhere.framework";
    EXPECT_FALSE(run());
    EXPECT_THAT(walk->events, ElementsAre("start"));
    EXPECT_EQ(walk->pcdLastModTime(), 0U);
}

TEST_F(PCDIteratorTest, EndsBadlyWhenAListCannotBeRead)
{
    addApplication("a-1.0", {});
    add("{payload}", {});
    table.failures = {{"subdomains 1", 5}, {"capsTime", 5}};
    EXPECT_FALSE(run());
    EXPECT_THAT(walk->events, ElementsAre("start"));
    EXPECT_EQ(walk->capsLastModTime(), 0U) << "whatever it left there";
    EXPECT_EQ(walk->pcdLastModTime(), 200U);
    table.failures = {{"keys {payload}", 5}};
    EXPECT_FALSE(run()) << "of any subdomain";
    EXPECT_EQ(walk->events.back(), "application a-1.0") << "without an end";
}

TEST_F(PCDIteratorTest, GoesOnBehindAValueThatCannotBeRead)
{
    addApplication("a-1.0", {{"Path", "/a"}, {"DisplayName", "A"}});
    addApplication("b-1.0", {});
    table.failures = {{"data /velmo/tevorotalk/a-1.0 Path", 5}};
    EXPECT_TRUE(run());
    EXPECT_THAT(walk->events,
        ElementsAre("start",
            "begin /velmo/tevorotalk/a-1.0",
            "error /velmo/tevorotalk/a-1.0 Path",
            "end /velmo/tevorotalk/a-1.0",
            "application a-1.0",
            "begin /velmo/tevorotalk/b-1.0",
            "end /velmo/tevorotalk/b-1.0",
            "application b-1.0",
            "end"));
}

TEST_F(PCDIteratorTest, ReadsEveryKey)
{
    const QKConnectorAppInfo info = recordOf({{"Specifier", "Other-1.0"},
        {"Path", "/Path"},
        {"WindowClassName", "Window"},
        {"DisplayName", "Name"},
        {"BundleIdentifier", "Bundle"},
        {"TevoroTalkVersion", "1.5beta"},
        {"AllowMultipleInstances", "true"},
        {"IsShellTool", "true"},
        {"MessageAuthentication", "false"},
        {"MessageDigest", "false"},
        {"SupportsQSDT", "true"},
        {"ExecutableBasename", "Base"},
        {"ExecutableExtensionMac", "ext"},
        {"OMVDictionary", "dict"},
        {"DeveloperInstallPath", "/Dev"},
        {"RedirectTo", "x-1.0"},
        {"ExecutablePath", "/never"},
        {"Foreign", "ignored"}});
    EXPECT_EQ(info.specifier, "other-1.0");
    EXPECT_EQ(info.path, "/Path");
    EXPECT_EQ(info.windowClassName, "Window");
    EXPECT_EQ(info.displayName, "Name");
    EXPECT_EQ(info.bundleIdentifier, "Bundle");
    EXPECT_EQ(info.talkVersion, 1.5);
    EXPECT_TRUE(info.allowMultipleInstances && info.isShellTool && info.supportsQSDT);
    EXPECT_FALSE(info.messageAuthentication || info.messageDigest);
    EXPECT_EQ(info.executableBasename, "Base");
    EXPECT_EQ(info.executableExtension, "ext");
    EXPECT_EQ(info.omvDictionary, "dict");
    EXPECT_EQ(info.developerInstallPath, "/Dev");
    EXPECT_EQ(info.redirectTo, "x-1.0");
}

TEST_F(PCDIteratorTest, TakesOnlyTheWordTrueForTrue)
{
    for (const char* value : {"True", "TRUE", "1", "yes", "", " true", "true "}) {
        EXPECT_FALSE(recordOf({{"MessageDigest", value}}).messageDigest) << value;
        EXPECT_FALSE(recordOf({{"IsShellTool", value}}).isShellTool) << value;
    }
    EXPECT_TRUE(recordOf({{"MessageDigest", "true"}}).messageDigest);
}

TEST_F(PCDIteratorTest, MatchesKeysExactly)
{
    EXPECT_EQ(recordOf({{"path", "/a"}, {"Path2", "/b"}}).path, "");
    EXPECT_EQ(recordOf({{"ExecutableExtensionUnix", "x"}}).executableExtension, "app");
}

TEST_F(PCDIteratorTest, TakesTheLaterOfTwoKeysForTheSpecifier)
{
    EXPECT_EQ(recordOf({{"ProductCode", "P-1.0"}, {"Specifier", "S-1.0"}}).specifier, "s-1.0");
    EXPECT_EQ(recordOf({{"Specifier", "S-1.0"}, {"ProductCode", "P-1.0"}}).specifier, "p-1.0");
}

TEST_F(PCDIteratorTest, NamesAnApplicationAfterItsSubdomain)
{
    addApplication("Mixed-1.0", {{"Path", "/a"}});
    addApplication("x", {{"Path", "/a"}});
    addApplication("", {{"Path", "/a"}});
    EXPECT_TRUE(run());
    EXPECT_EQ(walk->events.at(3), "application Mixed-1.0");
    EXPECT_EQ(walk->last.specifier, "Mixed-1.0") << "one letter is no name";
}

TEST_F(PCDIteratorTest, ReadsGroups)
{
    add("/velmo/tevorotalk/groups",
        {{"Group000", "/velmo/tevorotalk/groups/NX/3/Tevoro-2.0"},
            {"GroupX", "/velmo/tevorotalk/groups/a"},
            {"Path", "/velmo/tevorotalk/groups/no"},
            {"Group001", "/velmo/tevorotalk/groups/"},
            {"Group002", "short"},
            {"group003", "/velmo/tevorotalk/groups/no"}});
    add("/velmo/tevorotalk/groups/below", {{"Group", "/velmo/tevorotalk/groups/b/c/d"}});
    add("/velmo/tevorotalk/groupsies", {{"Group000", "/velmo/tevorotalk/groups/no"}});
    EXPECT_TRUE(run());
    std::vector<std::string> told;
    for (const std::string& event : walk->events)
        if (event.starts_with("group ") || event.starts_with("application "))
            told.push_back(event);
    EXPECT_THAT(told,
        ElementsAre("group Group000 nx/3/tevoro-2.0",
            "group GroupX a",
            "group Group b/c/d",
            "application groupsies"));
}

TEST_F(PCDIteratorTest, TellsOfAGroupThatCannotBeRead)
{
    add("/velmo/tevorotalk/groups", {{"Group000", "/velmo/tevorotalk/groups/a"}});
    table.failures = {{"data", 5}};
    EXPECT_TRUE(run());
    EXPECT_EQ(walk->events.at(2), "error /velmo/tevorotalk/groups Group000");
}

TEST_F(PCDIteratorTest, TakesAnAddressForThePath)
{
    const std::string address = "https://print.velmo.example/start";
    EXPECT_EQ(recordOf({{"ExecutableBasename", address}}).path, address.c_str());
    EXPECT_EQ(recordOf({{"ExecutableBasename", address}, {"Path", "/a"}}).path, "/a");
    EXPECT_EQ(recordOf({{"Path", "/a"}, {"ExecutableBasename", address}}).path, "/a");
    EXPECT_EQ(recordOf({{"ExecutableBasename", "base"}}).path, "");
}

TEST_F(PCDIteratorTest, TakesOnlyAddressesOfTheSuite)
{
    const auto taken = [](const char* address) {
        return !PCDIterator::getURLFromQMTConfigPath(address).isEmpty();
    };
    EXPECT_TRUE(taken("https://a.velmo.example"));
    EXPECT_TRUE(taken("https://a.b.velmo.example/x?y"));
    for (const char* address : {"",
             "http://a.velmo.example",
             "https://.velmo.example",
             "https://velmo.example",
             "https://a.velmo.example.org",
             "https://other.org/.velmo.example",
             "https://other.org?.velmo.example",
             "https://other.org#.velmo.example",
             "https://other.org\\.velmo.example",
             "https://other.org:80@a.velmo.example",
             "HTTPS://a.velmo.example",
             " https://a.velmo.example"})
        EXPECT_FALSE(taken(address)) << address;
}
