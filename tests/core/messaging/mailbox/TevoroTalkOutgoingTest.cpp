// Messages that wait for their target: how they are tried again, in which order, and for how long.
// A target whose thread has a port already, and which has none itself, is one that comes up.
#include "core/messaging/support/BusFixture.h"
#include "messaging/TevoroTalk.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace {

using namespace ScObjects;
using test::bytes;
using test::Inbox;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class TevoroTalkOutgoingTest : public test::BusFixture {
protected:
    TevoroTalkOutgoingTest()
        : instance(start())
        , pause(std::in_place)
    {
    }

    // Queues a message; it gets `body`.
    std::unique_ptr<Message> enqueue(
        const std::string& target, const std::string& body, const std::string& asked = {})
    {
        auto message = request(target, body, asked);
        EXPECT_FALSE(send(instance, *message, true));
        return message;
    }
    // With the time of its first queueing in it.
    std::unique_ptr<Message> enqueueStamped(std::int64_t stamp, std::int32_t timeout)
    {
        auto message = request("late-1.0", "old", "Timeout");
        message->setHeader("QUEUESTAMP", static_cast<long>(stamp));
        message->setHeader("TIMEOUT_DETECTOR", "TARGET"); // no watcher beside it
        message->timeout = timeout;
        EXPECT_FALSE(send(instance, *message, true));
        return message;
    }

    Words waiting() const { return queued(instance, "out", "Text"); }
    // When what waits runs out.
    Words expiries() const { return queued(instance, "out", "Timeout"); }
    static std::string timeText(std::int64_t time)
    {
        return bytes(TevoroTalkUtils::getTimeString(&time));
    }

    // The bodies of what a stream got.
    static Words bodies(InterAppStream& stream, std::size_t count)
    {
        Words result;
        while (result.size() < count) {
            const std::string text = received(stream, 1);
            const char* const end = text.data() + text.size();
            for (const char* at = text.data(); at != end;) {
                Message message;
                at = message.readFromString(at, end);
                result.push_back(bytes(message.body));
            }
            if (text.empty())
                break;
        }
        return result;
    }

    TevoroTalk& instance;
    InterAppStream lateThread{"late-1.0#thread", true};
    InterAppStream laterThread{"later-1.0#thread", true};
    // The thread of the bus stands still, unless a test resets this.
    std::optional<Paused> pause;
};

} // namespace

TEST_F(TevoroTalkOutgoingTest, WaitForATargetThatComesUp)
{
    const auto message = enqueue("late-1.0", "first");
    EXPECT_TRUE(instance.outgoingMessagePending());
    EXPECT_TRUE(instance.messagePending());
    EXPECT_THAT(waiting(), ElementsAre("first"));
    EXPECT_THAT(queued(instance, "out", "Serial-Number"),
        ElementsAre(std::to_string(message->serialNumber)));
    EXPECT_THAT(
        queued(instance, "out", "Timeout"), ElementsAre(timeText(message->timestamp + 600)));
    EXPECT_FALSE(instance.processOutgoingMessage());
    EXPECT_THAT(waiting(), ElementsAre("first"));
    InterAppStream late("late-1.0", true);
    EXPECT_FALSE(instance.processOutgoingMessage());
    EXPECT_THAT(bodies(late, 1), ElementsAre("first"));
    EXPECT_FALSE(instance.outgoingMessagePending());
}

TEST_F(TevoroTalkOutgoingTest, KeepTheirOrderAlsoBehindATargetThatIsUp)
{
    enqueue("late-1.0", "first");
    InterAppStream late("late-1.0", true);
    enqueue("late-1.0", "second");
    EXPECT_THAT(waiting(), ElementsAre("first", "second"));
    EXPECT_FALSE(late.messagePending());
    instance.processOutgoingMessage();
    EXPECT_THAT(bodies(late, 2), ElementsAre("first", "second"));
    enqueue("later-1.0", "other");
    const auto direct = request("late-1.0", "third");
    EXPECT_TRUE(send(instance, *direct));
    EXPECT_THAT(bodies(late, 1), ElementsAre("third"));
}

TEST_F(TevoroTalkOutgoingTest, AreNotOvertakenByAMessageThatMayNotLaunch)
{
    enqueue("late-1.0", "first");
    const InterAppStream late("late-1.0", true);
    const auto second = request("late-1.0", "second", "Error");
    EXPECT_FALSE(send(instance, *second));
    EXPECT_FALSE(late.messagePending());
    EXPECT_THAT(waiting(), ElementsAre("first"));
    EXPECT_TRUE(instance.processIncomingMessage(kNone, true));
    EXPECT_THAT(inbox.bodies(), ElementsAre("ERROR: LAUNCHING IS SUPPRESSED"));
}

TEST_F(TevoroTalkOutgoingTest, DoNotHoldUpThoseForOthers)
{
    for (const char* number : {"1", "2", "3"}) {
        enqueue("late-1.0", std::string("late ") + number);
        enqueue("later-1.0", std::string("later ") + number);
    }
    InterAppStream later("later-1.0", true);
    instance.processOutgoingMessage();
    EXPECT_THAT(bodies(later, 3), ElementsAre("later 1", "later 2", "later 3"));
    EXPECT_THAT(waiting(), ElementsAre("late 1", "late 2", "late 3"));
    InterAppStream late("late-1.0", true);
    instance.processOutgoingMessage();
    EXPECT_THAT(bodies(late, 3), ElementsAre("late 1", "late 2", "late 3"));
}

TEST_F(TevoroTalkOutgoingTest, CarryTheTimeOfTheirFirstQueueing)
{
    const auto message = enqueue("late-1.0", "text");
    EXPECT_THAT(queued(instance, "out", "QUEUESTAMP"), IsEmpty());
    const std::string stamp = std::to_string(message->timestamp);
    instance.processOutgoingMessage();
    EXPECT_THAT(queued(instance, "out", "QUEUESTAMP"), ElementsAre(stamp));
    instance.processOutgoingMessage();
    EXPECT_THAT(queued(instance, "out", "QUEUESTAMP"), ElementsAre(stamp));
    InterAppStream late("late-1.0", true);
    instance.processOutgoingMessage();
    EXPECT_THAT(messagesIn(received(late, 1)), ElementsAre(HasSubstr("QUEUESTAMP=" + stamp)));
}

TEST_F(TevoroTalkOutgoingTest, LiveUntil600SecondsAfterTheirFirstQueueing)
{
    const auto message = enqueueStamped(now() - 590, 5);
    for (int i = 0; i < 3; ++i) {
        const std::int64_t before = now();
        instance.processOutgoingMessage();
        // Their time begins anew with each attempt.
        ASSERT_THAT(waiting(), ElementsAre("old"));
        EXPECT_THAT(
            (Words{timeText(before + 5), timeText(now() + 5)}), testing::Contains(expiries()[0]));
    }
    EXPECT_EQ(inbox.size(), 0U);
}

TEST_F(TevoroTalkOutgoingTest, RunOut600SecondsAfterTheirFirstQueueing)
{
    struct Row {
        std::int32_t timeout;
        std::int32_t forced; // what is left of it
    };
    for (const Row row : {Row{0, 599}, Row{5, 5}, Row{599, 599}, Row{600, 599}, Row{7200, 599}}) {
        SCOPED_TRACE(row.timeout);
        inbox.clear();
        const std::int64_t stamp = now() - 600;
        const auto message = enqueueStamped(stamp, row.timeout);
        instance.processOutgoingMessage();
        EXPECT_THAT(expiries(), ElementsAre(timeText(stamp + row.forced)));
        EXPECT_EQ(inbox.size(), 0U);
        instance.processOutgoingMessage(); // the sweep
        EXPECT_THAT(waiting(), IsEmpty());
        EXPECT_TRUE(instance.processIncomingMessage(kNone, true));
        EXPECT_THAT(inbox.words(), ElementsAre("5 Timeout"));
        EXPECT_EQ(inbox.at(0).serialNumber, message->serialNumber);
    }
}

TEST_F(TevoroTalkOutgoingTest, AreTriedOnceMoreWhenTheirTimeIsOver)
{
    enqueueStamped(now() - 700, 0);
    InterAppStream late("late-1.0", true);
    instance.processOutgoingMessage();
    EXPECT_THAT(bodies(late, 1), ElementsAre("old"));
}

TEST_F(TevoroTalkOutgoingTest, BeginAnewWithAStampThatIsNone)
{
    for (const char* stamp : {"no number", "-5", "0", "99999999999", "99999999999999999999"}) {
        SCOPED_TRACE(stamp);
        const auto message = request("late-1.0", "text");
        message->setHeader("QUEUESTAMP", stamp);
        EXPECT_FALSE(send(instance, *message, true));
        instance.processOutgoingMessage();
        instance.processOutgoingMessage();
        EXPECT_THAT(
            queued(instance, "out", "QUEUESTAMP"), ElementsAre(std::to_string(message->timestamp)));
        InterAppStream late("late-1.0", true);
        instance.processOutgoingMessage();
        EXPECT_THAT(bodies(late, 1), ElementsAre("text"));
    }
}

TEST_F(TevoroTalkOutgoingTest, OfAnInstanceWithoutANameAreDropped)
{
    const InterAppStream holder("mute_1-1.0", true);
    TevoroTalk& mute = another("mute_1-1.0");
    const auto message = request("late-1.0", "text");
    message->sender = "self-1.0";
    EXPECT_FALSE(send(mute, *message, true));
    EXPECT_TRUE(mute.outgoingMessagePending());
    EXPECT_FALSE(mute.processOutgoingMessage());
    EXPECT_FALSE(mute.outgoingMessagePending());
}

TEST_F(TevoroTalkOutgoingTest, AreSentByTheThreadOfTheBus)
{
    enqueue("late-1.0", "first");
    enqueue("late-1.0", "second");
    InterAppStream late("late-1.0", true);
    pause.reset();
    EXPECT_THAT(bodies(late, 2), ElementsAre("first", "second"));
    EXPECT_TRUE(waitUntil([&] { return !instance.outgoingMessagePending(); }));
}

TEST_F(TevoroTalkOutgoingTest, KeepTheirOrderWhileTwoThreadsTryThem)
{
    constexpr int kCount = 2000;
    pause.reset();
    std::atomic<bool> isDone{false};
    std::thread other([&] {
        while (!isDone)
            instance.processOutgoingMessage();
    });
    // Comes up in the middle.
    std::unique_ptr<InterAppStream> late;
    Words got;
    for (int i = 0; i < kCount; ++i) {
        const auto message = request("late-1.0", std::to_string(i));
        message->type = "Own";
        send(instance, *message, true);
        drain(lateThread);
        if (i == kCount / 2)
            late = std::make_unique<InterAppStream>("late-1.0", true);
        instance.processOutgoingMessage();
    }
    while (got.size() < kCount) {
        const Words more = bodies(*late, 1);
        if (more.empty())
            break;
        for (const std::string& body : more)
            if (!body.empty()) // not a question whether it runs
                got.push_back(body);
    }
    isDone = true;
    other.join();
    ASSERT_EQ(got.size(), std::size_t{kCount});
    for (std::size_t i = 0; i < got.size(); ++i)
        ASSERT_EQ(got[i], std::to_string(i));
}
