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

TEST_F(TevoroApplicationTest, AnswersEveryScriptWithItsText)
{
    EXPECT_EQ(startTevoro(), "on the bus as tevoro-2.0");
    const CommandResult result = run({"send", "tevoro-2.0", "app.beep();", "--wait", "20"});
    EXPECT_EQ(result.out, "app.beep();\n");
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(tevoro->interrupt(), 130);
    EXPECT_EQ(tevoro->rest(), "");
}

TEST_F(TevoroApplicationTest, PrintsALineForEachScriptWithoutAWindow)
{
    startTevoro({"--headless"});
    run({"send", "tevoro-2.0", "say(\"ü\");\n", "--wait", "20"});
    const Json line = Json::parse(tevoro->line());
    EXPECT_EQ(line["script"], "say(\"ü\");\n");
    EXPECT_EQ(line["result"], "say(\"ü\");\n");
    EXPECT_EQ(line["folder"], nullptr);
    EXPECT_EQ(line["status"], 0);
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
