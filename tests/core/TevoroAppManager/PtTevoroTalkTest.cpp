#include "TevoroAppManager/PtTevoroTalk.h"

#include "TevoroAppManager/HelloHandler.h"
#include "core/TevoroAppManager/support/HandOffFixture.h"
#include "core/messaging/support/PingFixture.h"

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using ScObjects::TevoroTalk;

class PtTevoroTalkTest : public test::HandOffFixture {
protected:
    static bool isBusUp() { return Context::getCurrentContext() != nullptr; }

    int send(bool bringToFront = false) { return m_bus.DoLaunchTevoro("script;", bringToFront); }

    // Leaves a message for an application that is started and does not come.
    static void queueForOther()
    {
        TevoroTalk& ours = *TevoroTalk::get("mfx-4.0", nullptr);
        EXPECT_FALSE(test::HandOffFixture::send(ours, *request("other-1.0"), true));
        EXPECT_TRUE(ours.outgoingMessagePending());
    }

    PtTevoroTalk m_bus{clock};
};

TEST_F(PtTevoroTalkTest, HoldsTheHostsNameOnTheBus)
{
    EXPECT_EQ(m_bus.Initialize(), 1);
    EXPECT_EQ(test::bytes(TevoroTalk::getSharedAppName()), "mfx-4.0");
    EXPECT_NE(TevoroTalk::get("mfx-4.0", nullptr), nullptr);
}

TEST_F(PtTevoroTalkTest, EndsTheBusWithTheLastOne)
{
    m_bus.Initialize();
    PtTevoroTalk second(clock);
    EXPECT_EQ(second.Initialize(), 1);
    m_bus.Terminate();
    EXPECT_TRUE(isBusUp());
    m_bus.Terminate(); // once is enough
    EXPECT_TRUE(isBusUp());
    second.Terminate();
    EXPECT_FALSE(isBusUp());
}

TEST_F(PtTevoroTalkTest, EndsTheBusWhenItGoesWithoutAWord)
{
    {
        PtTevoroTalk passing(clock);
        passing.Initialize();
        EXPECT_TRUE(isBusUp());
    }
    EXPECT_FALSE(isBusUp());
}

TEST_F(PtTevoroTalkTest, StartsTheBusAnewAfterTheLastOne)
{
    for (int i = 0; i < 3; ++i) {
        PtTevoroTalk each(clock);
        each.Initialize();
        EXPECT_EQ(test::bytes(TevoroTalk::getSharedAppName()), "mfx-4.0");
        each.Terminate();
        EXPECT_FALSE(isBusUp());
    }
}

TEST_F(PtTevoroTalkTest, LeavesABusAloneThatWasThereBefore)
{
    const TevoroTalk& hosts = start("host-1.0");
    m_bus.Initialize();
    m_bus.Terminate();
    EXPECT_TRUE(isBusUp());
    EXPECT_EQ(TevoroTalk::get("host-1.0", nullptr), &hosts);
}

TEST_F(PtTevoroTalkTest, SendsTheScriptWithALastStatementOfItsOwn)
{
    registry.add(kTevoro);
    m_bus.Initialize();
    runTevoro();
    EXPECT_EQ(m_bus.DoLaunchTevoro("a(\"\xC3\xA9\\\");", false), 0);
    EXPECT_THAT(inbox.bodies(), ElementsAre("a(\"\xC3\xA9\\\");'done';"));
    EXPECT_EQ(inbox.at(0).reason, TevoroTalk::MsgHandler::kRequest);
    EXPECT_EQ(inbox.at(0).sender, "mfx-4.0");
    EXPECT_EQ(inbox.at(0).target, kTevoro);
    EXPECT_THAT(registry.launched, IsEmpty());
}

TEST_F(PtTevoroTalkTest, PausesOneSecondAtATimeUntilTheAnswer)
{
    registry.add(kTevoro);
    m_bus.Initialize();
    another(kTevoro);
    clock.inPause = [this] {
        if (clock.pauses.size() == 7)
            gMessageReceived = 1;
    };
    EXPECT_EQ(send(), 0);
    EXPECT_THAT(clock.pauses, SizeIs(7));
    EXPECT_THAT(clock.pauses, Each(std::chrono::seconds(1)));
}

TEST_F(PtTevoroTalkTest, GivesUpAfterTwentyNineRounds)
{
    registry.add(kTevoro);
    m_bus.Initialize();
    another(kTevoro); // without a handler nothing comes back
    gMessageReceived = 1; // of an earlier one
    EXPECT_EQ(send(true), -2);
    EXPECT_THAT(clock.pauses, SizeIs(29));
    EXPECT_THAT(registry.broughtToFront, IsEmpty());
}

TEST_F(PtTevoroTalkTest, TakesAnErrorForNoAnswer)
{
    registry.add(kTevoro);
    m_bus.Initialize();
    runTevoro().code = 7;
    EXPECT_EQ(send(), -2);
    EXPECT_THAT(inbox.bodies(), ElementsAre("script;'done';"));
}

TEST_F(PtTevoroTalkTest, TakesAnAnswerInTheLastRound)
{
    registry.add(kTevoro);
    m_bus.Initialize();
    another(kTevoro);
    clock.inPause = [this] { gMessageReceived = clock.pauses.size() == 29 ? 1 : 0; };
    EXPECT_EQ(send(), 0);
}

TEST_F(PtTevoroTalkTest, SendsNothingWhereTheApplicationIsNotThere)
{
    m_bus.Initialize();
    EXPECT_FALSE(m_bus.targetIsRunning());
    EXPECT_EQ(send(true), -1);
    EXPECT_THAT(clock.pauses, IsEmpty());
    EXPECT_THAT(registry.launched, IsEmpty());
}

TEST_F(PtTevoroTalkTest, StartsTheApplicationThatDoesNotRun)
{
    registry.add(kTevoro);
    registry.whenLaunched = [this] { runTevoro(); };
    m_bus.Initialize();
    clock.inPause = [] { ScObjects::TevoroTalkUtils::sleep(10); }; // the text goes through a port
    EXPECT_FALSE(m_bus.targetIsRunning());
    EXPECT_EQ(send(), 0);
    EXPECT_TRUE(m_bus.targetIsRunning());
    EXPECT_THAT(registry.launched, ElementsAre(kTevoro));
    EXPECT_THAT(inbox.bodies(), ElementsAre("script;'done';"));
}

TEST_F(PtTevoroTalkTest, BringsTheApplicationToFrontWhenAskedTo)
{
    registry.add(kTevoro);
    m_bus.Initialize();
    runTevoro();
    EXPECT_EQ(send(false), 0);
    EXPECT_THAT(registry.broughtToFront, IsEmpty());
    EXPECT_EQ(send(true), 0);
    EXPECT_THAT(registry.broughtToFront, ElementsAre("tevoro"));
}

TEST_F(PtTevoroTalkTest, GoesOnWhenAnotherSinkHasGone)
{
    registry.add(kTevoro);
    m_bus.Initialize();
    {
        PtTevoroTalk second(clock);
        second.Initialize();
        runTevoro();
        EXPECT_EQ(second.DoLaunchTevoro("second;", false), 0);
    }
    EXPECT_EQ(send(), 0);
    EXPECT_THAT(inbox.bodies(), ElementsAre("second;'done';", "script;'done';"));
}

TEST_F(PtTevoroTalkTest, AsksTheApplicationWhetherItIsBusy)
{
    registry.add(kTevoro);
    m_bus.Initialize();
    EXPECT_FALSE(m_bus.isTevoroBusy());
    test::Peer tevoro(kTevoro);
    EXPECT_FALSE(m_bus.isTevoroBusy());
    EXPECT_EQ(tevoro.tell("value STATUS BUSY 0"), "set");
    EXPECT_TRUE(m_bus.isTevoroBusy());
}

TEST_F(PtTevoroTalkTest, WaitsAThousandSecondsAtATimeForWhatIsNotSent)
{
    registry.add("other-1.0");
    m_bus.Initialize();
    m_bus.sendPending();
    EXPECT_THAT(clock.pauses, IsEmpty());
    queueForOther();
    m_bus.sendPending();
    EXPECT_THAT(clock.pauses, SizeIs(60));
    EXPECT_THAT(clock.pauses, Each(std::chrono::seconds(1000)));
}

TEST_F(PtTevoroTalkTest, StopsToWaitWhenAllIsSent)
{
    registry.add("other-1.0");
    m_bus.Initialize();
    queueForOther();
    clock.inPause = [this] {
        if (clock.pauses.size() != 2)
            return;
        another("other-1.0");
        another("other-1.0#launchparams"); // which wait, too
    };
    m_bus.sendPending();
    EXPECT_THAT(clock.pauses, SizeIs(3));
    EXPECT_FALSE(TevoroTalk::get("mfx-4.0", nullptr)->outgoingMessagePending());
}

} // namespace
