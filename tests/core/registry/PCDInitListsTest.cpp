#include "registry/PCDInitLists.h"

#include "core/registry/support/StoreFixture.h"
#include "registry/QKConnectorAppInfoList.h"

#include <algorithm>

namespace {

using ScObjects::PCDInitLists;
using ScObjects::PCDWrapper;
using ScObjects::QKConnectorAppInfo;
using ScObjects::SoString;
using test::bytes;
using testing::ElementsAre;
using testing::IsEmpty;

class PCDInitListsTest : public test::StoreFixture {
protected:
    // As "SPECIFIER PATH".
    std::vector<std::string> built()
    {
        PCDWrapper wrapper(true, 1);
        PCDInitLists lists(applications, groups);
        isDone = lists.run(wrapper);
        std::vector<std::string> told;
        for (long i = 0; i < applications.length(); ++i)
            told.push_back(
                bytes(applications.get(i)->specifier) + " " + bytes(applications.get(i)->path));
        return told;
    }
    std::vector<std::string> entries() const
    {
        std::vector<std::string> told;
        for (long i = 0; i < groups.length(); ++i)
            told.push_back(bytes(*groups[i]));
        return told;
    }
    ~PCDInitListsTest() override
    {
        for (long i = groups.length() - 1; i >= 0; --i)
            delete groups.removeAt(i);
    }

    static std::string location(const char* configPath, const QKConnectorAppInfo& info)
    {
        return bytes(PCDInitLists::getLocationFromQMTConfigPath(info, configPath));
    }
    static QKConnectorAppInfo executable(const char* basename, const char* extension, bool isTool)
    {
        QKConnectorAppInfo info;
        info.executableBasename = basename;
        info.executableExtension = extension;
        info.isShellTool = isTool;
        return info;
    }

    bool isDone = false;
    ScObjects::QKConnectorAppInfoList applications;
    ScObjects::SoVector<SoString> groups;
};

constexpr const char* kConfig = "/opt/suite/1/2/3/4/config.xml";

} // namespace

TEST_F(PCDInitListsTest, KeepsApplicationsWhosePlaceIsKnown)
{
    addApplication("b-1.0", {{"Path", "/b"}});
    addApplication("nowhere-1.0", {{"DisplayName", "x"}});
    addApplication("a-1.0", {{"RedirectTo", "b-1.0"}});
    EXPECT_THAT(built(), ElementsAre("b-1.0 /b", "a-1.0 /b"));
    EXPECT_TRUE(isDone);
    EXPECT_EQ(applications.get(0)->windowClassName, "b");
}

TEST_F(PCDInitListsTest, KeepsAWindowClassOfItsOwn)
{
    addApplication("b-1.0", {{"Path", "/b"}, {"WindowClassName", "c"}});
    built();
    EXPECT_EQ(applications.get(0)->windowClassName, "c");
}

TEST_F(PCDInitListsTest, FindsPlacesByThePayloads)
{
    addApplication("A-1.0", {{"ExecutableBasename", "a"}});
    addApplication("b-1.0", {{"ExecutableBasename", "b"}});
    addApplication("c-1.0", {{"ExecutableBasename", "c"}});
    add("{one}",
        {{"QMTConfigPath", kConfig},
            {"TevoroTalkCode", "/velmo/tevorotalk/A-1.0"},
            {"TevoroTalkCode1", "/velmo/tevorotalk/b-1.0"},
            {"TevoroTalkCode3", "/velmo/tevorotalk/c-1.0"}});
    add("{two}",
        {{"QMTConfigPath", "/later/1/2/3/4/x.xml"}, {"TevoroTalkCode", "/velmo/tevorotalk/a-1.0"}});
    EXPECT_THAT(built(), ElementsAre("A-1.0 /opt/suite/a.app", "b-1.0 /opt/suite/b.app"));
}

TEST_F(PCDInitListsTest, PassesOverAnEmptyCode)
{
    addApplication("b-1.0", {{"ExecutableBasename", "b"}});
    add("{one}",
        {{"QMTConfigPath", kConfig},
            {"TevoroTalkCode", ""},
            {"TevoroTalkCode1", "/velmo/tevorotalk/b-1.0"}});
    EXPECT_THAT(built(), ElementsAre("b-1.0 /opt/suite/b.app"));
}

TEST_F(PCDInitListsTest, AsksThreePlacesForTheConfigPath)
{
    addApplication("b-1.0", {{"ExecutableBasename", "b"}});
    add("{one}", {{"TevoroTalkCode", "/velmo/tevorotalk/b-1.0"}});
    EXPECT_THAT(built(), IsEmpty());
    table.payloads[0]["{one}"] = {{"QMTConfigPath", "/third"}};
    EXPECT_THAT(built(), ElementsAre("b-1.0 /third/b.app"));
    table.domains[1][1].second.emplace_back("QMTConfigPath", "/second");
    EXPECT_THAT(built(), ElementsAre("b-1.0 /second/b.app"));
    table.payloads[4]["{one}"] = {{"QMTConfigPath", ""}};
    EXPECT_THAT(built(), ElementsAre("b-1.0 /second/b.app"));
    table.payloads[4]["{one}"] = {{"QMTConfigPath", "/first"}};
    EXPECT_THAT(built(), ElementsAre("b-1.0 /first/b.app"));
}

TEST_F(PCDInitListsTest, JoinsNothingWithoutTheListOfPayloads)
{
    table.domains[2] = {{"/velmo/tevorotalk/b-1.0", {{"Path", "/b"}}}};
    table.failures = {{"subdomains 1", 5}};
    PCDWrapper wrapper(true, 2);
    PCDInitLists lists(applications, groups);
    EXPECT_TRUE(lists.run(wrapper));
    EXPECT_EQ(applications.length(), 1);
}

TEST_F(PCDInitListsTest, EndsWithAStoreThatAnswersEveryKey)
{
    addApplication("b-1.0", {{"Path", "/b"}});
    add("{one}", {});
    table.answersEveryKey = true;
    EXPECT_THAT(built(), ElementsAre("b-1.0 /b"));
    EXPECT_TRUE(isDone);
    EXPECT_EQ(
        std::count(table.calls.begin(), table.calls.end(), "data {one} TevoroTalkCode9999"), 1);
}

TEST_F(PCDInitListsTest, ReadsGroups)
{
    add("/velmo/tevorotalk/groups",
        {{"Group001", "/velmo/tevorotalk/groups/nx/4/b-1.0"},
            {"Group000", "/velmo/tevorotalk/groups/NX/3/A-1.0"}});
    EXPECT_THAT(built(), IsEmpty());
    EXPECT_THAT(entries(), ElementsAre("nx/4/b-1.0", "nx/3/a-1.0"));
}

TEST_F(PCDInitListsTest, EmptiesItsListsBeforeItReads)
{
    addApplication("b-1.0", {{"Path", "/b"}});
    add("/velmo/tevorotalk/groups", {{"Group0", "/velmo/tevorotalk/groups/nx/4/b-1.0"}});
    built();
    EXPECT_THAT(built(), ElementsAre("b-1.0 /b"));
    EXPECT_THAT(entries(), ElementsAre("nx/4/b-1.0"));
    table.domains.clear();
    EXPECT_THAT(built(), IsEmpty());
    EXPECT_THAT(entries(), IsEmpty());
    EXPECT_TRUE(isDone);
}

TEST_F(PCDInitListsTest, DropsWhatCameBeforeAValueThatCannotBeRead)
{
    addApplication("a-1.0", {{"Path", "/a"}});
    addApplication("b-1.0", {{"Path", "/b"}, {"DisplayName", "B"}});
    addApplication("c-1.0", {{"Path", "/c"}});
    table.failures = {{"data /velmo/tevorotalk/b-1.0 DisplayName", 5}};
    EXPECT_THAT(built(), ElementsAre("b-1.0 /b", "c-1.0 /c"));
    EXPECT_TRUE(isDone);
}

TEST_F(PCDInitListsTest, KeepsWhatCameBeforeKeysThatCannotBeRead)
{
    addApplication("a-1.0", {{"Path", "/a"}});
    addApplication("b-1.0", {{"Path", "/b"}});
    table.failures = {{"keys /velmo/tevorotalk/b-1.0", 5}};
    EXPECT_THAT(built(), ElementsAre("a-1.0 /a"));
    EXPECT_FALSE(isDone);
}

TEST_F(PCDInitListsTest, KeepsOneOfEqualRecords)
{
    addApplication("a-1.0", {{"Path", "/a"}});
    addApplication("again", {{"Specifier", "A-1.0"}, {"Path", "/a"}});
    addApplication("moved", {{"Specifier", "a-1.0"}, {"Path", "/b"}});
    EXPECT_THAT(built(), ElementsAre("a-1.0 /a", "a-1.0 /b"));
}

TEST_F(PCDInitListsTest, FindsALocationFiveLevelsUp)
{
    const QKConnectorAppInfo info = executable("x", "ext", false);
    EXPECT_EQ(location("/a/b/c/d/e/f/g.xml", info), "/a/b/x.ext");
    EXPECT_EQ(location("/a/b", info), "/a/b/x.ext") << "no file";
    EXPECT_EQ(location("/a.b/c", info), "") << "a point anywhere";
    EXPECT_EQ(location("/1/2/3/4/g.xml", info), "");
    EXPECT_EQ(location("a/1/2/3/4/g.xml", info), "a/x.ext");
    EXPECT_EQ(location("g.xml", info), "");
    EXPECT_EQ(location("", info), "");
    EXPECT_EQ(location("/a/b", executable("", "ext", false)), "");
}

TEST_F(PCDInitListsTest, TakesTheExtensionOfTheKindOfProgram)
{
    EXPECT_EQ(location("/a", executable("x", "", false)), "/a/x.app");
    EXPECT_EQ(location("/a", executable("x", "", true)), "/a/x.term");
    EXPECT_EQ(location("/a", executable("x", "bin", true)), "/a/x.bin");
}
