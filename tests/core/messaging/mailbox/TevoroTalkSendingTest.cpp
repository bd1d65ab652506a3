// How a message leaves: what send() makes of it, where it goes, and what its caller is told.
#include "core/messaging/support/BusFixture.h"
#include "messaging/TevoroTalk.h"
#include "messaging/process/TevoroTalkThread.h"

#include <limits>
#include <memory>
#include <string>

namespace {

using namespace ScObjects;
using test::bytes;
using test::described;
using test::Inbox;
using test::InboxHandler;
using test::TestRegistry;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

using SteadyClock = std::chrono::steady_clock;

class TevoroTalkSendingTest : public test::BusFixture {
protected:
    TevoroTalkSendingTest()
        : instance(start())
        , target("target-1.0", true)
    {
    }

    // What came for the target, described.
    Words delivered() { return messagesIn(received(target, 1)); }

    // The one message that `sent` became, as it is described at the target.
    std::string asDelivered(Message& sent)
    {
        EXPECT_TRUE(send(instance, sent));
        const Words messages = delivered();
        return messages.size() == 1 ? messages[0] : std::to_string(messages.size()) + " messages";
    }

    static bool fails(const TevoroTalk& from, Message& message, bool launch = false)
    {
        return !send(from, message, launch);
    }

    // The error that the sender got for that message.
    void expectError(const Message& message, const std::string& text, const std::string& code)
    {
        ASSERT_TRUE(pumpUntil([&] { return inbox.size() == 1; }));
        const Inbox::Entry entry = inbox.at(0);
        EXPECT_EQ(entry.reason, TevoroTalk::MsgHandler::kError);
        EXPECT_EQ(entry.body, text);
        EXPECT_EQ(entry.errorCode, code);
        EXPECT_EQ(entry.serialNumber, message.serialNumber);
    }

    // That one watcher stands in the queue, until a time between those two.
    void expectWatchUntil(std::int64_t earliest, std::int64_t latest)
    {
        Words possible;
        for (std::int64_t time = earliest; time <= latest; ++time)
            possible.push_back(bytes(TevoroTalkUtils::getTimeString(&time)));
        EXPECT_THAT(queued(instance, "in", "Timeout"), ElementsAre(testing::AnyOfArray(possible)));
    }

    TevoroTalk& instance;
    InterAppStream target;
};

// One that a request asks for, and what the request says when it arrives.
struct RequestRow {
    const char* name;
    const char* type;
    const char* request;
    bool hasHandler;
    const char* delivered;
};

} // namespace

TEST_F(TevoroTalkSendingTest, FillsInNumberSenderTargetAndTime)
{
    const auto message = request("Target-1.0", "text");
    message->timestamp = 1;
    EXPECT_THAT(asDelivered(*message), HasSubstr("target=target-1.0 sender=self-1.0"));
    EXPECT_EQ(bytes(message->target), "target-1.0");
    EXPECT_EQ(bytes(message->sender), "self-1.0");
    EXPECT_NE(message->serialNumber, 0U);
    EXPECT_LE(now() - message->timestamp, 5);
}

TEST_F(TevoroTalkSendingTest, KeepsANumberAndASenderThatAreThere)
{
    const auto message = request("target-1.0", "text");
    message->serialNumber = 4711;
    message->sender = "somebody-3.0";
    EXPECT_THAT(asDelivered(*message), HasSubstr("sender=somebody-3.0"));
    EXPECT_EQ(message->serialNumber, 4711U);
}

TEST_F(TevoroTalkSendingTest, CountsUpFromMessageToMessage)
{
    const auto first = request("target-1.0");
    const auto second = request("target-1.0");
    EXPECT_TRUE(send(instance, *first));
    EXPECT_TRUE(send(instance, *second));
    EXPECT_EQ(second->serialNumber, first->serialNumber + 1);
}

TEST_F(TevoroTalkSendingTest, CompletesTheTargetByTheRegistry)
{
    TestRegistry::install({"target-1.0"});
    const auto message = request("target", "text");
    EXPECT_TRUE(send(instance, *message));
    // Behind the question whether it runs.
    EXPECT_EQ(bytes(message->target), "target-1.0");
    EXPECT_THAT(delivered(), testing::Contains(HasSubstr("body=text")));
}

TEST_F(TevoroTalkSendingTest, SendsNoEmptyRequest)
{
    Message message;
    message.target = "target-1.0";
    EXPECT_TRUE(fails(instance, message));
    EXPECT_EQ(message.serialNumber, 0U);
    EXPECT_FALSE(target.messagePending());
}

TEST_F(TevoroTalkSendingTest, SendsAnEmptyBodyOfAnotherTypeOrWithAnAnswerNumber)
{
    const auto own = request("target-1.0", "");
    own->type = "Own";
    EXPECT_THAT(asDelivered(*own), HasSubstr("type=Own"));
    for (const auto number : {&Message::received, &Message::result, &Message::error}) {
        const auto message = request("target-1.0", "");
        (*message).*number = 5;
        EXPECT_TRUE(send(instance, *message));
        EXPECT_EQ(delivered().size(), 1U);
    }
}

TEST_F(TevoroTalkSendingTest, RefusesAnUnusableTargetAndTellsTheSender)
{
    for (const std::string& unusable : {std::string(), std::string(300, 'a')}) {
        inbox.clear();
        const auto message = request(unusable, "text", "Error");
        message->sender = "self-1.0";
        message->serialNumber = 9;
        EXPECT_TRUE(fails(instance, *message));
        expectError(*message, "ERROR: INVALID SPECIFIER", "59");
    }
}

TEST_F(TevoroTalkSendingTest, FailsWhereNobodyIsAndLaunchingIsNotAskedFor)
{
    const auto message = request("nobody-1.0", "text", "Error");
    EXPECT_TRUE(fails(instance, *message));
    expectError(*message, "ERROR: LAUNCHING IS SUPPRESSED", "59");
    EXPECT_FALSE(instance.outgoingMessagePending());
}

TEST_F(TevoroTalkSendingTest, FailsWhereTheTargetCannotBeLaunched)
{
    const auto message = request("nobody-1.0", "text", "Error");
    EXPECT_TRUE(fails(instance, *message, true));
    expectError(*message, "ERROR: TARGET COULD NOT BE LAUNCHED", "59");
    EXPECT_FALSE(instance.outgoingMessagePending());
}

TEST_F(TevoroTalkSendingTest, TellsNobodyWhoDidNotAskForErrors)
{
    const auto message = request("nobody-1.0", "text", "Result Processed");
    EXPECT_TRUE(fails(instance, *message));
    EXPECT_FALSE(pump());
}

TEST_F(TevoroTalkSendingTest, FailsAlsoWhenTheErrorReachedAnother)
{
    const auto message = request("nobody-1.0", "text", "Error");
    message->sender = "target-1.0";
    EXPECT_TRUE(fails(instance, *message));
    EXPECT_THAT(delivered(), ElementsAre(HasSubstr("type=Error")));
}

TEST_F(TevoroTalkSendingTest, CannotWriteAMessageWithoutASender)
{
    const InterAppStream nameless("nameless_1-1.0", true);
    const TevoroTalk& mute = another("nameless_1-1.0");
    const auto message = request("target-1.0", "text", "Error");
    EXPECT_TRUE(fails(mute, *message));
    EXPECT_FALSE(target.messagePending());
}

TEST_F(TevoroTalkSendingTest, AsksForTheEndOfWhatIsAwaited)
{
    const RequestRow rows[] = {
        {"nothing asked", "Own", "", false, ""},
        {"result", "Own", "Result", false, " request=Result Processed"},
        {"end", "Own", "Processed", false, " request=Processed"},
        {"end in a word", "Own", "NotProcessedYet", false, " request=NotProcessedYet"},
        {"handler", "Own", "", true, " request= Processed"},
        {"handler and result", "Own", "Result", true, " request=Result Processed"},
        {"debug", "Debug", "Result", true, " request=Result"},
        {"ignore", "Ignore", "Result", true, " request=Result"},
    };
    for (const RequestRow& row : rows) {
        SCOPED_TRACE(row.name);
        const auto message = request("target-1.0", "text", row.request);
        message->type = row.type;
        message->serialNumber = 77;
        if (row.hasHandler)
            delete instance.changeHandler(new InboxHandler(inbox, "Other", 77));
        const std::string text = asDelivered(*message);
        EXPECT_THAT(
            text, HasSubstr(std::string("type=") + row.type + row.delivered + " timestamp"));
        instance.deleteHandlers(77);
    }
}

TEST_F(TevoroTalkSendingTest, DeliversInTheProcessWithoutAText)
{
    TevoroTalk& second = another("second-1.0", new InboxHandler(inbox));
    const Paused pause;
    // On the wire a NUL becomes a line feed.
    const auto message = request("second-1.0", std::string("a\0b", 3));
    EXPECT_TRUE(send(instance, *message));
    EXPECT_FALSE(isReadable(instance.waitDescriptor()));
    EXPECT_TRUE(isReadable(second.waitDescriptor()));
    EXPECT_TRUE(second.processIncomingMessage(kNone, true));
    EXPECT_THAT(inbox.bodies(), ElementsAre(std::string("a\0b", 3)));
}

TEST_F(TevoroTalkSendingTest, PutsTheReceiptBeforeTheMessageInTheTargetsQueue)
{
    const TevoroTalk& second = another("second-1.0");
    const Paused pause;
    const auto message = request("second-1.0", "text", "Received");
    message->type = "Own";
    EXPECT_TRUE(send(instance, *message));
    const std::string number = std::to_string(message->serialNumber);
    EXPECT_THAT(queued(second, "in", "Type"), ElementsAre("Received", "Own"));
    EXPECT_THAT(queued(second, "in", "Serial-Number"), ElementsAre(number, number));
    EXPECT_THAT(queued(second, "in", "Received"), ElementsAre(number, "undefined"));
    EXPECT_THAT(queued(second, "in", "Target"), ElementsAre("self-1.0", "second-1.0"));
    EXPECT_THAT(queued(second, "in", "Sender"), ElementsAre("second-1.0", "self-1.0"));
    EXPECT_THAT(
        queued(second, "in", "Response-Request"), ElementsAre("undefined", "Received Processed"));
    EXPECT_THAT(queued(instance, "in", "Type"), IsEmpty());
}

TEST_F(TevoroTalkSendingTest, KeepsTheCallersMessageApartFromTheDeliveredOne)
{
    const auto message = request("self-1.0", "before");
    EXPECT_TRUE(send(instance, *message));
    message->body = "after";
    EXPECT_TRUE(pump());
    EXPECT_THAT(inbox.bodies(), ElementsAre("before"));
}

TEST_F(TevoroTalkSendingTest, WatchesForAnAnswer)
{
    const Paused pause;
    const auto message = request("target-1.0", "text", "Timeout");
    message->timeout = 30;
    const std::int64_t before = now();
    EXPECT_TRUE(send(instance, *message));
    EXPECT_THAT(queued(instance, "in", "Type"), ElementsAre("Ignore"));
    EXPECT_THAT(queued(instance, "in", "Target"), ElementsAre("self-1.0"));
    EXPECT_THAT(queued(instance, "in", "Sender"), ElementsAre("self-1.0"));
    EXPECT_THAT(queued(instance, "in", "Response-Request"), ElementsAre("Timeout"));
    EXPECT_THAT(queued(instance, "in", "Serial-Number"),
        ElementsAre(std::to_string(message->serialNumber)));
    // A second later than the message itself runs out.
    expectWatchUntil(before + 31, now() + 31);
}

TEST_F(TevoroTalkSendingTest, WatchesAMinuteForWhatNeverRunsOut)
{
    const Paused pause;
    const auto message = request("target-1.0", "text", "Timeout");
    const std::int64_t before = now();
    EXPECT_TRUE(send(instance, *message));
    expectWatchUntil(before + 60, now() + 60);
}

TEST_F(TevoroTalkSendingTest, WatchesForTheLongestTimeThatThereIs)
{
    const Paused pause;
    const auto message = request("target-1.0", "text", "Timeout");
    message->timeout = std::numeric_limits<std::int32_t>::max();
    const std::int64_t before = now() + message->timeout;
    EXPECT_TRUE(send(instance, *message));
    expectWatchUntil(before, now() + message->timeout);
}

TEST_F(TevoroTalkSendingTest, WatchesNotWhereTheTargetDoes)
{
    const Paused pause;
    const auto message = request("target-1.0", "text", "Timeout");
    message->setHeader("TIMEOUT_DETECTOR", "TARGET");
    EXPECT_TRUE(send(instance, *message));
    EXPECT_THAT(queued(instance, "in", "Type"), IsEmpty());
    const auto watched = request("target-1.0", "text", "Timeout");
    watched->setHeader("TIMEOUT_DETECTOR", "SENDER");
    EXPECT_TRUE(send(instance, *watched));
    EXPECT_THAT(queued(instance, "in", "Type"), ElementsAre("Ignore"));
}

TEST_F(TevoroTalkSendingTest, KeepsASendersOwnTimeoutNoticeFromOthers)
{
    const auto message = request("target-1.0", "text");
    message->type = "Timeout";
    message->setHeader("TIMEOUT_DETECTOR", "SENDER");
    message->sender = "self-1.0";
    EXPECT_TRUE(fails(instance, *message));
    message->target = "self-1.0";
    EXPECT_TRUE(send(instance, *message));
    message->target = "target-1.0";
    message->setHeader("TIMEOUT_DETECTOR", "TARGET");
    EXPECT_TRUE(send(instance, *message));
    EXPECT_EQ(delivered().size(), 1U);
}

TEST_F(TevoroTalkSendingTest, WaitsUntilTheMessageWasWorkedOff)
{
    TevoroTalk& second = another("second-1.0", new InboxHandler(inbox));
    const auto message = request("second-1.0", "text");
    message->serialNumber = 77;
    instance.changeHandler(new InboxHandler(inbox, "Quillscriber", 77));
    EXPECT_TRUE(instance.send(*message, false, 10, nullptr));
    EXPECT_THAT(inbox.words(), ElementsAre("1 Quillscriber text", "0 Processed"));
    EXPECT_EQ(instance.findHandler("", 77), nullptr);
    EXPECT_FALSE(second.incomingMessagePending());
}

TEST_F(TevoroTalkSendingTest, WaitsForNothingWithoutAHandler)
{
    const auto start = SteadyClock::now();
    const auto message = request("target-1.0", "text");
    EXPECT_TRUE(instance.send(*message, false, 60, nullptr));
    EXPECT_LT(SteadyClock::now() - start, kPatience);
}

TEST_F(TevoroTalkSendingTest, WaitsForAsLongAsItIsAsked)
{
    TevoroTalk& second = another("second-1.0", new InboxHandler(inbox));
    for (const unsigned long seconds : {std::numeric_limits<unsigned long>::max(), 1UL << 40U}) {
        const auto message = request("second-1.0", "text");
        message->serialNumber = 77;
        instance.changeHandler(new InboxHandler(inbox, "Quillscriber", 77));
        EXPECT_TRUE(instance.send(*message, false, seconds, nullptr));
    }
    EXPECT_FALSE(second.incomingMessagePending());
}

TEST_F(TevoroTalkSendingTest, GivesUpWaitingAtTheDeadline)
{
    const auto message = request("target-1.0", "text", "Result");
    message->serialNumber = 77;
    instance.changeHandler(new InboxHandler(inbox, "Quillscriber", 77));
    const auto start = SteadyClock::now();
    EXPECT_FALSE(instance.send(*message, false, 1, nullptr));
    EXPECT_GE(SteadyClock::now() - start, std::chrono::seconds(1));
    EXPECT_EQ(delivered().size(), 1U);
    EXPECT_NE(instance.findHandler("", 77), nullptr);
}

TEST_F(TevoroTalkSendingTest, EndsTheWaitOnAnError)
{
    const auto message = request("nobody-1.0", "text", "Error");
    message->serialNumber = 77;
    instance.changeHandler(new InboxHandler(inbox, "Error", 77));
    const auto start = SteadyClock::now();
    EXPECT_FALSE(instance.send(*message, false, 60, nullptr));
    EXPECT_LT(SteadyClock::now() - start, kPatience);
    EXPECT_THAT(inbox.bodies(), ElementsAre("ERROR: LAUNCHING IS SUPPRESSED"));
    EXPECT_EQ(instance.findHandler("", 77), nullptr);
}
