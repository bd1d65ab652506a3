#include "core/messaging/support/BusFixture.h"
#include "messaging/process/TevoroTalkThread.h"

#include <functional>
#include <memory>
#include <string>

namespace {

using namespace ScObjects;
using test::bytes;
using test::Inbox;
using test::InboxHandler;
using testing::ElementsAre;
using testing::IsEmpty;

// A handler whose work a test says.
class Doing final : public TevoroTalk::MsgHandler {
public:
    explicit Doing(std::function<void(TevoroTalk::Message&)> work)
        : m_work(std::move(work))
    {
    }
    long handleMessage(int, TevoroTalk::Message& message, SoString*) override
    {
        m_work(message);
        return 0;
    }

private:
    std::function<void(TevoroTalk::Message&)> m_work;
};

class PumpTest : public test::BusFixture {
protected:
    void post(const TevoroTalk& instance, const std::string& body = "body")
    {
        const auto message = request(bytes(instance.getAppName()), body);
        EXPECT_TRUE(send(*self, *message));
    }
    // The main instance does that for each message.
    TevoroTalk& startDoing(std::function<void(Message&)> work)
    {
        TevoroTalk& instance = start();
        delete instance.changeHandler(new Doing(std::move(work)));
        return instance;
    }
};

// Counts how often it is asked to look at its store.
class CountingRegistry final : public TevoroTalkConnector {
public:
    using TevoroTalkConnector::registerApplication;
    using TevoroTalkConnector::unregisterApplication;

    explicit CountingRegistry(int& times)
        : TevoroTalkConnector("self-1.0")
        , m_times(times)
    {
    }
    bool updateCache(bool force) override
    {
        EXPECT_FALSE(force);
        ++m_times;
        return true;
    }
    SoString getName() const override { return "counting"; }
    bool addToGroup(const Specifier&, const SoString&, const SoString*) override { return false; }
    bool removeFromGroup(const Specifier&, const SoString&, const SoString*) override
    {
        return false;
    }
    bool initLists(QKConnectorAppInfoList&, SoVector<SoString>&) override { return true; }
    bool registerApplication(QKConnectorAppInfo&) override { return false; }
    bool unregisterApplication(const QKConnectorAppInfo&) override { return false; }

private:
    int& m_times;
};

} // namespace

TEST_F(PumpTest, DoesNothingWithoutABus)
{
    EXPECT_FALSE(TevoroTalk::pump(TevoroTalk::kBoth, nullptr));
    EXPECT_EQ(TevoroTalk::getSharedContext(), nullptr);
}

TEST_F(PumpTest, SaysWhetherItDispatchedSomething)
{
    const TevoroTalk& instance = start();
    EXPECT_FALSE(pump());
    post(instance);
    EXPECT_TRUE(pump());
    EXPECT_FALSE(pump());
}

TEST_F(PumpTest, WorksOffAllInstances)
{
    start();
    Inbox ofSecond;
    const TevoroTalk& second = another("second-1.0", new InboxHandler(ofSecond));
    for (const char* body : {"1", "2", "3"}) {
        post(*self, body);
        post(second, body);
    }
    EXPECT_TRUE(pump());
    EXPECT_THAT(inbox.bodies(), ElementsAre("1", "2", "3"));
    EXPECT_THAT(ofSecond.bodies(), ElementsAre("1", "2", "3"));
    delete &second;
}

TEST_F(PumpTest, LeavesIncomingMessagesAloneWhenItOnlySends)
{
    const TevoroTalk& instance = start();
    const InterAppStream lateThread("late-1.0#thread", true);
    const Paused pause;
    post(instance);
    const auto message = request("late-1.0", "later");
    EXPECT_FALSE(send(instance, *message, true));
    const InterAppStream late("late-1.0", true);
    EXPECT_FALSE(TevoroTalk::pump(TevoroTalk::kOutgoing, nullptr));
    EXPECT_FALSE(instance.outgoingMessagePending());
    EXPECT_TRUE(late.messagePending());
    EXPECT_EQ(inbox.size(), 0U);
    EXPECT_THAT(queued(instance, "in", "Type"), ElementsAre("Quillscriber"));
}

TEST_F(PumpTest, LeavesOutgoingMessagesAloneWhenItOnlyReceives)
{
    const TevoroTalk& instance = start();
    const InterAppStream lateThread("late-1.0#thread", true);
    const Paused pause;
    post(instance);
    const auto message = request("late-1.0", "later");
    EXPECT_FALSE(send(instance, *message, true));
    const InterAppStream late("late-1.0", true);
    EXPECT_TRUE(TevoroTalk::pump(TevoroTalk::kIncoming, nullptr));
    EXPECT_TRUE(instance.outgoingMessagePending());
    EXPECT_FALSE(late.messagePending());
    EXPECT_EQ(inbox.size(), 1U);
}

TEST_F(PumpTest, ShowsWhenItRuns)
{
    std::string status;
    const TevoroTalk& instance = startDoing([&](Message&) {
        status = bytes(TevoroTalkThread::getMainThread()->getValueForKey("STATUS"));
    });
    post(instance);
    EXPECT_TRUE(pump());
    EXPECT_EQ(status, "PUMPING");
    EXPECT_EQ(bytes(TevoroTalkThread::getMainThread()->getValueForKey("STATUS")), "IDLE");
}

TEST_F(PumpTest, MayBeCalledByAHandler)
{
    Words order;
    const TevoroTalk& instance = startDoing([&](Message& message) {
        order.push_back("begin " + bytes(message.body));
        pump();
        order.push_back("end " + bytes(message.body));
    });
    post(instance, "1");
    post(instance, "2");
    EXPECT_TRUE(pump());
    EXPECT_THAT(order, ElementsAre("begin 1", "begin 2", "end 2", "end 1"));
}

TEST_F(PumpTest, DispatchesWhatHandlersSend)
{
    int left = 5;
    const TevoroTalk& instance = startDoing([&](Message&) {
        if (--left > 0)
            post(*self);
    });
    post(instance);
    EXPECT_TRUE(pump());
    EXPECT_EQ(left, 0);
}

TEST_F(PumpTest, GoesOnWhenAHandlerMakesAndDeletesInstances)
{
    const TevoroTalk* second = nullptr;
    const TevoroTalk& instance = startDoing([&](Message& message) {
        if (message.body == "make") {
            second = &another("second-1.0", new InboxHandler(inbox));
            post(*second, "to second");
        } else {
            delete second;
        }
    });
    post(instance, "make");
    EXPECT_TRUE(pump());
    EXPECT_THAT(inbox.bodies(), ElementsAre("to second"));
    post(*second, "lost");
    post(instance, "delete");
    EXPECT_TRUE(pump());
    EXPECT_EQ(inbox.handlers, 0);
    EXPECT_EQ(inbox.size(), 1U);
}

TEST_F(PumpTest, RefreshesTheRegistryOnceAMinute)
{
    start();
    int times = 0;
    TevoroTalkConnector::set(new CountingRegistry(times));
    for (int i = 0; i < 5; ++i)
        pump();
    EXPECT_EQ(times, 1);
    EXPECT_TRUE(TevoroTalk::InitTerm::exit());
    start();
    TevoroTalkConnector::set(new CountingRegistry(times));
    pump();
    EXPECT_EQ(times, 2);
}

// What is there is worked off; what comes meanwhile, and would keep a pump from ending, is not.
TEST_F(PumpTest, LeavesWhatArrivesWhileItWorksToTheNext)
{
    const InterAppStream other("other-1.0", true);
    const std::string text = "Target:self-1.0\nSender:other-1.0\nContent-Length:4\n\nbody";
    int handled = 0;
    startDoing([&](Message&) {
        if (++handled < 50) {
            EXPECT_TRUE(other.send("self-1.0", test::soString(text)));
        }
    });
    Message::setAuthentication(false);
    const Paused pause;
    EXPECT_TRUE(other.send("self-1.0", test::soString(text)));
    EXPECT_TRUE(pump());
    EXPECT_EQ(handled, 1);
    EXPECT_TRUE(isReadable(self->waitDescriptor()));
    while (pump()) { }
    EXPECT_EQ(handled, 50);
}

// What holds nothing for anybody does not hide what lies behind it.
TEST_F(PumpTest, FindsAMessageBehindATextForNobody)
{
    const TevoroTalk& instance = start();
    Message::setAuthentication(false);
    const InterAppStream rogue("rogue-1.0", true);
    const InterAppStream asker("asker-1.0", true);
    const Paused pause;
    for (const char* text : {"Type:Ignore\n\n", "nothing at all", "Target:self-1.0\n\n"})
        EXPECT_TRUE(rogue.send("self-1.0", text));
    EXPECT_TRUE(
        asker.send("self-1.0", "Target:self-1.0\nSender:asker-1.0\nContent-Length:4\n\nreal"));
    EXPECT_TRUE(instance.waitForMessage(-1));
    EXPECT_TRUE(pump());
    EXPECT_THAT(inbox.bodies(), ElementsAre("real"));
    EXPECT_FALSE(pump());
    EXPECT_FALSE(isReadable(instance.waitDescriptor()));
}

TEST_F(PumpTest, WorksOffLargeTextsThatLieThereInOneGo)
{
    start();
    Message::setAuthentication(false);
    const InterAppStream asker("asker-1.0", true);
    const Paused pause;
    const std::string body(700000, 'x');
    const std::string text = "Target:self-1.0\nSender:asker-1.0\nContent-Length:700000\n\n" + body;
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(asker.send("self-1.0", test::soString(text)));
    EXPECT_TRUE(pump());
    EXPECT_EQ(inbox.size(), 3U);
    EXPECT_FALSE(pump());
}

TEST_F(PumpTest, WorksOffWhatHandlersPutIntoQueues)
{
    int handled = 0;
    startDoing([&](Message&) {
        if (++handled < 5)
            post(*self);
    });
    post(*self);
    EXPECT_TRUE(pump());
    EXPECT_EQ(handled, 5);
}
