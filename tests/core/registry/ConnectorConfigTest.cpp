#include "core/messaging/support/MessagingFixture.h"
#include "core/registry/support/ListedConnector.h"

namespace {

using ScObjects::QKConnectorAppInfo;
using ScObjects::SoString;
using test::bytes;
using test::ListedConnector;
using test::record;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Configuration>\n";

class ConnectorConfigTest : public test::MessagingFixture {
protected:
    static std::string documentOf(const QKConnectorAppInfo& info)
    {
        return bytes(ListedConnector({info}).getConnectorConfig(info.specifier));
    }
    static std::string groupsOf(const std::vector<std::string>& groups)
    {
        ListedConnector connector({}, groups);
        connector.isGood();
        return bytes(connector.getConnectorConfig("groups"));
    }
};

} // namespace

TEST_F(ConnectorConfigTest, WritesAllValuesOfAnApplication)
{
    QKConnectorAppInfo info = record("a-1.0", "/left/out");
    info.windowClassName = "window";
    info.bundleIdentifier = "bundle";
    info.displayName = "R&D <1>";
    info.talkVersion = 3.0;
    info.allowMultipleInstances = info.isShellTool = info.supportsQSDT = true;
    info.messageAuthentication = info.messageDigest = false;
    info.executableBasename = "base";
    info.executableExtension = "ext";
    info.omvDictionary = "dictionary";
    info.developerInstallPath = "/dev";
    info.redirectTo = "b-1.0";
    info.processID = 17;
    EXPECT_EQ(documentOf(info),
        std::string(kHead)
            + "\t<Payload>\n"
              "\t\t<Data key=\"TevoroTalkCode\">/velmo/tevorotalk/a-1.0</Data>\n"
              "\t</Payload>\n\n"
              "\t<Other velmoCode=\"/velmo/tevorotalk/a-1.0\">\n"
              "\t\t<Data key=\"Specifier\">a-1.0</Data>\n"
              "\t\t<Data key=\"WindowClassName\">window</Data>\n"
              "\t\t<Data key=\"BundleIdentifier\">bundle</Data>\n"
              "\t\t<Data key=\"DisplayName\">R&D <1></Data>\n"
              "\t\t<Data key=\"TevoroTalkVersion\">3</Data>\n"
              "\t\t<Data key=\"AllowMultipleInstances\">true</Data>\n"
              "\t\t<Data key=\"IsShellTool\">true</Data>\n"
              "\t\t<Data key=\"MessageAuthentication\">false</Data>\n"
              "\t\t<Data key=\"MessageDigest\">false</Data>\n"
              "\t\t<Data key=\"SupportsQSDT\">true</Data>\n"
              "\t\t<Data key=\"ExecutableBasename\">base</Data>\n"
              "\t\t<Data key=\"ExecutableExtensionMac\">ext</Data>\n"
              "\t\t<Data key=\"OMVDictionary\">dictionary</Data>\n"
              "\t\t<Data key=\"DeveloperInstallPath\">/dev</Data>\n"
              "\t\t<Data key=\"RedirectTo\">b-1.0</Data>\n"
              "\t</Other>\n"
              "</Configuration>\n");
}

TEST_F(ConnectorConfigTest, LeavesOutWhatARecordHasByItself)
{
    QKConnectorAppInfo info = record("a-1.0", "/a");
    info.talkVersion = 1.0;
    info.messageAuthentication = false;
    info.executableExtension = "";
    info.omvDictionary = "none";
    EXPECT_EQ(documentOf(info),
        std::string(kHead)
            + "\t<Payload>\n"
              "\t\t<Data key=\"TevoroTalkCode\">/velmo/tevorotalk/a-1.0</Data>\n"
              "\t</Payload>\n\n"
              "\t<Other velmoCode=\"/velmo/tevorotalk/a-1.0\">\n"
              "\t\t<Data key=\"Specifier\">a-1.0</Data>\n"
              "\t\t<Data key=\"MessageAuthentication\">false</Data>\n"
              "\t</Other>\n"
              "</Configuration>\n");
}

TEST_F(ConnectorConfigTest, WritesNothingForWhatItDoesNotKnow)
{
    ListedConnector connector({record("a-1.0", "/a")});
    EXPECT_EQ(connector.getConnectorConfig("b-1.0"), "");
    EXPECT_EQ(connector.getConnectorConfig(""), "");
    ListedConnector unread;
    EXPECT_EQ(unread.getConnectorConfig("groups"), "");
    ListedConnector unreadable({record("a-1.0", "/a")});
    unreadable.isReadable = false;
    EXPECT_EQ(unreadable.getConnectorConfig("a-1.0"), "");
}

TEST_F(ConnectorConfigTest, WritesTheGroupsWithThreeDigits)
{
    EXPECT_EQ(groupsOf({"nx/3/a_2-1.0-en_us", "nx/3/b-1.0"}),
        std::string(kHead)
            + "\t<Other velmoCode=\"/velmo/tevorotalk/groups\">\n"
              "\t\t<Data key=\"Group000\">/velmo/tevorotalk/groups/nx/3/a-1.0</Data>\n"
              "\t\t<Data key=\"Group001\">/velmo/tevorotalk/groups/nx/3/b-1.0</Data>\n"
              "\t</Other>\n"
              "</Configuration>\n");
    const std::string many = groupsOf(std::vector<std::string>(1001, "nx/3/a-1.0"));
    EXPECT_THAT(many, HasSubstr("\"Group010\""));
    EXPECT_THAT(many, HasSubstr("\"Group100\""));
    EXPECT_THAT(many, HasSubstr("\"Group1000\""));
}

TEST_F(ConnectorConfigTest, WritesTheSuiteInPlaceOfNoGroups)
{
    const std::string document = groupsOf({});
    EXPECT_THAT(
        document, HasSubstr("\"Group000\">/velmo/tevorotalk/groups/nx/3/tevoro-2.0</Data>"));
    EXPECT_THAT(document, HasSubstr("\"Group010\">/velmo/tevorotalk/groups/nx/3/"));
    EXPECT_THAT(document, Not(HasSubstr("Group011")));
}

TEST_F(ConnectorConfigTest, ImportsWhatItLacks)
{
    ListedConnector connector({record("a-1.0", "/a")});
    ListedConnector other(
        {record("b-1.0", "/b"), record("c-1.0", "/c")}, {"nx/3/b-1.0", "nx//c-1.0"});
    other.name = "other";
    EXPECT_TRUE(connector.importFrom(other));
    EXPECT_THAT(connector.calls,
        ElementsAre(
            "record b-1.0 /b /b", "record c-1.0 /c /c", "add b-1.0 nx 3", "add c-1.0 nx (null)"));
    EXPECT_EQ(connector.getApplicationPath("c-1.0", nullptr), "/c");
}

TEST_F(ConnectorConfigTest, SkipsOnImportWhatASubclassWants)
{
    class Skipping final : public ListedConnector {
    public:
        bool skipImport(const QKConnectorAppInfo& info) const override
        {
            return info.specifier == "b-1.0";
        }
    } connector;
    ListedConnector other({record("b-1.0", "/b"), record("c-1.0", "/c")});
    other.name = "other";
    EXPECT_TRUE(connector.importFrom(other));
    EXPECT_THAT(connector.calls, ElementsAre("record c-1.0 /c /c"));
}

TEST_F(ConnectorConfigTest, GoesOnImportingWhenSomethingFails)
{
    ListedConnector connector({record("a-1.0", "/a")});
    ListedConnector other({record("a-1.0", "/a"), record("b-1.0", "/b")});
    other.name = "other";
    EXPECT_FALSE(connector.importFrom(other)) << "a-1.0 is there already";
    EXPECT_EQ(connector.getApplicationPath("b-1.0", nullptr), "/b");
    ListedConnector groups({}, {"malformed", "nx/3/b-1.0"});
    groups.name = "other";
    connector.calls.clear();
    EXPECT_FALSE(connector.importFrom(groups));
    EXPECT_THAT(connector.calls, ElementsAre("add b-1.0 nx 3"));
}

TEST_F(ConnectorConfigTest, ImportsNothingFromItselfOrWithoutLists)
{
    ListedConnector connector;
    ListedConnector alike({record("a-1.0", "/a")});
    EXPECT_FALSE(connector.importFrom(alike)) << "the same name";
    alike.name = "other";
    alike.isReadable = false;
    EXPECT_FALSE(connector.importFrom(alike));
    alike.isReadable = true;
    alike.clearCache();
    connector.isReadable = false;
    connector.clearCache();
    EXPECT_FALSE(connector.importFrom(alike));
    EXPECT_THAT(connector.calls, IsEmpty());
}

TEST_F(ConnectorConfigTest, IsEqualToItself)
{
    ListedConnector connector({record("a-1.0", "/a")}, {"nx/3/a-1.0"});
    EXPECT_FALSE(connector.isEqual(connector)) << "nothing was read";
    EXPECT_TRUE(connector.isGood());
    EXPECT_TRUE(connector.isEqual(connector));
    EXPECT_TRUE(connector.validate(connector));
}

TEST_F(ConnectorConfigTest, DiffersFromAnotherConnector)
{
    ListedConnector one({record("a-1.0", "/a"), record("b-1.0", "/b")}, {"nx/3/a-1.0"});
    ListedConnector same({record("b-1.0", "/b"), record("a-1.0", "/a")}, {"nx/3/a-1.0"});
    ListedConnector moved({record("a-1.0", "/x"), record("b-1.0", "/b")}, {"nx/3/a-1.0"});
    ListedConnector fewer({record("a-1.0", "/a")}, {"nx/3/a-1.0"});
    ListedConnector more(
        {record("a-1.0", "/a"), record("b-1.0", "/b"), record("c-1.0", "/c")}, {"nx/3/a-1.0"});
    ListedConnector regrouped({record("a-1.0", "/a"), record("b-1.0", "/b")}, {"nx/3/b-1.0"});
    ListedConnector ungrouped({record("a-1.0", "/a"), record("b-1.0", "/b")});
    ListedConnector elsewhere(
        {record("a-1.0", "/a"), record("b-1.0", "/b")}, {"nx/3/a-1.0"}, "else-1.0");
    ListedConnector failed({record("a-1.0", "/a"), record("b-1.0", "/b")}, {"nx/3/a-1.0"});
    failed.isReadable = false;
    for (ListedConnector* const connector :
        {&one, &same, &moved, &fewer, &more, &regrouped, &ungrouped, &elsewhere, &failed})
        connector->isGood();
    EXPECT_TRUE(one.isEqual(same));
    EXPECT_TRUE(one.validate(same));
    for (ListedConnector* const other :
        {&moved, &fewer, &more, &regrouped, &ungrouped, &elsewhere, &failed}) {
        EXPECT_FALSE(one.isEqual(*other)) << other->records.size();
        EXPECT_FALSE(one.validate(*other)) << other->records.size();
    }
    ListedConnector unread;
    EXPECT_FALSE(one.isEqual(unread));
    EXPECT_FALSE(one.validate(unread));
}
