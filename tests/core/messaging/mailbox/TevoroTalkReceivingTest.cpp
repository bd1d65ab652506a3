// How a message comes in: from the port into the queue, from the queue to its handler, and what its
// sender is told.
#include "core/messaging/support/ReceivingFixture.h"
#include "messaging/TevoroTalk.h"

#include <atomic>
#include <memory>
#include <string>
#include <thread>

namespace {

using namespace ScObjects;
using test::bytes;
using test::Inbox;
using test::InboxHandler;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class TevoroTalkReceivingTest : public test::ReceivingFixture { };

struct ReasonRow {
    const char* name;
    const char* lines;
    const char* words; // reason and type that the handler sees
};

// Notes what is forwarded of messages: where, and what became of them.
class ForwardNotes final : public TevoroTalk::MsgHandler {
public:
    explicit ForwardNotes(std::vector<std::string>& notes)
        : m_notes(notes)
    {
    }
    long handleMessage(int, TevoroTalk::Message& message, SoString*) override
    {
        const std::string body = bytes(message.body);
        const std::size_t start = body.rfind(';', body.size() - 3);
        m_notes.push_back(bytes(message.getUserHeaderValue("MsgRoot")) + " "
            + body.substr(start + 1, body.size() - start - 3));
        return 0;
    }
    const char* getMsgType() const override { return "FWDMESSAGES"; }

private:
    std::vector<std::string>& m_notes;
};

} // namespace

TEST_F(TevoroTalkReceivingTest, TellsTheHandlerWhatAMessageIs)
{
    const ReasonRow rows[] = {
        {"no type", "", "1 Quillscriber body"},
        {"script", "Type:Quillscriber\n", "1 Quillscriber body"},
        {"debug", "Type:Debug\n", "1 Debug body"},
        {"receipt", "Type:Received\n", "2 Quillscriber body"},
        {"receipt by number", "Received:5\n", "2 Quillscriber body"},
        {"result", "Type:Result\n", "3 Quillscriber body"},
        {"result by number", "Result:5\n", "3 Quillscriber body"},
        {"error", "Type:Error\n", "4 Quillscriber body"},
        {"error by number", "Error:5\n", "4 Quillscriber body"},
        {"time-out", "Type:Timeout\n", "5 Timeout body"},
        {"log", "Type:Log\n", "6 Log body"},
        {"idle", "Type:Idle\n", "7 Idle body"},
        {"end", "Type:Processed\n", "0 Processed body"},
        {"own", "Type:Own\n", "0 Own body"},
        {"lower case", "Type:result\n", "0 result body"},
    };
    for (const ReasonRow& row : rows) {
        SCOPED_TRACE(row.name);
        inbox.clear();
        post(row.lines);
        handle(1);
        EXPECT_THAT(inbox.words(), ElementsAre(row.words));
    }
}

TEST_F(TevoroTalkReceivingTest, ShowsAnswersAsScriptsWithTheReasonInTheirField)
{
    post("Type:Received\n");
    post("Type:Result\n");
    post("Type:Error\n");
    handle(3);
    EXPECT_EQ(inbox.at(0).received, 2U);
    EXPECT_EQ(inbox.at(1).result, 3U);
    EXPECT_EQ(inbox.at(2).error, 4U);
    EXPECT_EQ(inbox.at(2).serialNumber, 42U);
}

TEST_F(TevoroTalkReceivingTest, PrefersTheHandlerOfTheMessage)
{
    Inbox ofMessage;
    Inbox ofType;
    instance.changeHandler(new InboxHandler(ofMessage, "Own", 42));
    instance.changeHandler(new InboxHandler(ofType, "Own"));
    post("Type:Own\n", "first");
    EXPECT_TRUE(pumpUntil([&] { return ofMessage.size() == 1; }));
    EXPECT_EQ(ofMessage.handlers, 0); // it went with its message
    post("Type:Own\n", "second");
    EXPECT_TRUE(pumpUntil([&] { return ofType.size() == 1; }));
    EXPECT_EQ(ofType.handlers, 1); // one for all stays
    EXPECT_THAT(ofType.bodies(), ElementsAre("second"));
    EXPECT_EQ(inbox.size(), 0U);
    instance.deleteHandler(instance.findHandler("Own", kNone));
}

TEST_F(TevoroTalkReceivingTest, GivesMessagesWithoutAHandlerToTheOneForScripts)
{
    post("Type:Unheard\n");
    handle(1);
    EXPECT_THAT(inbox.words(), ElementsAre("0 Unheard body"));
    instance.deleteHandler(handler);
    post("Type:Unheard\nResponse-Request:Result Processed\n");
    EXPECT_TRUE(pumpUntil([&] { return asker.messagePending(); }));
    EXPECT_THAT(answers(1), ElementsAre("Processed")); // worked off, though by nobody
}

TEST_F(TevoroTalkReceivingTest, DispatchesNoEmptyRequest)
{
    post("", "");
    post("Type:Own\n", "");
    handle(1);
    EXPECT_THAT(inbox.words(), ElementsAre("0 Own"));
}

TEST_F(TevoroTalkReceivingTest, DeletesTheHandlersOfAMessageThatCameToItsEnd)
{
    for (const char* type : {"Processed", "Error", "Timeout"}) {
        SCOPED_TRACE(type);
        Inbox ofMessage;
        instance.changeHandler(new InboxHandler(ofMessage, "Own", 42));
        instance.changeHandler(new InboxHandler(ofMessage, "Result", 42));
        instance.changeHandler(new InboxHandler(ofMessage, "Own", 43));
        post(std::string("Type:") + type + "\n");
        EXPECT_TRUE(pumpUntil([&] { return ofMessage.handlers == 1; }));
        EXPECT_THAT(ofMessage.words(), IsEmpty());
        instance.deleteHandlers(43);
    }
}

TEST_F(TevoroTalkReceivingTest, KeepsTheHandlersForAllAtAMessageWithoutANumber)
{
    for (const char* type : {"Quillscriber", "Processed", "Error", "Timeout"})
        post("Serial-Number:4294967295\nType:" + std::string(type) + "\n");
    post("", "behind");
    handle(5);
    EXPECT_EQ(inbox.bodies().back(), "behind");
    EXPECT_EQ(instance.findHandler("Quillscriber", kNone), handler);
}

TEST_F(TevoroTalkReceivingTest, KeepsTheHandlersWhileOtherAnswersCome)
{
    Inbox ofMessage;
    instance.changeHandler(new InboxHandler(ofMessage, "Own", 42));
    for (const char* type : {"Received", "Result", "Quillscriber", "Log"})
        post(std::string("Type:") + type + "\n");
    handle(4);
    EXPECT_EQ(ofMessage.handlers, 1);
    instance.deleteHandlers(42);
}

TEST_F(TevoroTalkReceivingTest, CancelsTheWatcherWithTheEnd)
{
    const auto message = request("asker-1.0", "text", "Timeout");
    message->serialNumber = 42;
    EXPECT_TRUE(send(instance, *message));
    post("Type:Log\n");
    handle(1);
    EXPECT_THAT(queued(instance, "in", "Type"), ElementsAre("Ignore"));
    post("Type:Processed\n");
    handle(2);
    EXPECT_THAT(queued(instance, "in", "Type"), IsEmpty());
}

TEST_F(TevoroTalkReceivingTest, DropsMessagesThatAreToBeIgnored)
{
    post("Type:Ignore\nResponse-Request:Received Result Processed\n");
    post("Type:Own\n");
    handle(1);
    EXPECT_THAT(inbox.words(), ElementsAre("0 Own body"));
    EXPECT_THAT(queued(instance, "in", "Type"), IsEmpty());
    EXPECT_FALSE(asker.messagePending());
}

TEST_F(TevoroTalkReceivingTest, TakesInAllThatArrivedBehindWhatItDrops)
{
    const Paused pause;
    for (int i = 0; i < 5; ++i)
        post("Type:Ignore\n");
    EXPECT_TRUE(asker.send("self-1.0", "garbage"));
    post("Type:Own\n");
    ASSERT_TRUE(isReadable(instance.waitDescriptor(), kPatience));
    EXPECT_TRUE(pump());
    EXPECT_THAT(inbox.words(), ElementsAre("0 Own body"));
}

TEST_F(TevoroTalkReceivingTest, TakesSeveralMessagesFromOneText)
{
    const std::string both = text("Type:Own\n", "first") + "\n" + text("Type:Own\n", "second");
    EXPECT_TRUE(asker.send("self-1.0", test::soString(both)));
    handle(2);
    EXPECT_THAT(inbox.bodies(), ElementsAre("first", "second"));
}

TEST_F(TevoroTalkReceivingTest, EndsATextAtItsFirstEmptyMessage)
{
    EXPECT_TRUE(asker.send("self-1.0", test::soString(text("Type:Own\n", "good") + "\ngarbage")));
    post("Type:Own\n", "next");
    handle(2);
    EXPECT_THAT(inbox.bodies(), ElementsAre("good", "next"));
}

TEST_F(TevoroTalkReceivingTest, TakesInWithoutDispatching)
{
    const Paused pause;
    post("Type:Own\nResponse-Request:Received\n");
    ASSERT_TRUE(isReadable(instance.waitDescriptor(), kPatience));
    EXPECT_FALSE(instance.processIncomingMessage(kNone, false));
    EXPECT_THAT(queued(instance, "in", "Type"), ElementsAre("Own"));
    EXPECT_THAT(answers(1), ElementsAre("Received"));
    EXPECT_EQ(inbox.size(), 0U);
    EXPECT_TRUE(instance.processIncomingMessage(kNone, true));
    EXPECT_EQ(inbox.size(), 1U);
    EXPECT_FALSE(instance.processIncomingMessage(kNone, true));
}

TEST_F(TevoroTalkReceivingTest, TellsItselfOfAnAnswerThatDidNotCome)
{
    const auto message = request("asker-1.0", "text", "Timeout");
    message->timeout = 1;
    message->serialNumber = 42;
    Inbox ofMessage;
    EXPECT_TRUE(send(instance, *message));
    instance.changeHandler(new InboxHandler(ofMessage, "Own", 42));
    const std::int64_t sent = message->timestamp;
    handle(1); // two seconds after the message was sent
    EXPECT_THAT(inbox.words(), ElementsAre("5 Timeout"));
    EXPECT_EQ(inbox.at(0).serialNumber, 42U);
    EXPECT_EQ(inbox.at(0).sender, "self-1.0");
    EXPECT_GE(now(), sent + 2);
    EXPECT_EQ(ofMessage.handlers, 0);
}

TEST_F(TevoroTalkReceivingTest, ShowsToSubscribersWhatBecameOfMessages)
{
    Words notes;
    {
        const Paused pause;
        instance.changeHandler(new ForwardNotes(notes));
        for (const char* type : {"Own", "Processed", "Error", "Timeout", "Debug", "Log"})
            post(std::string("Type:") + type + "\n");
        ASSERT_TRUE(isReadable(instance.waitDescriptor(), kPatience));
        handle(6);
    }
    const std::string root = "/messages/self-1.0/self-1.0/in ";
    Words expected;
    for (const char* end :
        {"processed", "handled: Processed", "handled: error", "handled: time out"}) {
        expected.push_back(root + "added");
        expected.push_back(root + "picked");
        expected.push_back(root + end);
    }
    EXPECT_EQ(notes, expected);
    delete instance.removeHandler("FWDMESSAGES", kNone);
}

TEST_F(TevoroTalkReceivingTest, KeepsTheOrderWhenTwoThreadsTakeIn)
{
    constexpr int kCount = 3000;
    std::atomic<bool> isDone{false};
    std::thread other([&] {
        while (!isDone)
            instance.processIncomingMessage(kNone, false);
    });
    std::thread sender([&] {
        for (int i = 0; i < kCount; ++i)
            post("Type:Own\n", std::to_string(i));
    });
    handle(kCount);
    isDone = true;
    sender.join();
    other.join();
    const Words bodies = inbox.bodies();
    ASSERT_EQ(bodies.size(), std::size_t{kCount});
    for (std::size_t i = 0; i < bodies.size(); ++i)
        ASSERT_EQ(bodies[i], std::to_string(i));
}
