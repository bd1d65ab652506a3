// How a message comes in: from the port into the queue, from the queue to its handler, and what its
// sender is told.
#include "core/messaging/support/BusFixture.h"
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

class TevoroTalkReceivingTest : public test::BusFixture {
protected:
    TevoroTalkReceivingTest()
        : instance(start())
        , asker("asker-1.0", true)
    {
        Message::setAuthentication(false);
    }

    // A message from the asker to the instance: those lines, an empty line, the body.
    void post(std::string const& lines, std::string const& body = "body")
    {
        EXPECT_TRUE(asker.send("self-1.0", test::soString(text(lines, body))));
    }
    static std::string text(std::string const& lines, std::string const& body = "body")
    {
        return "@QK>Version:2.05\nTarget:self-1.0\nSender:asker-1.0\nSerial-Number:42\n" + lines
            + "Content-Length:" + std::to_string(body.size()) + "\n\n" + body;
    }

    // Pumps until that many messages were handled.
    void handle(std::size_t count)
    {
        EXPECT_TRUE(pumpUntil([&] { return inbox.size() >= count; }));
    }

    // The types of what the asker got.
    Words answers(std::size_t count)
    {
        Words types;
        while (types.size() < count) {
            std::string const got = received(asker, 1);
            if (got.empty())
                break;
            char const* const end = got.data() + got.size();
            for (char const* at = got.data(); at != end;) {
                Message message;
                at = message.readFromString(at, end);
                EXPECT_EQ(message.serialNumber, 42U);
                types.push_back(bytes(message.type));
            }
        }
        return types;
    }
    // All that the asker gets until that word came.
    std::string receivedUntil(std::string const& word)
    {
        std::string text;
        EXPECT_TRUE(pumpUntil([&] {
            if (asker.messagePending())
                text += received(asker, 1);
            return text.find(word) != std::string::npos;
        })) << text;
        return text;
    }
    // The one answer.
    std::unique_ptr<Message> answer()
    {
        std::string const got = received(asker, 1);
        auto message = std::make_unique<Message>();
        char const* const end = got.data() + got.size();
        EXPECT_EQ(message->readFromString(got.data(), end), end) << "more than one answer";
        return message;
    }

    TevoroTalk& instance;
    InterAppStream asker;
};

struct ReasonRow {
    char const* name;
    char const* lines;
    char const* words; // reason and type that the handler sees
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
        std::string const body = bytes(message.body);
        std::size_t const start = body.rfind(';', body.size() - 3);
        m_notes.push_back(bytes(message.getUserHeaderValue("MsgRoot")) + " "
            + body.substr(start + 1, body.size() - start - 3));
        return 0;
    }
    char const* getMsgType() const override { return "FWDMESSAGES"; }

private:
    std::vector<std::string>& m_notes;
};

} // namespace

TEST_F(TevoroTalkReceivingTest, TellsTheHandlerWhatAMessageIs)
{
    ReasonRow const rows[] = {
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
    for (ReasonRow const& row : rows) {
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

TEST_F(TevoroTalkReceivingTest, AnswersThreeTimes)
{
    handler->answer = "forty-two";
    post("Response-Request:Received Result Error Processed\n");
    handle(1);
    EXPECT_THAT(answers(3), ElementsAre("Received", "Result", "Processed"));
}

TEST_F(TevoroTalkReceivingTest, AnswersOnlyWhatWasAskedFor)
{
    post("Response-Request:Error\n");
    post("Response-Request:NotResultButReceivedTwice\n");
    handle(2);
    EXPECT_THAT(answers(2), ElementsAre("Received", "Result")); // words anywhere in the text count
    EXPECT_FALSE(asker.messagePending());
}

TEST_F(TevoroTalkReceivingTest, SendsTheHandlersTextAsResult)
{
    handler->answer = "forty-two";
    post("Response-Request:Result\n");
    handle(1);
    auto const result = answer();
    EXPECT_EQ(bytes(result->type), "Result");
    EXPECT_EQ(bytes(result->body), "forty-two");
    EXPECT_EQ(bytes(result->sender), "self-1.0");
}

TEST_F(TevoroTalkReceivingTest, SendsTheHandlersNumberAsError)
{
    handler->code = -7;
    handler->answer = "no such thing";
    post("Response-Request:Result Error\n");
    handle(1);
    auto const error = answer();
    EXPECT_EQ(bytes(error->type), "Error");
    EXPECT_EQ(bytes(error->body), "no such thing");
    EXPECT_EQ(bytes(error->getUserHeaderValue("Error-Code")), "-7");
}

TEST_F(TevoroTalkReceivingTest, SendsAnExceptionAsErrorAndGoesOn)
{
    handler->throws = true;
    post("Response-Request:Result Error Processed\n");
    handle(1);
    std::string const text = receivedUntil("Type:Processed");
    EXPECT_THAT(text, HasSubstr("Error-Code:-29\n"));
    EXPECT_THAT(text, HasSubstr("\n\nException"));
    EXPECT_THAT(text, Not(HasSubstr("Type:Result")));
    handler->throws = false;
    post("");
    handle(2);
}

TEST_F(TevoroTalkReceivingTest, AnswersAMessageOfNoVersionUnderANewNumberInItsType)
{
    handler->answer = "forty-two";
    EXPECT_TRUE(asker.send("self-1.0",
        "@QK>Version:\nTarget:self-1.0\nSender:asker-1.0\nSerial-Number:4242\nType:Own\n"
        "Response-Request:Result\nContent-Length:4\n\nbody"));
    std::string const text = receivedUntil("forty-two");
    EXPECT_THAT(text, HasSubstr("\nType:Own\n"));
    EXPECT_THAT(text, HasSubstr("\nResult:4242\n"));
    EXPECT_THAT(text, Not(HasSubstr("Serial-Number:4242")));
}

TEST_F(TevoroTalkReceivingTest, TellsNobodyOfAnErrorWhoDidNotAsk)
{
    handler->code = 5;
    post("Response-Request:Result\n");
    handle(1);
    EXPECT_FALSE(asker.messagePending());
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

TEST_F(TevoroTalkReceivingTest, RejectsAMessageOfAnotherHand)
{
    Message::setAuthentication(true);
    EXPECT_TRUE(asker.send("self-1.0",
        test::soString("@QK>MD5:0123456789ABCDEF\n"
            + text("Response-Request:Received Result Error Processed\n", "untrue"))));
    std::string const text = receivedUntil("Type:Processed");
    EXPECT_THAT(text, HasSubstr("Error-Code:53\n"));
    EXPECT_THAT(text, HasSubstr("\n\nERROR: MESSAGE REJECTED"));
    EXPECT_THAT(text, Not(HasSubstr("Type:Result")));
    EXPECT_THAT(inbox.words(), IsEmpty());
}

TEST_F(TevoroTalkReceivingTest, RejectsWhatWasReadBeforeProofsWereAskedFor)
{
    Paused const pause;
    post("Response-Request:Error\n");
    ASSERT_TRUE(isReadable(instance.waitDescriptor(), kPatience));
    instance.processIncomingMessage(kNone, false);
    Message::setAuthentication(true);
    EXPECT_TRUE(pump());
    EXPECT_EQ(bytes(answer()->body), "ERROR: MESSAGE REJECTED");
    EXPECT_THAT(inbox.words(), IsEmpty());
}

TEST_F(TevoroTalkReceivingTest, DeletesTheHandlersOfAMessageThatCameToItsEnd)
{
    for (char const* type : {"Processed", "Error", "Timeout"}) {
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

TEST_F(TevoroTalkReceivingTest, KeepsTheHandlersWhileOtherAnswersCome)
{
    Inbox ofMessage;
    instance.changeHandler(new InboxHandler(ofMessage, "Own", 42));
    for (char const* type : {"Received", "Result", "Quillscriber", "Log"})
        post(std::string("Type:") + type + "\n");
    handle(4);
    EXPECT_EQ(ofMessage.handlers, 1);
    instance.deleteHandlers(42);
}

TEST_F(TevoroTalkReceivingTest, CancelsTheWatcherWithTheEnd)
{
    auto const message = request("asker-1.0", "text", "Timeout");
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
    Paused const pause;
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
    std::string const both = text("Type:Own\n", "first") + "\n" + text("Type:Own\n", "second");
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
    Paused const pause;
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

TEST_F(TevoroTalkReceivingTest, TellsSendersOfWhatRanOutInItsQueue)
{
    Paused const pause;
    std::string const outOfTime = "Timestamp: " + std::to_string(now() - 100) + "\nTimeout:50\n";
    post("Type:Own\nResponse-Request:Timeout\n" + outOfTime);
    post("Type:Own\nResponse-Request:Timeout\nTIMEOUT_DETECTOR:SENDER\n" + outOfTime);
    post("Type:Own\nResponse-Request:Result\n" + outOfTime);
    post("Type:Own\n", "in time");
    ASSERT_TRUE(isReadable(instance.waitDescriptor(), kPatience));
    handle(1);
    EXPECT_THAT(inbox.bodies(), ElementsAre("in time"));
    EXPECT_THAT(answers(1), ElementsAre("Timeout"));
    EXPECT_FALSE(asker.messagePending());
}

TEST_F(TevoroTalkReceivingTest, TellsItselfOfAnAnswerThatDidNotCome)
{
    auto const message = request("asker-1.0", "text", "Timeout");
    message->timeout = 1;
    message->serialNumber = 42;
    Inbox ofMessage;
    EXPECT_TRUE(send(instance, *message));
    instance.changeHandler(new InboxHandler(ofMessage, "Own", 42));
    std::int64_t const sent = message->timestamp;
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
        Paused const pause;
        instance.changeHandler(new ForwardNotes(notes));
        for (char const* type : {"Own", "Processed", "Error", "Timeout", "Debug", "Log"})
            post(std::string("Type:") + type + "\n");
        ASSERT_TRUE(isReadable(instance.waitDescriptor(), kPatience));
        handle(6);
    }
    std::string const root = "/messages/self-1.0/self-1.0/in ";
    Words expected;
    for (char const* end :
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
    Words const bodies = inbox.bodies();
    ASSERT_EQ(bodies.size(), std::size_t{kCount});
    for (std::size_t i = 0; i < bodies.size(); ++i)
        ASSERT_EQ(bodies[i], std::to_string(i));
}
