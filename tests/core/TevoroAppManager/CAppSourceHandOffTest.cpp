// What the browser application gets when a download ends, and when the host wants it in front.

#include "TevoroAppManager/CAppSource.h"
#include "core/TevoroAppManager/support/HandOffFixture.h"
#include "core/TevoroAppManager/support/HostDialogs.h"
#include "core/TevoroAppManager/support/HostItems.h"
#include "core/TevoroAppManager/support/HostPanel.h"
#include "core/TevoroAppManager/support/RuntimeTree.h"
#include "core/messaging/support/PingFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr char kShow[] = " app.browseTo (\"/t\");  app.beep() ;'done';";
constexpr char kShowInNew[] =
    "if (app.documents.length == 0) app.browseTo (\"/t\"); else { app.document.thumbnail = new "
    "Thumbnail (\"/t\"); app.document.bringToFront (); } app.beep();'done';";
constexpr char kTell[] =
    "{ app.beep();app.document.status = \"Files Successfully Copied\"; }'done';";

// What happens when the host deletes an item.
std::function<void()> gWhenDeleting;

bool deleteAndTell(long& key)
{
    key = 0;
    if (gWhenDeleting)
        gWhenDeleting();
    return false;
}

class CAppSourceHandOffTest : public test::HandOffFixture {
protected:
    CAppSourceHandOffTest()
    {
        registry.add(kTevoro);
        registry.whenLaunched = [this] { runTevoro(); };
        clock.inPause = [] { ScObjects::TevoroTalkUtils::sleep(1); }; // a launched one has a port
        m_sink->AddRef();
        m_sink->SetClientUIHandler(&m_panel);
        m_journal.clear();
    }
    ~CAppSourceHandOffTest() override
    {
        gWhenDeleting = nullptr;
        EXPECT_EQ(m_sink->Release(), 0U);
        EXPECT_EQ(Context::getCurrentContext(), nullptr);
    }

    // The bodies that came for it.
    Words handedOff(bool launches, std::vector<std::string> folders = {"/t"})
    {
        m_panel.check("launchtevoro_checkbox", launches);
        test::HostItems items(std::move(folders));
        unsigned long count = 0;
        EXPECT_EQ(
            m_sink->PushAllMediaItems(items, m_display, count, nullptr, deleteAndTell), kFxOk);
        return inbox.bodies();
    }
    FxStatus invoke() { return m_sink->InvokeHostApp(nullptr, 0, nullptr); }

    test::RuntimeTree m_tree;
    test::Journal m_journal;
    test::HostPanel m_panel{m_journal};
    test::HostDisplay m_display{m_journal};
    test::HostProgress m_progress{m_journal};
    CAppSource* const m_sink = new CAppSource(CAppInfo(), screenDialogs(), clock);
};

TEST_F(CAppSourceHandOffTest, ShowsTheFolderInTheApplicationThatRuns)
{
    runTevoro();
    EXPECT_THAT(handedOff(true), ElementsAre(kShow));
    EXPECT_THAT(registry.broughtToFront, ElementsAre("tevoro"));
    EXPECT_THAT(m_journal.take(), IsEmpty());
}

TEST_F(CAppSourceHandOffTest, TellsTheApplicationThatRunsAndLeavesItBehind)
{
    runTevoro();
    EXPECT_THAT(handedOff(false), ElementsAre(kTell));
    EXPECT_THAT(registry.broughtToFront, IsEmpty());
    EXPECT_THAT(m_journal.take(), IsEmpty());
}

TEST_F(CAppSourceHandOffTest, StartsTheApplicationToShowTheFolder)
{
    EXPECT_THAT(handedOff(true), ElementsAre(kShowInNew));
    EXPECT_THAT(registry.launched, ElementsAre(kTevoro));
    EXPECT_THAT(registry.broughtToFront, ElementsAre("tevoro"));
}

TEST_F(CAppSourceHandOffTest, SendsNothingToWhoIsNotRunningAndNotWanted)
{
    EXPECT_THAT(handedOff(false), IsEmpty());
    EXPECT_THAT(registry.launched, IsEmpty());
    EXPECT_THAT(clock.pauses, IsEmpty());
    EXPECT_THAT(m_journal.take(), SizeIs(1)) << "the notice of copied files";
}

TEST_F(CAppSourceHandOffTest, DoublesBackslashesAndNothingElse)
{
    runTevoro();
    EXPECT_THAT(handedOff(true, {R"(/t/a\b\\c "d" 'e' %1)"}),
        ElementsAre(R"( app.browseTo ("/t/a\\b\\\\c "d" 'e' %1");  app.beep() ;'done';)"));
}

TEST_F(CAppSourceHandOffTest, SendsTheFolderInUTF8)
{
    runTevoro();
    EXPECT_THAT(handedOff(true, {"/t/\xC3\xA9\xE6\x97\xA5\xF0\x9F\x93\xB7"}),
        ElementsAre(
            " app.browseTo (\"/t/\xC3\xA9\xE6\x97\xA5\xF0\x9F\x93\xB7\");  app.beep() ;'done';"));
}

TEST_F(CAppSourceHandOffTest, NamesTheCommonFolderAndNoneForNoItems)
{
    runTevoro();
    handedOff(true, {"/t/a", "/t/b"});
    EXPECT_THAT(
        handedOff(true, {}), ElementsAre(kShow, " app.browseTo (\"\");  app.beep() ;'done';"));
}

// The deletion may take long: what was true before it counts no more.
TEST_F(CAppSourceHandOffTest, AsksAfreshWhetherTheApplicationRuns)
{
    m_panel.check("deletefiles_checkbox");
    m_display.answer = 6;
    m_sink->SetProgressHandler(&m_progress);
    gWhenDeleting = [this] { runTevoro(); };
    EXPECT_THAT(handedOff(true), ElementsAre(kShow));
    EXPECT_THAT(registry.launched, IsEmpty());
}

TEST_F(CAppSourceHandOffTest, EndsWellWithoutAnAnswer)
{
    another(kTevoro);
    EXPECT_THAT(handedOff(true), IsEmpty());
    EXPECT_THAT(clock.pauses, SizeIs(29));
    EXPECT_THAT(m_journal.take(), IsEmpty());
}

TEST_F(CAppSourceHandOffTest, EndsWellAndAtOnceWhereNoApplicationIsInstalled)
{
    registry.specifiers.clear();
    registry.paths.clear();
    EXPECT_THAT(handedOff(true), IsEmpty());
    EXPECT_THAT(clock.pauses, IsEmpty());
    EXPECT_EQ(invoke(), kFxErrBadArgument);
    EXPECT_THAT(clock.pauses, IsEmpty());
}

TEST_F(CAppSourceHandOffTest, OpensTheApplicationsOwnDownloadView)
{
    runTevoro();
    EXPECT_EQ(invoke(), kFxOk);
    EXPECT_THAT(inbox.bodies(),
        ElementsAre("{ app.runMediafetcher();app.document.bringToFront (); }'done';"));
    EXPECT_THAT(registry.broughtToFront, ElementsAre("tevoro"));
}

TEST_F(CAppSourceHandOffTest, StartsTheApplicationForItsDownloadView)
{
    EXPECT_EQ(invoke(), kFxOk);
    EXPECT_THAT(registry.launched, ElementsAre(kTevoro));
    EXPECT_THAT(inbox.bodies(), SizeIs(1));
}

TEST_F(CAppSourceHandOffTest, TakesADownloadViewThatDoesNotAnswerForOpened)
{
    another(kTevoro);
    EXPECT_EQ(invoke(), kFxOk);
    EXPECT_THAT(clock.pauses, SizeIs(29));
}

TEST_F(CAppSourceHandOffTest, LeavesABusyApplicationInPeace)
{
    test::Peer tevoro(kTevoro);
    EXPECT_EQ(tevoro.tell("value STATUS BUSY 0"), "set");
    EXPECT_EQ(invoke(), kFxOk);
    // It does not pump: a script would have been waited for.
    EXPECT_THAT(clock.pauses, IsEmpty());
    EXPECT_THAT(registry.broughtToFront, IsEmpty());
}

// Seconds, not milliseconds.
TEST_F(CAppSourceHandOffTest, StaysWhileAMessageWaitsForItsTarget)
{
    runTevoro();
    registry.add("other-1.0");
    registry.whenLaunched = nullptr;
    const auto message = request("other-1.0");
    EXPECT_FALSE(send(*TevoroTalk::get("mfx-4.0", nullptr), *message, true));
    EXPECT_EQ(invoke(), kFxOk);
    EXPECT_EQ(std::ranges::count(clock.pauses, std::chrono::seconds(1000)), 60);
}

TEST_F(CAppSourceHandOffTest, SharesTheBusWithAnotherSink)
{
    runTevoro();
    auto* const second = new CAppSource(CAppInfo(), screenDialogs(), clock);
    second->AddRef();
    EXPECT_EQ(second->InvokeHostApp(nullptr, 0, nullptr), kFxOk);
    second->Release();
    EXPECT_THAT(handedOff(true), SizeIs(2));
    EXPECT_EQ(inbox.bodies().back(), kShow);
}

} // namespace
