// What a sender is told of its message: by the handler's return, by what it throws, and by what
// never came to a handler.
#include "core/messaging/support/ReceivingFixture.h"
#include "messaging/TevoroTalk.h"

#include <string>

namespace {

using namespace ScObjects;
using test::bytes;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class TevoroTalkAnsweringTest : public test::ReceivingFixture { };

} // namespace

TEST_F(TevoroTalkAnsweringTest, AnswersThreeTimes)
{
    handler->answer = "forty-two";
    post("Response-Request:Received Result Error Processed\n");
    handle(1);
    EXPECT_THAT(answers(3), ElementsAre("Received", "Result", "Processed"));
}

TEST_F(TevoroTalkAnsweringTest, AnswersOnlyWhatWasAskedFor)
{
    post("Response-Request:Error\n");
    post("Response-Request:NotResultButReceivedTwice\n");
    handle(2);
    EXPECT_THAT(answers(2), ElementsAre("Received", "Result")); // words anywhere in the text count
    EXPECT_FALSE(asker.messagePending());
}

TEST_F(TevoroTalkAnsweringTest, SendsTheHandlersTextAsResult)
{
    handler->answer = "forty-two";
    post("Response-Request:Result\n");
    handle(1);
    const auto result = answer();
    EXPECT_EQ(bytes(result->type), "Result");
    EXPECT_EQ(bytes(result->body), "forty-two");
    EXPECT_EQ(bytes(result->sender), "self-1.0");
}

TEST_F(TevoroTalkAnsweringTest, SendsTheHandlersNumberAsError)
{
    handler->code = -7;
    handler->answer = "no such thing";
    post("Response-Request:Result Error\n");
    handle(1);
    const auto error = answer();
    EXPECT_EQ(bytes(error->type), "Error");
    EXPECT_EQ(bytes(error->body), "no such thing");
    EXPECT_EQ(bytes(error->getUserHeaderValue("Error-Code")), "-7");
}

TEST_F(TevoroTalkAnsweringTest, SendsAnExceptionAsErrorAndGoesOn)
{
    handler->throws = true;
    post("Response-Request:Result Error Processed\n");
    handle(1);
    const std::string text = receivedUntil("Type:Processed");
    EXPECT_THAT(text, HasSubstr("Error-Code:-29\n"));
    EXPECT_THAT(text, HasSubstr("\n\nException"));
    EXPECT_THAT(text, Not(HasSubstr("Type:Result")));
    handler->throws = false;
    post("");
    handle(2);
}

TEST_F(TevoroTalkAnsweringTest, AnswersAMessageOfNoVersionUnderANewNumberInItsType)
{
    handler->answer = "forty-two";
    EXPECT_TRUE(asker.send("self-1.0",
        "@QK>Version:\nTarget:self-1.0\nSender:asker-1.0\nSerial-Number:4242\nType:Own\n"
        "Response-Request:Result\nContent-Length:4\n\nbody"));
    const std::string text = receivedUntil("forty-two");
    EXPECT_THAT(text, HasSubstr("\nType:Own\n"));
    EXPECT_THAT(text, HasSubstr("\nResult:4242\n"));
    EXPECT_THAT(text, Not(HasSubstr("Serial-Number:4242")));
}

TEST_F(TevoroTalkAnsweringTest, TellsNobodyOfAnErrorWhoDidNotAsk)
{
    handler->code = 5;
    post("Response-Request:Result\n");
    handle(1);
    EXPECT_FALSE(asker.messagePending());
}

TEST_F(TevoroTalkAnsweringTest, RejectsAMessageOfAnotherHand)
{
    Message::setAuthentication(true);
    EXPECT_TRUE(asker.send("self-1.0",
        test::soString("@QK>MD5:0123456789ABCDEF\n"
            + text("Response-Request:Received Result Error Processed\n", "untrue"))));
    const std::string text = receivedUntil("Type:Processed");
    EXPECT_THAT(text, HasSubstr("Error-Code:53\n"));
    EXPECT_THAT(text, HasSubstr("\n\nERROR: MESSAGE REJECTED"));
    EXPECT_THAT(text, Not(HasSubstr("Type:Result")));
    EXPECT_THAT(inbox.words(), IsEmpty());
}

TEST_F(TevoroTalkAnsweringTest, RejectsWhatWasReadBeforeProofsWereAskedFor)
{
    const Paused pause;
    post("Response-Request:Error\n");
    ASSERT_TRUE(isReadable(instance.waitDescriptor(), kPatience));
    instance.processIncomingMessage(kNone, false);
    Message::setAuthentication(true);
    EXPECT_TRUE(pump());
    EXPECT_EQ(bytes(answer()->body), "ERROR: MESSAGE REJECTED");
    EXPECT_THAT(inbox.words(), IsEmpty());
}

TEST_F(TevoroTalkAnsweringTest, TellsSendersOfWhatRanOutInItsQueue)
{
    const Paused pause;
    const std::string outOfTime = "Timestamp: " + std::to_string(now() - 100) + "\nTimeout:50\n";
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

TEST_F(TevoroTalkAnsweringTest, AnswersWithAResultWhoAskedForOne)
{
    Message asked;
    asked.target = "self-1.0";
    asked.sender = "asker-1.0";
    asked.serialNumber = 42;
    asked.timeout = 5;
    asked.setHeader("Mine", "kept");
    asked.body = "question";
    asked.responseRequest = "Received";
    EXPECT_FALSE(instance.sendResult(asked, "answer"));
    asked.responseRequest = "Result";
    EXPECT_TRUE(instance.sendResult(asked, "answer"));
    const std::string text = received(asker, 1);
    for (const char* line : {"Target:asker-1.0",
             "Sender:self-1.0",
             "Type:Result",
             "Serial-Number:42",
             "Result:42",
             "Mine:kept"})
        EXPECT_THAT(text, HasSubstr(std::string("\n") + line + "\n"));
    EXPECT_THAT(text, testing::EndsWith("\n\nanswer"));
    for (const char* line : {"Timeout:", "Response-Request:"})
        EXPECT_THAT(text, Not(HasSubstr(std::string("\n") + line)));
    EXPECT_EQ(bytes(asked.body), "question");
}

TEST_F(TevoroTalkAnsweringTest, AnswersAMessageWithoutAVersionByANewMessageOfItsType)
{
    Message asked;
    asked.target = "self-1.0";
    asked.sender = "asker-1.0";
    asked.version = "";
    asked.type = "Own";
    asked.serialNumber = 4242;
    asked.responseRequest = "Result";
    EXPECT_TRUE(instance.sendResult(asked, "answer"));
    const std::string text = received(asker, 1);
    const std::uint32_t next = TevoroTalk::getSharedContext()->nextSerialNumber();
    EXPECT_THAT(text, HasSubstr("\nType:Own\n"));
    EXPECT_THAT(text, HasSubstr("\nSerial-Number:" + std::to_string(next - 1) + "\n"));
    EXPECT_THAT(text, HasSubstr("\nResult:4242\n"));
}

TEST_F(TevoroTalkAnsweringTest, AnswersUnderItsNameWhereTheMessageSaysNoTarget)
{
    Message asked;
    asked.sender = "asker-1.0";
    asked.serialNumber = 42;
    asked.responseRequest = "Result";
    EXPECT_TRUE(instance.sendResult(asked, "answer"));
    EXPECT_THAT(messagesIn(received(asker, 1)), ElementsAre(HasSubstr("sender=self-1.0")));
}
