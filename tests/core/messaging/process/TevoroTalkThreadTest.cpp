#include "messaging/process/TevoroTalkThread.h"

#include "core/messaging/support/BusFixture.h"
#include "core/messaging/support/MovedClock.h"

#include <memory>
#include <string>

namespace {

using namespace ScObjects;
using test::bytes;
using test::InboxHandler;
using test::MovedClock;

constexpr std::int64_t kStart = 1'785'000'000'000;

// A thread that never runs, in a time that stands still.
class TevoroTalkThreadTest : public test::BusFixture {
protected:
    TevoroTalkThreadTest() { MovedClock::stopAt(kStart); }
    ~TevoroTalkThreadTest() override { MovedClock::goOn(); }

    std::string value(const char* key) const { return bytes(m_thread->getValueForKey(key)); }
    bool set(const char* key, const char* text) const
    {
        return m_thread->setKeyValuePair(key, text);
    }
    void pumpAfter(std::int64_t milliseconds) const
    {
        MovedClock::advance(milliseconds);
        set("STATUS", "PUMPING");
        set("STATUS", "IDLE");
    }

    // The value of that line of the thread's part of the tree.
    std::string line(const std::string& path) const
    {
        SoString tree;
        m_thread->appendDiagnostics(tree, "");
        const std::string lines = "\n" + bytes(tree);
        const std::size_t at = lines.find("\n/thread" + path + ";");
        if (at == std::string::npos)
            return "(no line)";
        SoString name, label, text;
        bool hasChildren = false;
        TevoroTalkUtils::parseInfoLine(lines.c_str() + at + 1, name, label, text, hasChildren);
        return bytes(text);
    }
    double average() const { return std::stod(line("/avgpump")); }
    double sinceLastPump() const { return std::stod(line("/lastpump")); }

    static std::string threadName(const char* specifier)
    {
        return bytes(TevoroTalkThread::createThreadSpecifier(specifier));
    }

    std::unique_ptr<TevoroTalkThread> m_thread =
        std::make_unique<TevoroTalkThread>(nullptr, "self-1.0");
};

} // namespace

TEST_F(TevoroTalkThreadTest, BeginsWithSixKeysInTheirOrder)
{
    long place = 0;
    for (const auto& [key, expected] : {std::pair("ECHO_REQUEST", "ECHO_RESPONSE"),
             {"STATUS", "IDLE"},
             {"MAIN", "MAIN"},
             {"LAUNCHED", "LAUNCHED"},
             {"DIAGNOSTICS", "DIAGNOSTICS"},
             {"INFO", "INFO"}}) {
        EXPECT_EQ(m_thread->locateKey(key), place++) << key;
        EXPECT_EQ(value(key), expected);
        EXPECT_EQ(m_thread->findHandler(key) != nullptr, place > 2) << key;
    }
    EXPECT_EQ(m_thread->locateKey("status"), -1);
    EXPECT_EQ(line("/ping"), "6");
}

TEST_F(TevoroTalkThreadTest, StoresNothingForAnUnknownKeyWithoutAValue)
{
    EXPECT_TRUE(set("COLOUR", ""));
    EXPECT_EQ(m_thread->locateKey("COLOUR"), -1);
}

TEST_F(TevoroTalkThreadTest, ReplacesAValueAndKeepsItsHandlerAndItsPlace)
{
    auto* const own = new InboxHandler(inbox);
    set("COLOUR", "red");
    set("SIZE", "1");
    ASSERT_TRUE(m_thread->setHandler("COLOUR", own));
    EXPECT_TRUE(set("COLOUR", "blue"));
    EXPECT_EQ(value("COLOUR"), "blue");
    EXPECT_EQ(m_thread->findHandler("COLOUR"), own);
    EXPECT_EQ(m_thread->locateKey("COLOUR"), 6);
}

TEST_F(TevoroTalkThreadTest, TakesAKeyOutWithItsHandler)
{
    m_thread->setHandler("COLOUR", new InboxHandler(inbox));
    EXPECT_EQ(inbox.handlers, 1);
    EXPECT_TRUE(set("COLOUR", ""));
    EXPECT_EQ(inbox.handlers, 0);
    EXPECT_EQ(m_thread->locateKey("COLOUR"), -1);
    EXPECT_EQ(m_thread->findHandler("COLOUR"), nullptr);
}

TEST_F(TevoroTalkThreadTest, RefusesAnEmptyKey)
{
    EXPECT_FALSE(set("", "value"));
    EXPECT_FALSE(set("", ""));
    EXPECT_EQ(line("/ping"), "6");
}

TEST_F(TevoroTalkThreadTest, MeasuresNoPaceFromOnePump)
{
    pumpAfter(0);
    EXPECT_EQ(average(), 0);
    EXPECT_EQ(sinceLastPump(), 0);
}

TEST_F(TevoroTalkThreadTest, MovesThePumpTimeAndNotThePaceForTwoPumpsRightAfterEachOther)
{
    pumpAfter(0);
    pumpAfter(100);
    pumpAfter(5);
    EXPECT_EQ(average(), 100);
    EXPECT_EQ(sinceLastPump(), 0);
    pumpAfter(10); // not yet more than ten
    EXPECT_EQ(average(), 100);
    pumpAfter(12);
    EXPECT_EQ(average(), 56);
}

TEST_F(TevoroTalkThreadTest, CountsAGapOfTenAveragesAsAStall)
{
    pumpAfter(0);
    pumpAfter(100);
    pumpAfter(2000);
    EXPECT_EQ(average(), 100);
    pumpAfter(1000); // just ten
    EXPECT_EQ(average(), 100);
    pumpAfter(998);
    EXPECT_EQ(average(), 549);
}

TEST_F(TevoroTalkThreadTest, TakesTheMeanOfPaceAndGap)
{
    pumpAfter(0);
    pumpAfter(100);
    pumpAfter(300);
    EXPECT_EQ(average(), 200);
}

TEST_F(TevoroTalkThreadTest, MeasuresFromTheEndOfAPump)
{
    pumpAfter(0);
    set("STATUS", "PUMPING");
    MovedClock::advance(5000); // a long pump is no stall
    set("STATUS", "IDLE");
    pumpAfter(40);
    EXPECT_EQ(average(), 40);
}

TEST_F(TevoroTalkThreadTest, IsBusyAfterTenAveragesWithoutAPump)
{
    pumpAfter(0);
    pumpAfter(100);
    MovedClock::advance(1000);
    EXPECT_EQ(value("STATUS"), "IDLE");
    EXPECT_TRUE(m_thread->isIdle());
    MovedClock::advance(1);
    EXPECT_EQ(value("STATUS"), "BUSY");
    EXPECT_FALSE(m_thread->isIdle());
    EXPECT_EQ(line("/ping/STATUS"), "IDLE"); // what is stored
    pumpAfter(0);
    EXPECT_EQ(value("STATUS"), "IDLE");
}

TEST_F(TevoroTalkThreadTest, IsNotBusyWithoutAPaceOrWhenTheClockWentBack)
{
    MovedClock::advance(1'000'000);
    EXPECT_EQ(value("STATUS"), "IDLE");
    pumpAfter(0);
    pumpAfter(100);
    MovedClock::advance(-10'000);
    EXPECT_EQ(value("STATUS"), "IDLE");
    EXPECT_EQ(line("/lastpump"), "0ms ago");
}

TEST_F(TevoroTalkThreadTest, TellsThatItPumpsHoweverLongThatTakes)
{
    pumpAfter(0);
    pumpAfter(100);
    set("STATUS", "PUMPING");
    MovedClock::advance(60'000);
    EXPECT_EQ(value("STATUS"), "PUMPING");
    EXPECT_FALSE(m_thread->isIdle());
}

TEST_F(TevoroTalkThreadTest, IsNotIdleWithoutAStatus)
{
    set("STATUS", "");
    EXPECT_FALSE(m_thread->isIdle());
    EXPECT_EQ(value("STATUS"), "");
}

TEST_F(TevoroTalkThreadTest, GivesANewKeyOfAHandlerItsOwnText)
{
    auto* const own = new InboxHandler(inbox);
    EXPECT_TRUE(m_thread->setHandler("COLOUR", own));
    EXPECT_EQ(value("COLOUR"), "COLOUR");
    EXPECT_EQ(m_thread->findHandler("COLOUR"), own);
    EXPECT_EQ(line("/ping/COLOUR/msghandler"), "installed");
}

TEST_F(TevoroTalkThreadTest, DeletesTheHandlerThatAnotherReplaces)
{
    m_thread->setHandler("COLOUR", new InboxHandler(inbox));
    m_thread->setHandler("COLOUR", new InboxHandler(inbox));
    EXPECT_EQ(inbox.handlers, 1);
    EXPECT_TRUE(m_thread->setHandler("COLOUR", nullptr));
    EXPECT_EQ(inbox.handlers, 0);
    EXPECT_EQ(value("COLOUR"), "COLOUR");
}

TEST_F(TevoroTalkThreadTest, LeavesTheHandlerToTheCallerWithoutAKey)
{
    InboxHandler own(inbox);
    EXPECT_FALSE(m_thread->setHandler("", &own));
}

TEST_F(TevoroTalkThreadTest, HasNoTimeoutForAMissingKey)
{
    EXPECT_FALSE(m_thread->setTimeout("COLOUR", 5));
    EXPECT_FALSE(m_thread->setTimeout("COLOUR", 0));
}

TEST_F(TevoroTalkThreadTest, LetsAKeyLiveOnWhoseTimeoutWasTakenAway)
{
    set("COLOUR", "red");
    EXPECT_EQ(line("/ping/COLOUR/timeout"), "undefined");
    EXPECT_TRUE(m_thread->setTimeout("COLOUR", 5));
    EXPECT_TRUE(line("/ping/COLOUR/timeout").starts_with("in 5secs at "));
    EXPECT_TRUE(m_thread->setTimeout("COLOUR", 0));
    EXPECT_EQ(line("/ping/COLOUR/timeout"), "undefined");
    EXPECT_EQ(value("COLOUR"), "red");
}

TEST_F(TevoroTalkThreadTest, DeletesItsHandlersAtItsEnd)
{
    m_thread->setHandler("COLOUR", new InboxHandler(inbox));
    m_thread->setHandler("SIZE", new InboxHandler(inbox));
    m_thread.reset();
    EXPECT_EQ(inbox.handlers, 0);
}

TEST_F(TevoroTalkThreadTest, HasNoNameWithoutAPort)
{
    EXPECT_EQ(bytes(m_thread->getSpecifier()), "");
    EXPECT_TRUE(m_thread->setContext(nullptr));
    EXPECT_EQ(bytes(m_thread->getSpecifier()), "");
}

TEST_F(TevoroTalkThreadTest, IsNamedAfterTheApplicationWithItsOwnSuffix)
{
    EXPECT_EQ(threadName("tevoro_2-4.0-en_us#foo"), "tevoro_2-4.0-en_us#thread");
    EXPECT_EQ(threadName("tevoro"), "tevoro#thread");
    EXPECT_EQ(threadName("tevoro-4.0"), "tevoro-4.0#thread");
    EXPECT_EQ(threadName("tevoro-en_us"), "tevoro-en_us#thread");
    EXPECT_EQ(threadName("Tevoro_1#ping"), "tevoro_1#thread");
    EXPECT_EQ(threadName(""), "");
}

TEST_F(TevoroTalkThreadTest, LetsOthersWriteTheForwardingKeysOnly)
{
    for (const char* key : {"FWDMESSAGES", "FWDLOGS", "FWDERRORS"})
        EXPECT_FALSE(isPingReadOnly(key)) << key;
    for (const char* key : {"STATUS", "MAIN", "", "fwdlogs", "FWDLOGS ", "LAUNCHED"})
        EXPECT_TRUE(isPingReadOnly(key)) << key;
}

TEST_F(TevoroTalkThreadTest, DropsAKeyAndNotItsHandlerWhenItsTimeIsOver)
{
    start();
    TevoroTalkThread& running = *TevoroTalkThread::getMainThread();
    const auto painter = std::make_unique<InboxHandler>(inbox);
    running.setHandler("COLOUR", painter.get());
    running.setKeyValuePair("SIZE", "1");
    running.setTimeout("COLOUR", 5);
    running.setTimeout("SIZE", 6);
    const int before = inbox.handlers;
    MovedClock::advance(5000);
    EXPECT_TRUE(waitUntil([&] { return running.locateKey("COLOUR") == -1; }));
    EXPECT_EQ(running.findHandler("COLOUR"), nullptr);
    EXPECT_EQ(inbox.handlers, before);
    EXPECT_EQ(bytes(running.getValueForKey("SIZE")), "1");
}

TEST_F(TevoroTalkThreadTest, CallsTheHandlerForIdleTimeOnlyWhileItIsIdle)
{
    start();
    TevoroTalkThread& running = *TevoroTalkThread::getMainThread();
    test::Inbox idle;
    running.setHandler("Idle", new InboxHandler(idle));
    EXPECT_TRUE(waitUntil([&] { return idle.size() > 2; }));
    EXPECT_EQ(idle.at(0).reason, TevoroTalk::MsgHandler::kIdle);
    EXPECT_EQ(idle.at(0).type, "Idle");
    running.setKeyValuePair("STATUS", "PUMPING");
    const std::size_t before = idle.size();
    // Three rounds of the thread have passed once it dropped three keys that had run out.
    for (const char* key : {"A", "B", "C"}) {
        running.setKeyValuePair(key, "x");
        running.setTimeout(key, -1);
        EXPECT_TRUE(waitUntil([&] { return running.locateKey(key) == -1; }));
    }
    EXPECT_EQ(idle.size(), before);
    running.setKeyValuePair("Idle", "");
}
