// The browser as a program on a bus of its own.
#include "apps/tevorotalk/BusFixture.h"

#include <csignal>

namespace test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

class TevoroApplicationTest : public BusFixture {
protected:
    // Returns once it is on the bus; the name that it says.
    std::string startTevoro(std::vector<std::string> words = {})
    {
        words.insert(words.begin(), TEVORO);
        tevoro = std::make_unique<PeerProcess>(words);
        return tevoro->errorLine();
    }

    std::unique_ptr<PeerProcess> tevoro;
};

TEST_F(TevoroApplicationTest, AnswersAScriptWithTheValueOfItsLastStatement)
{
    EXPECT_EQ(startTevoro(), "on the bus as tevoro-2.0");
    const CommandResult result =
        run({"send", "tevoro-2.0", "app.beep(); 'do' + 'ne';", "--wait", "20"});
    EXPECT_EQ(result.out, "done\n");
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(tevoro->interrupt(), 130);
    EXPECT_EQ(tevoro->rest(), "");
}

TEST_F(TevoroApplicationTest, AnswersAScriptThatFailsWithItsErrorAndStaysUp)
{
    startTevoro();
    const CommandResult result =
        run({"send", "tevoro-2.0", "app.browseTo (\"/a\"b\");", "--wait", "20"});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.err, HasSubstr("SyntaxError"));
    EXPECT_EQ(run({"send", "tevoro-2.0", "6 * 7", "--wait", "20"}).out, "42\n");
}

TEST_F(TevoroApplicationTest, OpensAWindowOnTheFolderThatAScriptNames)
{
    startTevoro();
    const std::string path = folder.path("pictures");
    std::filesystem::create_directory(path);
    const std::string script = "app.browseTo (\"" + path + "\"); app.document.thumbnail.path;";
    EXPECT_EQ(run({"send", "tevoro-2.0", script, "--wait", "20"}).out, path + "\n");
    EXPECT_EQ(run({"send", "tevoro-2.0", "app.documents.length", "--wait", "20"}).out, "1\n");
}

TEST_F(TevoroApplicationTest, PrintsALineForEachScriptWithoutAWindow)
{
    startTevoro({"--headless"});
    run({"send", "tevoro-2.0", "'ü';\n", "--wait", "20"});
    const Json line = Json::parse(tevoro->line());
    EXPECT_EQ(line["script"], "'ü';\n");
    EXPECT_EQ(line["result"], "ü");
    EXPECT_EQ(line["folder"], nullptr);
    EXPECT_EQ(line["status"], nullptr);
    EXPECT_FALSE(line.contains("error"));
}

TEST_F(TevoroApplicationTest, TellsWhatItWouldShowWithoutAWindow)
{
    startTevoro({"--headless", folder.path()});
    run({"send", "tevoro-2.0", "app.document.status = \"Files Copied\";", "--wait", "20"});
    Json line = Json::parse(tevoro->line());
    EXPECT_EQ(line["folder"], folder.path());
    EXPECT_EQ(line["status"], "Files Copied");
    run({"send", "tevoro-2.0", "app.browseTo(\"/elsewhere\");", "--wait", "20"});
    line = Json::parse(tevoro->line());
    EXPECT_EQ(line["folder"], "/elsewhere");
    EXPECT_EQ(line["status"], "");
    run({"send", "tevoro-2.0", "nothing.of.this", "--wait", "20"});
    line = Json::parse(tevoro->line());
    EXPECT_EQ(line["result"], nullptr);
    EXPECT_THAT(line["error"].get<std::string>(), HasSubstr("nothing"));
}

TEST_F(TevoroApplicationTest, DoesNotPrintAScriptThatIsTooLong)
{
    startTevoro({"--headless"});
    const std::string script(17 << 20, ' ');
    const CommandResult result = run({"send", "tevoro-2.0", "-", "--wait", "20"}, script);
    EXPECT_THAT(result.err, HasSubstr("the script is too long"));
    EXPECT_EQ(result.code, 1);
    const Json line = Json::parse(tevoro->line());
    EXPECT_EQ(line["script"], nullptr);
    EXPECT_EQ(line["error"], "the script is too long");
}

TEST_F(TevoroApplicationTest, SaysThatThereIsNoDisplay)
{
    environment.unset("QT_QPA_PLATFORM");
    environment.unset("DISPLAY");
    environment.unset("WAYLAND_DISPLAY");
    PeerProcess process({TEVORO});
    EXPECT_THAT(process.errors(), HasSubstr("there is no display; without one, use --headless"));
    EXPECT_EQ(process.finish(), 5);
}

TEST_F(TevoroApplicationTest, AnswersWhatIsNoScriptWithAnError)
{
    startTevoro();
    const CommandResult result =
        run({"send", "tevoro-2.0", "text", "--type", "Picture", "--wait", "20"});
    EXPECT_EQ(result.code, 1);
}

TEST_F(TevoroApplicationTest, HoldsTheNameThatItIsGiven)
{
    EXPECT_EQ(startTevoro({"--as", "viewer-1.0"}), "on the bus as viewer-1.0");
    EXPECT_EQ(
        startTevoro({"-specifier", "shower-1.0", "-instance", "3"}), "on the bus as shower_3-1.0");
}

TEST_F(TevoroApplicationTest, TakesANumberWhenItsNameIsHeld)
{
    listen("tevoro-2.0");
    EXPECT_EQ(startTevoro(), "on the bus as tevoro_1-2.0");
}

TEST_F(TevoroApplicationTest, LeavesNoFilesWhenASignalEndsIt)
{
    startTevoro();
    ::kill(tevoro->id(), SIGTERM);
    EXPECT_EQ(tevoro->finish(), 130);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path("ports")));
}

TEST_F(TevoroApplicationTest, EndsWithTwoForANameThatIsNone)
{
    PeerProcess process({TEVORO, "--as", std::string(300, 'n')});
    EXPECT_THAT(process.errors(), HasSubstr("no name on the bus"));
    EXPECT_EQ(process.finish(), 2);
}

TEST_F(TevoroApplicationTest, EndsWhenNobodyCanReadItsLines)
{
    PeerProcess shell({"/bin/sh", "-c", TEVORO " --headless >/dev/full"});
    EXPECT_EQ(shell.errorLine(), "on the bus as tevoro-2.0");
    run({"send", "tevoro-2.0", "text", "--wait", "20"});
    EXPECT_EQ(shell.finish(), 4);
}

} // namespace
} // namespace test
