// The whole road, as programs: from the card to the browser, which is registered, started or
// running already, or not there at all.

#include "e2e/MfxRun.h"
#include "platform/common/services/ProcessControl.h"
#include "support/ChildProgram.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <memory>

#include <gmock/gmock.h>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace e2e {

class HandOffTest : public MfxTest {
protected:
    static constexpr std::chrono::seconds kPatience{60};
    // Less than the sink waits for an answer that does not come.
    static constexpr std::chrono::seconds kWithoutWaiting{20};

    void SetUp() override
    {
        MfxTest::SetUp();
        setVariable("TEVOROTALK_PORT_DIR", m_bus.path("ports"));
        addFile("A.JPG", "photo");
    }
    void TearDown() override
    {
        for (const unsigned long id : browsers())
            ::kill(static_cast<pid_t>(id), SIGTERM);
    }

    std::unique_ptr<test::ChildProgram> start(std::vector<std::string> words) const
    {
        std::vector<std::string> command = test::assignments(environment());
        command.insert(command.begin(), {"/usr/bin/env", "-i"});
        command.insert(command.end(), words.begin(), words.end());
        return std::make_unique<test::ChildProgram>(command);
    }
    // What another program of ours says, which must end well.
    std::string outputOf(std::vector<std::string> words) const
    {
        const auto program = start(std::move(words));
        EXPECT_TRUE(program->waitForEnd(kPatience));
        EXPECT_EQ(program->code(), 0) << program->output();
        return program->output();
    }
    void registerBrowser(const std::string& path) const
    {
        outputOf({VELMO_CAPS, "add", "tevoro-2.0", "--path", path});
    }
    // A browser whose output lands in a file: the one that the bus starts has none.
    fs::path noisyBrowser() const
    {
        const fs::path path = root() / "noisy";
        std::ofstream(path) << "#!/bin/sh\nexec '" TEVORO "' --headless >>'" << told().string()
                            << "'\n";
        fs::permissions(path, fs::perms::owner_all);
        return path;
    }
    fs::path told() const { return root() / "told"; }

    // Those of this test.
    std::vector<unsigned long> browsers() const
    {
        std::vector<unsigned long> found;
        for (const unsigned long id : Pt::processesOfProgram(TEVORO))
            if (contentOf("/proc/" + std::to_string(id) + "/environ").find(root().string())
                != std::string::npos)
                found.push_back(id);
        return found;
    }

    // A download that must not have waited in vain, and all is safe.
    RunResult handedOff(const std::vector<std::string>& more = {"--open"})
    {
        const auto before = std::chrono::steady_clock::now();
        RunResult result = download(more);
        EXPECT_LT(std::chrono::steady_clock::now() - before, kWithoutWaiting);
        EXPECT_EQ(result.code, 0) << result.out << result.err;
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(contentOf(target() / "A.JPG"), "photo");
        expectNoLeftovers();
        return result;
    }
    static std::vector<std::string> messages(const RunResult& result)
    {
        std::vector<std::string> texts;
        for (const Json& event : result.events("message"))
            texts.push_back(event["text"]);
        return texts;
    }
    // The scripts in lines that a browser has written.
    static std::vector<std::string> scripts(const std::string& lines)
    {
        RunResult browser;
        browser.out = lines;
        std::vector<std::string> found;
        for (const Json& event : browser.events())
            found.push_back(event["script"]);
        return found;
    }
    std::string scriptForNew() const
    {
        const std::string folder = "(\"" + target().string() + "\")";
        return "if (app.documents.length == 0) app.browseTo " + folder
            + "; else { app.document.thumbnail = new Thumbnail " + folder
            + "; app.document.bringToFront (); } app.beep();'done';";
    }
    std::string scriptForRunning() const
    {
        return " app.browseTo (\"" + target().string() + "\");  app.beep() ;'done';";
    }

private:
    // The test's own tree is open to everybody, and the bus uses no folder in such a one.
    const test::TestFolder m_bus;
};

TEST_F(HandOffTest, StartsTheBrowserThatIsRegistered)
{
    registerBrowser(TEVORO);
    const RunResult result = handedOff();
    EXPECT_THAT(messages(result), Not(Contains(HasSubstr("registered"))));
    EXPECT_EQ(browsers().size(), 1U);
    EXPECT_THAT(outputOf({TEVOROTALK, "apps"}), HasSubstr("tevoro-2.0\tIDLE"));
}

TEST_F(HandOffTest, GivesTheStartedBrowserItsScript)
{
    registerBrowser(noisyBrowser());
    handedOff();
    EXPECT_THAT(scripts(contentOf(told())),
        ElementsAre(testing::StartsWith("// LAUNCHPARAMS:mfx-4.0\n"), scriptForNew()));
}

TEST_F(HandOffTest, GivesTheBrowserThatRunsItsScript)
{
    registerBrowser(TEVORO);
    const auto browser = start({TEVORO, "--headless"});
    ASSERT_TRUE(browser->waitFor("on the bus as tevoro-2.0", kPatience)) << browser->output();
    handedOff();
    ASSERT_TRUE(browser->waitFor("}\n", kPatience));
    const std::string lines = browser->output();
    EXPECT_THAT(scripts(lines.substr(lines.find('{'))), ElementsAre(scriptForRunning()));
    EXPECT_EQ(browsers().size(), 1U);
}

TEST_F(HandOffTest, FindsTheUsersStoreInASessionOfItsOwnAndHandsItOn)
{
    registerBrowser(TEVORO);
    handedOff();
    ASSERT_EQ(browsers().size(), 1U);
    const std::string environ =
        contentOf("/proc/" + std::to_string(browsers().front()) + "/environ");
    EXPECT_THAT(
        environ, HasSubstr("MFX_USER_DATA=" + (root() / "home/.local/share").string() + '\0'));
}

TEST_F(HandOffTest, SaysThatTheBrowserIsNotRegistered)
{
    const RunResult result = handedOff();
    EXPECT_THAT(messages(result),
        Contains("the result is not shown: tevoro is not registered; velmo-caps add tevoro-2.0 "
                 "--path PROGRAM does that"));
    EXPECT_TRUE(result.summary()["card_may_be_wiped"]);
}

TEST_F(HandOffTest, SaysNothingOfABrowserThatIsNotWanted)
{
    EXPECT_THAT(
        messages(handedOff({"--no-open"})), Not(Contains(HasSubstr("tevoro is not registered"))));
}

TEST_F(HandOffTest, WorksWithoutTheRegistrysLibrary)
{
    addFileOfTree("Frameworks/none", ""); // a tree of its own has none
    const RunResult result = handedOff();
    EXPECT_THAT(messages(result), Contains(HasSubstr("tevoro is not registered")));
}

} // namespace e2e
