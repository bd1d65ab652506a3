// What a process keeps, tells and says of itself when the clock is set.
#include "core/messaging/support/BusFixture.h"
#include "core/messaging/support/MovedClock.h"
#include "messaging/process/TevoroTalkThread.h"

namespace {

using namespace ScObjects;
using test::bytes;
using test::MovedClock;

constexpr std::int64_t kStoppedAt = 1'785'000'000'000;
constexpr std::int64_t kAnHour = 3'600'000;

// With the thread of the bus, in a time that stands still.
class ClockSetTest : public test::BusFixture {
protected:
    ClockSetTest()
    {
        MovedClock::stopAt(kStoppedAt);
        start();
    }
    ~ClockSetTest() override
    {
        TevoroTalk::InitTerm::exit();
        MovedClock::goOn();
    }

    static TevoroTalkThread& thread() { return *TevoroTalkThread::getMainThread(); }
    static std::string context()
    {
        SoString tree;
        Context::getCurrentContext()->appendDiagnostics(tree, "");
        return bytes(tree);
    }
    static void pumpAfter(std::int64_t milliseconds)
    {
        MovedClock::advance(milliseconds);
        for (const char* status : {"PUMPING", "IDLE"})
            thread().setKeyValuePair("STATUS", status);
    }
    // Some rounds of the thread, each of which drops keys whose time is over.
    static void letTheThreadLook() { TevoroTalkUtils::sleep(300); }
};

} // namespace

TEST_F(ClockSetTest, KeepsAKeyUntilItsTimeIsReallyOver)
{
    thread().setKeyValuePair("SIZE", "1");
    thread().setTimeout("SIZE", 60);
    MovedClock::step(kAnHour);
    letTheThreadLook();
    EXPECT_EQ(bytes(thread().getValueForKey("SIZE")), "1");
    MovedClock::advance(59'000);
    letTheThreadLook();
    EXPECT_EQ(bytes(thread().getValueForKey("SIZE")), "1");
    MovedClock::advance(1000);
    EXPECT_TRUE(waitUntil([] { return thread().locateKey("SIZE") == -1; }));
}

TEST_F(ClockSetTest, DropsAKeyWhoseTimeIsOverWhenTheClockWentBack)
{
    thread().setKeyValuePair("SIZE", "1");
    thread().setTimeout("SIZE", 60);
    MovedClock::step(-kAnHour);
    MovedClock::advance(60'000);
    EXPECT_TRUE(waitUntil([] { return thread().locateKey("SIZE") == -1; }));
}

TEST_F(ClockSetTest, IsNotBusyForAClockThatWasSetForward)
{
    pumpAfter(0);
    pumpAfter(100);
    MovedClock::step(kAnHour);
    EXPECT_EQ(bytes(thread().getValueForKey("STATUS")), "IDLE");
    // Its pace is the same.
    pumpAfter(100);
    MovedClock::advance(1000);
    EXPECT_EQ(bytes(thread().getValueForKey("STATUS")), "IDLE");
    MovedClock::advance(1);
    EXPECT_EQ(bytes(thread().getValueForKey("STATUS")), "BUSY");
}

TEST_F(ClockSetTest, TakesNoStepForThePaceOfAnApplication)
{
    pumpAfter(0);
    MovedClock::step(kAnHour); // before any pace is known
    pumpAfter(100);
    MovedClock::advance(1001);
    EXPECT_EQ(bytes(thread().getValueForKey("STATUS")), "BUSY");
}

TEST_F(ClockSetTest, IsToldInTheDiagnosticsOnceItHappened)
{
    letTheThreadLook(); // it sees the step to the time that stands still
    MovedClock::step(kAnHour);
    TevoroTalkUtils::sleep(300); // noticed without anybody's asking
    const std::int64_t at = (kStoppedAt + kAnHour) / 1000;
    EXPECT_THAT(context(),
        testing::HasSubstr("/context/clockset;0;Clock set;3600s forward at "
            + bytes(TevoroTalkUtils::getTimeString(&at)) + ";\n"));
    MovedClock::step(-90'000);
    EXPECT_TRUE(waitUntil([] { return context().find(";90s back at ") != std::string::npos; }));
}
