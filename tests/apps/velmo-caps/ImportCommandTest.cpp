// Documents into the store and out of it again.
#include "apps/velmo-caps/StoreCommand.h"
#include "velmo_caps/CurrentStores.h"

#include <csignal>
#include <thread>

#include <sys/syscall.h>

namespace test {
namespace {

using testing::HasSubstr;

class ImportCommandTest : public StoreCommand {
protected:
    static Json valuesOf(std::size_t place = 0)
    {
        return run({"list", "--json"}).objects().at(place)["values"];
    }

    // Whether it waits in a read of descriptor 0, as the system tells.
    static bool readsStandardInput(pid_t process)
    {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        const std::string call = std::to_string(SYS_read) + " 0x0 ";
        while (std::chrono::steady_clock::now() < limit) {
            if (read("/proc/" + std::to_string(process) + "/syscall").starts_with(call))
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return false;
    }
};

TEST_F(ImportCommandTest, WhatIsExportedComesBackAsItWas)
{
    const std::string odd = "\"<a> & </Data>\n\r\tb\xC3\xA4\x01 ]]> '";
    done({"add",
        "a-1.0",
        "--path",
        "/bin/true",
        "--set",
        "DisplayName=" + odd,
        "--set",
        "TevoroTalkVersion=1.0",
        "--set",
        "IsShellTool=true"});
    const Json before = valuesOf();
    const std::string document = run({"export", "a-1.0"}).out;
    EXPECT_THAT(document, HasSubstr("<Configuration escaped=\"true\">"));
    EXPECT_THAT(document, HasSubstr("<Data key=\"TevoroTalkVersion\">1.0</Data>"));
    done({"remove", "a-1.0"});
    done({"import", folder.write("a.xml", document)});
    EXPECT_EQ(valuesOf(), before);
    EXPECT_EQ(run({"export", "a-1.0"}).out, document);
}

TEST_F(ImportCommandTest, ADocumentWithoutTheMarkIsTakenAsItStands)
{
    const std::string document =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Configuration>\n\t<Payload>\n"
        "\t\t<Data key=\"TevoroTalkCode\">/velmo/tevorotalk/a-1.0</Data>\n\t</Payload>\n\n"
        "\t<Other velmoCode=\"/velmo/tevorotalk/a-1.0\">\n"
        "\t\t<Data key=\"Specifier\">a-1.0</Data>\n"
        "\t\t<Data key=\"Path\">/bin/true</Data>\n"
        "\t\t<Data key=\"DisplayName\">a < b &amp; \"c\" </Data> d</Data>\n"
        "\t</Other>\n</Configuration>\n";
    done({"import", folder.write("a.xml", document)});
    EXPECT_EQ(valuesOf()["DisplayName"], "a < b &amp; \"c\" </Data> d");
}

TEST_F(ImportCommandTest, GroupsComeTogetherWhateverTheirNumbersAre)
{
    done({"group-add", "nx/3/a-1.0"});
    const std::string document = run({"export", "groups"}).out;
    EXPECT_THAT(
        document, HasSubstr("<Data key=\"Group000\">/velmo/tevorotalk/groups/nx/3/a-1.0</Data>"));
    done({"group-remove", "nx/3/a-1.0"});
    done({"group-add", "nx/3/b-1.0"});
    done({"import", folder.write("groups.xml", document)});
    done({"import", folder.write("groups.xml", document)});
    EXPECT_EQ(run({"groups"}).out, "nx/3/b-1.0\nnx/3/a-1.0\n");
}

TEST_F(ImportCommandTest, GroupsMayLieBelowTheirPlaceToo)
{
    const std::string document =
        "<Configuration escaped=\"true\"><Other velmoCode=\"/velmo/tevorotalk/groups/suite\">"
        "<Data key=\"Group000\">/velmo/tevorotalk/groups/nx/3/tevoro-2.0</Data></Other>"
        "</Configuration>";
    EXPECT_EQ(run({"import", "-"}, document).code, 0);
    EXPECT_EQ(run({"groups"}).out, "nx/3/tevoro-2.0\n");
}

TEST_F(ImportCommandTest, ABadDocumentNamesItsLineAndNothingIsImported)
{
    done({"add", "a-1.0", "--path", "/bin/true"});
    const std::string begin = "<Configuration escaped=\"true\">\n"
                              "<Other velmoCode=\"/velmo/tevorotalk/b-1.0\">\n"
                              "<Data key=\"Path\">/b</Data>\n</Other>\n";
    const std::vector<std::pair<std::string, std::string>> rows{{"", ":1:"},
        {"hello", ":1:"},
        {begin, ":5:"},
        {begin + "<Other velmoCode=\"/elsewhere/c\">\n</Other></Configuration>", ":5:"},
        {begin + "<Other velmoCode=\"/velmo/tevorotalk/c/d\"/></Configuration>", ":5:"},
        {begin + "<Other velmoCode=\"/velmo/tevorotalk/c-1\">\n<Data key=\"a\">&x;</Data>", ":6:"},
        {begin + "<Other velmoCode=\"/velmo/tevorotalk/{x}\"/></Configuration>", ":5:"},
        {begin + "<Other velmoCode=\"/velmo/tevorotalk/.\"/></Configuration>", ":5:"},
        {begin + "<Other velmoCode=\"/velmo/tevorotalk/a-\"/></Configuration>", ":5:"},
        {begin
                + "<Other velmoCode=\"/velmo/tevorotalk/c-1\">\n<Data key=\"Specifier\">w x#</Data>"
                  "</Other></Configuration>",
            ":6:"},
        {begin + "<Other velmoCode=\"/velmo/tevorotalk/c-1\">\n<Data key=\"ProductCode\">"
                + std::string(256, 'a') + "</Data></Other></Configuration>",
            ":6:"},
        {begin + "<Payload id=\"A\"/></Configuration>", ":5:"},
        {begin + "</Configuration>more", ":5:"},
        {begin
                + "<Other velmoCode=\"/velmo/tevorotalk/groups\">\n<Data "
                  "key=\"Group000\">nx</Data></Other></Configuration>",
            ":6:"}};
    for (const auto& [document, line] : rows) {
        const CommandResult result = run({"import", folder.write("bad.xml", document)});
        EXPECT_EQ(result.code, 4) << document;
        EXPECT_THAT(result.err, HasSubstr("bad.xml" + line)) << document;
        EXPECT_EQ(list(), "a-1.0\t/bin/true\n") << document;
    }
}

TEST_F(ImportCommandTest, APayloadWithAnIdJoinsALocationToItsCodes)
{
    const std::string document = "<Configuration escaped='true'><Payload id='{A}' collection='S'>"
                                 "<Data key='QMTConfigPath'>/opt/a/b/c/d/e/f.xml</Data>"
                                 "<Data key='TevoroTalkCode'>/velmo/tevorotalk/a-1.0</Data>"
                                 "</Payload></Configuration>";
    done({"import", folder.write("p.xml", document)});
    EXPECT_EQ(list(), "");
    velmo_caps::CurrentStores stores;
    const auto view = stores.view();
    const auto* const location = view->find({velmo_caps::Face::kCaps, 4, "{A}"});
    const auto* const codes = view->find({velmo_caps::Face::kPcd, 1, "{A}"});
    ASSERT_NE(location, nullptr);
    ASSERT_NE(codes, nullptr);
    EXPECT_EQ(location->collection, "S");
    EXPECT_EQ(*location->find("QMTConfigPath"), "/opt/a/b/c/d/e/f.xml");
    EXPECT_EQ(*codes->find("TevoroTalkCode"), "/velmo/tevorotalk/a-1.0");
}

// It would be looked for in the folder of whoever starts it.
TEST_F(ImportCommandTest, ARelativePathIsRefusedAndNothingIsImported)
{
    const auto document = [&](const std::string& path) {
        return folder.write("p.xml",
            "<Configuration escaped=\"true\"><Other velmoCode=\"/velmo/tevorotalk/a-1.0\">\n"
            "<Data key=\"Path\">"
                + path + "</Data></Other></Configuration>");
    };
    for (const char* const path : {"bin/a", "./a", "../a", "a", "http://a.example/", "https://"}) {
        const CommandResult result = run({"import", document(path)});
        EXPECT_EQ(result.code, 4) << path;
        EXPECT_THAT(result.err, HasSubstr("p.xml:2: the path '" + std::string(path) + "'"));
        EXPECT_EQ(list(), "") << path;
    }
    for (const std::string path : {"/opt/a", "https://a.example/b"}) {
        done({"import", document(path)});
        EXPECT_EQ(list(), "a-1.0\t" + path + "\n");
    }
}

TEST_F(ImportCommandTest, OtherRelativePathsAreRefusedToo)
{
    for (const char* const text : {"<Other velmoCode='/velmo/tevorotalk/a-1.0'>\n"
                                   "<Data key='DeveloperInstallPath'>build/a</Data></Other>",
             "<Payload id='{A}'>\n<Data key='QMTConfigPath'>a/b.xml</Data></Payload>"}) {
        const CommandResult result =
            run({"import", "-"}, std::string("<Configuration>") + text + "</Configuration>");
        EXPECT_EQ(result.code, 4);
        EXPECT_THAT(result.err, HasSubstr("-:2: the path"));
        EXPECT_THAT(result.err, HasSubstr("is not absolute"));
        EXPECT_EQ(list(), "");
    }
}

TEST_F(ImportCommandTest, WarnsOfAnApplicationWithoutAPlace)
{
    const auto document = [](const std::string& data) {
        return "<Configuration escaped='true'><Other velmoCode='/velmo/tevorotalk/a-1.0'>"
               "<Data key='Specifier'>a-1.0</Data>"
            + data + "</Other></Configuration>";
    };
    const CommandResult result = run({"import", "-"}, document(""));
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.err, HasSubstr("'a-1.0' has no place"));
    EXPECT_EQ(run({"import", "-"}, document("<Data key='RedirectTo'>b-1.0</Data>")).err, "");
    EXPECT_EQ(run({"import", "-"}, document("")).err, "") << "it is there already";
}

TEST_F(ImportCommandTest, ASignalEndsItWithNothingImported)
{
    for (const int signal : {SIGTERM, SIGINT}) {
        PeerProcess process({VELMO_CAPS, "import", "-"});
        process.tell("<Configuration>");
        EXPECT_TRUE(readsStandardInput(process.id()));
        ::kill(process.id(), signal);
        EXPECT_EQ(process.finish(), 130);
        EXPECT_FALSE(std::filesystem::exists(folder.path("user")));
    }
}

TEST_F(ImportCommandTest, StandardInputIsReadToTheLongestDocumentOnly)
{
    const std::string file = folder.write("long", "");
    std::filesystem::resize_file(file, 128 << 20);
    PeerProcess shell(
        {"/bin/sh", "-c", "{ \"$0\" import -; echo $?; wc -c; } < \"$1\"", VELMO_CAPS, file});
    EXPECT_EQ(shell.line(), "4");
    EXPECT_GT(std::stoll(shell.rest()), 60 << 20);
    EXPECT_THAT(shell.errors(), HasSubstr("standard input is longer than 64 MiB"));
    EXPECT_EQ(shell.finish(), 0);
}

TEST_F(ImportCommandTest, TellsOfAFileThatIsNotThereOrIsNone)
{
    EXPECT_EQ(run({"import", folder.path("none.xml")}).code, 3);
    EXPECT_EQ(run({"import", folder.path()}).code, 4);
}

TEST_F(ImportCommandTest, ReadsStandardInput)
{
    done({"add", "a-1.0", "--path", "/bin/true"});
    const std::string document = run({"export", "a-1.0"}).out;
    done({"remove", "a-1.0"});
    EXPECT_EQ(run({"import", "-"}, document).code, 0);
    EXPECT_EQ(list(), "a-1.0\t/bin/true\n");
}

// Ten thousand applications: every command below a second, though instrumented code takes longer.
TEST_F(ImportCommandTest, TakesTenThousandApplicationsAtOnce)
{
    std::string document = "<Configuration escaped=\"true\">\n";
    for (int number = 0; number < 10000; ++number) {
        const std::string name = "app" + std::to_string(number) + "-1.0";
        document += "<Other velmoCode=\"/velmo/tevorotalk/" + name + "\"><Data key=\"Specifier\">"
            + name + "</Data><Data key=\"Path\">/bin/true</Data></Other>\n";
    }
    done({"import", folder.write("many.xml", document + "</Configuration>\n")});
    const std::string all = list();
    EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 10000);
    done({"remove", "app5000-1.0"});
    EXPECT_EQ(run({"export", "app9999-1.0"}).code, 0);
}

TEST_F(ImportCommandTest, ExportsNothingForWhatIsNotThere)
{
    const CommandResult result = run({"export", "a-1.0"});
    EXPECT_EQ(result.code, 3);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(run({"export", "groups"}).code, 0);
}

} // namespace
} // namespace test
