// The whole road, as programs: from the card to the browser, which is registered, started or
// running already, or not there at all.

#include "e2e/support/HandOffFixture.h"

#include <gmock/gmock.h>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace e2e {

using HandOffTest = HandOffFixture;

TEST_F(HandOffTest, StartsTheBrowserThatIsRegistered)
{
    registerBrowser(TEVORO);
    const RunResult result = handedOff();
    EXPECT_THAT(messages(result), Not(Contains(HasSubstr("registered"))));
    EXPECT_EQ(browsers().size(), 1U);
    EXPECT_THAT(outputOf({TEVOROTALK, "apps"}), HasSubstr("tevoro-2.0\tIDLE"));
}

// The download needs no display; the browser does.
TEST_F(HandOffTest, LeavesItToTheBrowserWhereItOpensItsWindow)
{
    unsetVariable("QT_QPA_PLATFORM");
    registerBrowser(TEVORO);
    handedOff();
    ASSERT_EQ(browsers().size(), 1U);
    const std::string environ =
        contentOf("/proc/" + std::to_string(browsers().front()) + "/environ");
    EXPECT_THAT(environ, Not(HasSubstr("QT_QPA_PLATFORM=")));
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
    EXPECT_THAT(environ, HasSubstr("MFX_USER_DATA=" + m_bus.path("home/.local/share") + '\0'));
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

TEST_F(HandOffTest, SaysWhatItWaitsForAndLetsAnInterruptEndTheWait)
{
    registerBrowser(program("exec sleep 120")); // never comes onto the bus
    const auto mfx = start(
        {MFX_PROGRAM, "download", card().string(), "--to", target().string(), "--open", "--json"});
    ASSERT_TRUE(mfx->waitFor("waiting for tevoro to show the result", kPatience)) << mfx->output();
    const auto before = std::chrono::steady_clock::now();
    mfx->signal(SIGINT);
    ASSERT_TRUE(mfx->waitForEnd(kPatience));
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(5));
    EXPECT_EQ(mfx->code(), 130);
    RunResult result;
    result.out = mfx->output();
    EXPECT_LT(result.out.find("summary"), result.out.find("waiting for tevoro"));
    EXPECT_THAT(messages(result), Not(Contains(HasSubstr("not shown")))); // who interrupts knows
    EXPECT_FALSE(result.summary()["interrupted"]);
    EXPECT_TRUE(result.summary()["card_may_be_wiped"]);
    expectNoLeftovers();
}

TEST_F(HandOffTest, NotesForTheBrowserWhereSecondCopiesLie)
{
    const std::string backup = (root() / "second").string();
    handedOff({"--open", "--backup", backup});
    const Json notes = Json::parse(contentOf(m_bus.path("home/.local/state/mfx/copy-places.json")));
    ASSERT_EQ(notes.size(), 1U);
    EXPECT_EQ(notes[0]["pictures"], target().string());
    EXPECT_EQ(notes[0]["backup"], backup);
}

} // namespace e2e
