#include "messaging/process/LaunchHandlers.h"

#include "core/messaging/support/LaunchFixture.h"
#include "core/messaging/support/MovedClock.h"
#include "messaging/TevoroTalkPing.h"
#include "messaging/process/Launcher.h"

namespace {

using ScObjects::LaunchReceivedMsgHandler;
using ScObjects::LaunchTimeoutMsgHandler;
using ScObjects::SoString;
using ScObjects::TevoroTalkUtils::Launcher;
using test::MovedClock;
using testing::IsEmpty;

constexpr const char* kKey = "LAUNCHPARAMS:self-1.0";
constexpr const char* kFlag = "launched-2.0#haslaunchparams";
constexpr std::uint32_t kNumber = 40;

class LaunchHandlersTest : public test::LaunchFixture {
protected:
    LaunchHandlersTest()
    {
        start();
        MovedClock::stop();
        TevoroTalk::Thread::setPingValue(kKey, "parameters");
    }
    ~LaunchHandlersTest() override { MovedClock::goOn(); }

    LaunchTimeoutMsgHandler& installTimeout(std::uint32_t number = kNumber)
    {
        auto* const installed =
            new LaunchTimeoutMsgHandler(kKey, number, "launched_1-2.0#launchparams");
        delete self->changeHandler(installed);
        return *installed;
    }
    LaunchReceivedMsgHandler& installReceived()
    {
        auto* const installed = new LaunchReceivedMsgHandler(kNumber);
        delete self->changeHandler(installed);
        return *installed;
    }
    bool has(const char* type, std::uint32_t number = kNumber) const
    {
        const TevoroTalk::MsgHandler* const found = self->findHandler(type, number);
        return found != nullptr && found->getSerialNumber() == number;
    }
    // A call by the instance that the message names.
    static long call(
        TevoroTalk::MsgHandler& called, SoString* result, const char* target = "self-1.0")
    {
        Message message;
        message.target = target;
        return called.handleMessage(0, message, result);
    }
    static std::string keyValue() { return test::bytes(TevoroTalk::Thread::getPingValue(kKey)); }
};

TEST_F(LaunchHandlersTest, HandleOneMessageEach)
{
    EXPECT_STREQ(installTimeout().getMsgType(), "Timeout");
    EXPECT_EQ(installTimeout().getSerialNumber(), kNumber);
    EXPECT_STREQ(installReceived().getMsgType(), "Received");
    EXPECT_EQ(installReceived().getSerialNumber(), kNumber);
}

TEST_F(LaunchHandlersTest, HoldTheFlagAsLongAsTheTimeoutLives)
{
    const LaunchTimeoutMsgHandler& timeout = installTimeout();
    EXPECT_FALSE(isFree(kFlag));
    EXPECT_EQ(keyValue(), "parameters");
    self->deleteHandler(&timeout);
    EXPECT_TRUE(isFree(kFlag));
    EXPECT_EQ(keyValue(), "");
}

TEST_F(LaunchHandlersTest, HoldNoFlagWithoutAQueue)
{
    const LaunchTimeoutMsgHandler timeout(kKey, kNumber, "");
    EXPECT_TRUE(isFree(kFlag));
}

TEST_F(LaunchHandlersTest, EndTogetherByTheTimeout)
{
    installReceived();
    SoString result;
    EXPECT_EQ(call(installTimeout(), &result), 0);
    EXPECT_EQ(result, "LAUNCHED");
    EXPECT_FALSE(has("Received"));
    EXPECT_EQ(keyValue(), "");
}

TEST_F(LaunchHandlersTest, EndTogetherByTheReceipt)
{
    installTimeout();
    EXPECT_EQ(call(installReceived(), nullptr), 0);
    EXPECT_FALSE(has("Timeout"));
    EXPECT_TRUE(isFree(kFlag));
    EXPECT_EQ(keyValue(), "");
}

TEST_F(LaunchHandlersTest, LeaveEachOtherWithoutAnInstance)
{
    LaunchTimeoutMsgHandler& timeout = installTimeout();
    EXPECT_EQ(call(installReceived(), nullptr, "nobody"), 0);
    EXPECT_TRUE(has("Timeout"));
    EXPECT_EQ(call(timeout, nullptr, "nobody"), 0);
    EXPECT_TRUE(has("Received"));
    EXPECT_EQ(keyValue(), "");
}

TEST_F(LaunchHandlersTest, TakeNoHandlerOfTheApplicationAway)
{
    LaunchTimeoutMsgHandler& timeout = installTimeout();
    auto* const own = new test::InboxHandler(inbox, "Received");
    delete self->changeHandler(own);
    call(timeout, nullptr);
    EXPECT_EQ(self->findHandler("Received", kNone), own);
}

TEST_F(LaunchHandlersTest, TakeCompanionsAway)
{
    const Paused paused;
    installTimeout(41);
    Launcher::queueParameters(*self, *Context::getCurrentContext(), "launched#1", "parameters");
    LaunchReceivedMsgHandler& received = installReceived();
    received.addCompanion(41);
    call(received, nullptr);
    EXPECT_FALSE(has("Timeout", 41));
    EXPECT_THAT(queued(*self, "out", "Target"), IsEmpty());
}

// The road of a whole launch.
class WholeLaunchTest : public LaunchHandlersTest {
protected:
    void launch(const char* mode)
    {
        environment.set("LAUNCHED_MODE", mode);
        first = Context::getCurrentContext()->nextSerialNumber();
        const SoString parameters = "-specifier launched-2.0";
        EXPECT_TRUE(Launcher::launch(
            kLaunched, LAUNCHED_APPLICATION, &parameters, Launcher::kTakeFocus, nullptr));
    }
    int handlers() const
    {
        int count = 0;
        for (const std::uint32_t number : {first + 1, first + 2})
            for (const char* type : {"Timeout", "Received"})
                count += has(type, number) ? 1 : 0;
        return count;
    }

    std::uint32_t first = 0;
};

TEST_F(WholeLaunchTest, WaitsForItsTime)
{
    launch("silent");
    MovedClock::advance(299'000);
    pump();
    EXPECT_EQ(handlers(), 4);
    EXPECT_FALSE(isFree(kFlag));
}

TEST_F(WholeLaunchTest, IsClearedAwayWhenItsTimeIsOver)
{
    launch("silent");
    MovedClock::advance(300'000);
    EXPECT_TRUE(pumpUntil([&] { return handlers() == 0; }));
    EXPECT_TRUE(isFree(kFlag));
    EXPECT_EQ(keyValue(), "");
    EXPECT_THAT(inbox.words(), IsEmpty()) << "the application hears nothing of it";
}

TEST_F(WholeLaunchTest, IsDroppedFromTheQueueInTheEnd)
{
    launch("silent");
    for (int i = 0; i < 5; ++i) { // each attempt is a new beginning, for ten minutes
        MovedClock::advance(300'000);
        pump();
    }
    EXPECT_TRUE(pumpUntil([&] { return queued(*self, "out", "Target").empty(); }));
}

TEST_F(WholeLaunchTest, TellsTheApplicationNothingOnceItWasReceived)
{
    launch("answers");
    EXPECT_TRUE(pumpUntil([&] { return handlers() == 2; })) << "those of the one for the process";
    EXPECT_TRUE(isFree(kFlag));
    MovedClock::advance(300'000);
    EXPECT_TRUE(pumpUntil([&] { return handlers() == 0; }));
    EXPECT_THAT(inbox.words(), IsEmpty());
}

} // namespace
