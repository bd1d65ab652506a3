#include "apps/velmo-caps/StoreCommand.h"

namespace test {
namespace {

using testing::HasSubstr;

using AddCommandTest = StoreCommand;

TEST_F(AddCommandTest, RegistersAnApplicationInLowerCase)
{
    done({"add", "Tevoro-2.0-EN_us", "--path", "/bin/true", "--set", "DisplayName=Tevoro"});
    EXPECT_EQ(list(), "tevoro-2.0-en_us\t/bin/true\n");
}

TEST_F(AddCommandTest, ChangesWhatIsNamedAndLeavesTheRest)
{
    done({"add", "a-1.0", "--path", "/bin/true", "--set", "DisplayName=old"});
    done({"add", "a-1.0", "--set", "DisplayName=new", "--set", "IsShellTool=true"});
    const Json values = run({"list", "--json"}).objects().at(0)["values"];
    EXPECT_EQ(values["Path"], "/bin/true");
    EXPECT_EQ(values["DisplayName"], "new");
    EXPECT_EQ(values["IsShellTool"], "true");
}

TEST_F(AddCommandTest, MakesAPathAbsoluteAndTakesAnAddressAsItIs)
{
    const std::string here = std::filesystem::current_path().string();
    EXPECT_EQ(run({"add", "a-1.0", "--path", "x/../no-such"}).code, 0);
    done({"add", "b-1.0", "--path", "https://a.example/b/../c"});
    EXPECT_EQ(list(), "a-1.0\t" + here + "/no-such\nb-1.0\thttps://a.example/b/../c\n");
}

TEST_F(AddCommandTest, MakesTheDevelopersPathAbsoluteToo)
{
    const std::string here = std::filesystem::current_path().string();
    done({"add", "a-1.0", "--path", "/bin/true", "--set", "DeveloperInstallPath=build/../a"});
    EXPECT_EQ(
        run({"list", "--json"}).objects().at(0)["values"]["DeveloperInstallPath"], here + "/a");
}

TEST_F(AddCommandTest, WarnsOfAPathThatCannotBeStartedAndStoresIt)
{
    const std::string file = folder.write("plain", "");
    for (const auto& [path, words] : std::map<std::string, std::string>{
             {folder.path("none"), "not there"}, {folder.path(), "folder"}, {file, "executable"}}) {
        const CommandResult result = run({"add", "a-1.0", "--path", path});
        EXPECT_EQ(result.code, 0);
        EXPECT_THAT(result.err, HasSubstr(path));
        EXPECT_THAT(result.err, HasSubstr(words));
        EXPECT_EQ(list(), "a-1.0\t" + path + "\n");
    }
}

TEST_F(AddCommandTest, RefusesAKeyThatNoApplicationHasAndNamesTheOthers)
{
    const CommandResult result =
        run({"add", "a-1.0", "--path", "/bin/true", "--set", "Colour=red"});
    EXPECT_EQ(result.code, 2);
    EXPECT_THAT(result.err, HasSubstr("Colour"));
    for (const char* const key : {"WindowClassName", "RedirectTo", "ExecutableExtensionMac"})
        EXPECT_THAT(result.err, HasSubstr(key));
    EXPECT_EQ(list(), "");
}

TEST_F(AddCommandTest, RefusesWhatIsWrongUsage)
{
    for (const std::vector<std::string>& arguments :
        std::vector<std::vector<std::string>>{{"add", "a-1.0"},
            {"add", "a-1.0", "--path", ""},
            {"add", "a-1.0", "--path", "/bin/true", "--set", "DisplayName"},
            {"add", "a-1.0", "--path", "/bin/true", "--set", "=x"},
            {"add", "a-1.0", "--path", "/bin/true", "--set", "Specifier=b"},
            {"add", "--path", "/bin/true"}})
        EXPECT_EQ(run(arguments).code, 2);
    EXPECT_FALSE(std::filesystem::exists(folder.path("user")));
}

TEST_F(AddCommandTest, RefusesNamesOfPayloadsAndThoseWithoutALetterOrDigit)
{
    for (const char* const name :
        {"{x}", "{x", ".", "..", ".-2.0", "+", "a*", "*", "a:b-1.0", "a=b", "\"a\"", "a'b"}) {
        const CommandResult result = run({"add", name, "--path", "/bin/true"});
        EXPECT_EQ(result.code, 2) << name;
        EXPECT_THAT(result.err, HasSubstr(name));
    }
    EXPECT_EQ(list(), "");
    for (const char* const name : {"7-1.0", "\xC3\xA4-1.0", ".a"})
        done({"add", name, "--path", "/bin/true"});
}

TEST_F(AddCommandTest, RefusesNamesThatTheBusReadsAsOthers)
{
    for (const char* const name : {"a-", "a-1.0-", "a--b", "a-1.0--", "a_", "a_-1.0", "a;b-1.0"}) {
        const CommandResult result = run({"add", name, "--path", "/bin/true"});
        EXPECT_EQ(result.code, 2) << name;
        EXPECT_THAT(result.err, HasSubstr(name));
    }
    EXPECT_EQ(list(), "");
    for (const char* const name : {"a", "a-1.0", "a-de_de", "a_2-1.0-de_de"})
        done({"add", name, "--path", "/bin/true"});
}

TEST_F(AddCommandTest, RefusesAnAddressWithoutAHost)
{
    for (const char* const path : {"https://", "https:///x", "https://?x"})
        EXPECT_EQ(run({"add", "a-1.0", "--path", path}).code, 2) << path;
    EXPECT_EQ(run({"add", "a-1.0", "--set", "Path=https://"}).code, 2);
    EXPECT_EQ(list(), "");
}

TEST_F(AddCommandTest, AnApplicationThatStandsForAnotherNeedsNoPath)
{
    done({"add", "a-1.0", "--set", "RedirectTo=b-1.0"});
    EXPECT_EQ(list(), "a-1.0\t\n");
}

TEST_F(AddCommandTest, WarnsOfASwitchThatIsNeitherOnNorOff)
{
    const CommandResult result =
        run({"add", "a-1.0", "--path", "/bin/true", "--set", "IsShellTool=True"});
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.err, HasSubstr("IsShellTool"));
}

TEST_F(AddCommandTest, RootAloneChangesTheMachinesStore)
{
    ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
    std::string err;
    const int code = askedAsOrdinaryUser([] {
        const CommandResult result = run({"add", "a-1.0", "--path", "/bin/true", "--machine"});
        return result.err.find("only root") == std::string::npos ? 99 : result.code;
    });
    EXPECT_EQ(code, 4);
    if (!isRoot())
        return;
    done({"add", "a-1.0", "--path", "/bin/true", "--machine"});
    EXPECT_EQ(run({"list", "--json"}).objects().at(0)["store"], "machine");
}

TEST_F(AddCommandTest, SaysThatTheStoreIsLockedOrRefused)
{
    done({"add", "a-1.0", "--path", "/bin/true"});
    ASSERT_EQ(::chmod(userFile().c_str(), 0666), 0);
    const CommandResult result = run({"add", "b-1.0", "--path", "/bin/true"});
    EXPECT_EQ(result.code, 4);
    EXPECT_THAT(result.err, HasSubstr(userFile()));
}

TEST_F(AddCommandTest, KeepsADamagedStoreAsideAndSaysSo)
{
    done({"add", "a-1.0", "--path", "/bin/true"});
    std::ofstream(userFile(), std::ios::trunc) << std::string(3000, 'x');
    const CommandResult listed = run({"list"});
    EXPECT_EQ(listed.code, 4);
    EXPECT_THAT(listed.err, HasSubstr("damaged"));
    const CommandResult result = run({"add", "b-1.0", "--path", "/bin/true"});
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.err, HasSubstr(userFile() + ".damaged-1"));
    EXPECT_EQ(list(), "b-1.0\t/bin/true\n");
}

} // namespace
} // namespace test
