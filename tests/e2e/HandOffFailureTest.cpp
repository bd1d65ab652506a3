// What becomes of a download whose browser is busy, dies, cannot be started or does not want: the
// pictures are safe, the verdict stands before anybody is waited for, and mfx says in a word that
// nothing is shown, and why.

#include "e2e/support/HandOffFixture.h"

#include <gmock/gmock.h>

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace e2e {

class HandOffFailureTest : public HandOffFixture {
protected:
    // Somebody who holds the browser's name.
    std::unique_ptr<test::ChildProgram> runStandIn(const std::vector<std::string>& more) const
    {
        std::vector<std::string> words{TEVOROTALK, "listen", "tevoro-2.0"};
        words.insert(words.end(), more.begin(), more.end());
        auto program = start(words);
        EXPECT_TRUE(program->waitFor("listening as tevoro-2.0", kPatience)) << program->output();
        return program;
    }
    std::unique_ptr<test::ChildProgram> runBrowser() const
    {
        auto browser = start({TEVORO, "--headless"});
        EXPECT_TRUE(browser->waitFor("on the bus as tevoro-2.0", kPatience)) << browser->output();
        return browser;
    }
    std::unique_ptr<test::ChildProgram> startDownload() const
    {
        return start({MFX_PROGRAM,
            "download",
            card().string(),
            "--to",
            target().string(),
            "--open",
            "--json"});
    }
    static bool saysAllIsSafe(const RunResult& result)
    {
        return result.summary()["card_may_be_wiped"] == true;
    }
    // What it has printed, once it has ended.
    RunResult endOf(test::ChildProgram& mfx) const
    {
        EXPECT_TRUE(mfx.waitForEnd(kPatience)) << mfx.output();
        RunResult result;
        result.out = mfx.output();
        result.code = mfx.code();
        EXPECT_EQ(result.code, 0) << result.out;
        EXPECT_EQ(contentOf(target() / "A.JPG"), "photo");
        expectNoLeftovers();
        return result;
    }
    // All is told of the download, and then that nothing is shown.
    static void expectNotShown(const RunResult& result, const std::string& reason)
    {
        EXPECT_THAT(messages(result), Contains("the result is not shown: " + reason));
        EXPECT_TRUE(saysAllIsSafe(result));
        EXPECT_LT(result.out.find("\"summary\""), result.out.find("is not shown"));
    }
};

TEST_F(HandOffFailureTest, SaysThatTheBrowserEndsAtOnce)
{
    registerBrowser(program("exit 3"));
    expectNotShown(handedOff(), "tevoro has ended without an answer");
}

TEST_F(HandOffFailureTest, SaysThatTheBrowserCannotBeStarted)
{
    const fs::path plain = program("exit 3");
    fs::permissions(plain, fs::perms::owner_read);
    registerBrowser(plain);
    expectNotShown(handedOff(), "tevoro cannot be started from " + plain.string());
}

TEST_F(HandOffFailureTest, SaysThatTheBrowsersProgramIsGone)
{
    const fs::path gone = program("exit 3");
    registerBrowser(gone);
    fs::remove(gone);
    expectNotShown(handedOff(), "tevoro cannot be started from " + gone.string());
}

TEST_F(HandOffFailureTest, PassesOverAProgramThatOnlyStartsTheBrowser)
{
    registerBrowser(program(
        "(sleep 2; exec '" TEVORO "' --headless >>'" + told().string() + "') </dev/null 2>&1 &"));
    const RunResult result = handedOff();
    EXPECT_THAT(messages(result), Not(Contains(HasSubstr("not shown"))));
    EXPECT_THAT(scripts(contentOf(told())), Contains(scriptForNew()));
}

TEST_F(HandOffFailureTest, SaysThatTheBrowserThatRunsAnswersWithAnError)
{
    registerBrowser(TEVORO);
    const auto browser = runStandIn({"--error", "7"});
    const auto before = std::chrono::steady_clock::now();
    expectNotShown(handedOff(), "tevoro answers with an error");
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(6));
}

TEST_F(HandOffFailureTest, SaysThatTheBrowserThatItStartsAnswersWithAnError)
{
    registerBrowser(program("exec '" TEVOROTALK "' listen tevoro-2.0 --error 7 --seconds 20"));
    expectNotShown(handedOff(), "tevoro answers with an error");
}

// What the browser makes of a folder that it may not show.
TEST_F(HandOffFailureTest, SaysThatTheScriptFailsInTheBrowser)
{
    registerBrowser(TEVORO);
    const auto browser = runBrowser();
    const std::string quoted = (data() / "with \"quotes\"").string();
    const RunResult result = mfx({"download", card().string(), "--to", quoted, "--open", "--json"});
    EXPECT_EQ(result.code, 0) << result.err;
    expectNotShown(result, "tevoro answers with an error");
    EXPECT_EQ(contentOf(quoted + "/A.JPG"), "photo");
    EXPECT_EQ(browsers().size(), 1U);
}

TEST_F(HandOffFailureTest, WaitsForABrowserThatIsBusy)
{
    registerBrowser(TEVORO);
    const auto browser = runBrowser();
    browser->signal(SIGSTOP);
    const auto mfx = startDownload();
    ASSERT_TRUE(mfx->waitFor("waiting for tevoro", kPatience)) << mfx->output();
    EXPECT_THAT(mfx->output(), HasSubstr("\"summary\""));
    browser->signal(SIGCONT);
    EXPECT_THAT(messages(endOf(*mfx)), Not(Contains(HasSubstr("not shown"))));
    ASSERT_TRUE(browser->waitFor("}\n", kPatience));
    const std::string lines = browser->output();
    EXPECT_THAT(scripts(lines.substr(lines.find('{'))), ElementsAre(scriptForRunning()));
}

TEST_F(HandOffFailureTest, SaysThatTheBrowserHasDiedOverTheScript)
{
    registerBrowser(TEVORO);
    const auto browser = runBrowser();
    browser->signal(SIGSTOP); // the script arrives, and is not run
    const auto mfx = startDownload();
    ASSERT_TRUE(mfx->waitFor("waiting for tevoro", kPatience)) << mfx->output();
    browser->signal(SIGKILL);
    expectNotShown(endOf(*mfx), "tevoro has ended without an answer");
}

TEST_F(HandOffFailureTest, TellsTheVerdictOfATextRunBeforeItWaits)
{
    registerBrowser(program("exec sleep 120"));
    const auto mfx =
        start({MFX_PROGRAM, "download", card().string(), "--to", target().string(), "--open"});
    ASSERT_TRUE(mfx->waitFor("waiting for tevoro", kPatience)) << mfx->output();
    EXPECT_THAT(mfx->output(), HasSubstr("the card may be wiped."));
    EXPECT_FALSE(fs::exists(target() / ".mfxdownload")); // nothing is left even if it is killed
    mfx->signal(SIGTERM);
    EXPECT_TRUE(mfx->waitForEnd(kPatience));
    EXPECT_EQ(mfx->code(), 130);
}

TEST_F(HandOffFailureTest, TellsTheVerdictBehindTheDeletionAndBeforeTheWait)
{
    registerBrowser(program("exit 3"));
    const RunResult result = handedOff({"--open", "--delete-originals", "--yes"});
    expectNotShown(result, "tevoro has ended without an answer");
    EXPECT_EQ(result.summary()["deleted"], 1);
    EXPECT_EQ(result.events("summary").size(), 1U);
    EXPECT_LT(result.out.find("successfully deleted"), result.out.find("\"summary\""));
    const std::string behind = result.out.substr(result.out.find("\"summary\""));
    EXPECT_THAT(behind, Not(HasSubstr("\"progress\"")));
}

TEST_F(HandOffFailureTest, TellsOfFailedDeletionWhereNobodyAnswers)
{
    registerBrowser(program("exit 3"));
    const RunResult result = download({"--open", "--delete-originals"});
    EXPECT_EQ(result.code, 1) << result.out << result.err;
    EXPECT_TRUE(fs::exists(card() / "DCIM/100MFX/A.JPG"));
    EXPECT_THAT(messages(result), Contains(HasSubstr("tevoro has ended")));
}

// A sender that cannot read the user's salt makes digests that are not the user's.
TEST_F(HandOffFailureTest, NeverRunsAScriptWhoseDigestIsWrong)
{
    const auto browser = runBrowser();
    fs::create_directory(m_bus.path("stranger"));
    const auto stranger = start({"/usr/bin/env",
        "HOME=" + m_bus.path("stranger"),
        TEVOROTALK,
        "send",
        "tevoro-2.0",
        "app.beep(); 'done by a stranger';",
        "--wait",
        "2"});
    EXPECT_TRUE(stranger->waitForEnd(kPatience));
    EXPECT_EQ(stranger->code(), 1) << stranger->output();
    EXPECT_EQ(outputOf({TEVOROTALK, "send", "tevoro-2.0", "'known';", "--wait", "20"}), "known\n");
    ASSERT_TRUE(browser->waitFor("}\n", kPatience));
    EXPECT_THAT(browser->output(), AllOf(HasSubstr("known"), Not(HasSubstr("stranger"))));
    EXPECT_EQ(browsers().size(), 1U);
}

} // namespace e2e
