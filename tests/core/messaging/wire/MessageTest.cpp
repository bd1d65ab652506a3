#include "messaging/Message.h"

#include "core/messaging/support/MessageText.h"
#include "core/messaging/support/MessagingFixture.h"
#include "messaging/TevoroTalkContext.h"
#include "messaging/TevoroTalkUtils.h"

#include <string>
#include <thread>
#include <vector>

namespace {

using namespace ScObjects;
using test::bytes;
using Message = TevoroTalk::Message;

class MessageTest : public test::MessagingFixture {
protected:
    static std::vector<std::string> headersOf(const Message& message)
    {
        std::vector<std::string> headers;
        for (const auto* header = message.headers; header != nullptr; header = header->next)
            headers.push_back(bytes(header->name) + "=" + bytes(header->value));
        return headers;
    }

    // Without the times that it says.
    static std::string logged(const Message& message, bool withBody)
    {
        SoString text = "former";
        EXPECT_TRUE(message.logToString("LABEL", text, withBody));
        return test::without(bytes(text), "Now");
    }

    Message message;
};

} // namespace

TEST_F(MessageTest, BeginsAsAnEmptyScriptOfThisMoment)
{
    const std::int64_t before = TevoroTalkUtils::getTimeSeconds();
    const Message fresh;
    EXPECT_GE(fresh.timestamp, before);
    EXPECT_LE(fresh.timestamp, TevoroTalkUtils::getTimeSeconds());
    EXPECT_EQ(test::described(fresh),
        "version=2.05 type=Quillscriber timestamp=" + std::to_string(fresh.timestamp));
    EXPECT_EQ(fresh.received, 0xFFFFFFFFU);
    EXPECT_EQ(fresh.contentLength, 0U);
    EXPECT_EQ(bytes(fresh.getVersion()), "2.05");
    EXPECT_TRUE(fresh.digestStatus.isEmpty());
    EXPECT_FALSE(fresh.isRejected());
}

TEST_F(MessageTest, PutsANewHeaderInFront)
{
    message.setHeader("First", "1");
    message.setHeader("Second", "2");
    EXPECT_THAT(headersOf(message), testing::ElementsAre("Second=2", "First=1"));
}

TEST_F(MessageTest, KeepsThePlaceOfAHeaderThatIsSetAgain)
{
    message.setHeader("First", "1");
    message.setHeader("Second", "2");
    message.setHeader("First", "3");
    EXPECT_THAT(headersOf(message), testing::ElementsAre("Second=2", "First=3"));
}

TEST_F(MessageTest, TellsHeadersApartByEveryLetter)
{
    message.setHeader("name", "1");
    message.setHeader("Name", "2");
    EXPECT_EQ(bytes(message.getUserHeaderValue("name")), "1");
    EXPECT_EQ(bytes(message.getUserHeaderValue("Name")), "2");
    EXPECT_TRUE(message.getUserHeaderValue("NAME").isEmpty());
}

TEST_F(MessageTest, IgnoresAHeaderWithoutAName)
{
    message.setHeader("", "1");
    message.setHeader(nullptr, "1");
    EXPECT_EQ(message.headers, nullptr);
}

TEST_F(MessageTest, TakesNoValueForAnEmptyOne)
{
    message.setHeader("Name", static_cast<const char*>(nullptr));
    EXPECT_THAT(headersOf(message), testing::ElementsAre("Name="));
}

TEST_F(MessageTest, WritesNumbersInDecimal)
{
    message.setHeader("Unsigned", 4294967295UL);
    message.setHeader("Signed", -5L);
    EXPECT_THAT(headersOf(message), testing::ElementsAre("Signed=-5", "Unsigned=4294967295"));
}

TEST_F(MessageTest, RemovesHeadersAtEveryPlace)
{
    for (const char* name : {"1", "2", "3", "4"})
        message.setHeader(name, name);
    message.removeHeader("missing");
    message.removeHeader("2");
    EXPECT_THAT(headersOf(message), testing::ElementsAre("4=4", "3=3", "1=1"));
    message.removeHeader("4");
    message.removeHeader("1");
    EXPECT_THAT(headersOf(message), testing::ElementsAre("3=3"));
    message.removeHeader("3");
    message.removeHeader("3");
    EXPECT_EQ(message.headers, nullptr);
}

TEST_F(MessageTest, IsCopiedWithAllFieldsAndItsHeadersInReverse)
{
    message.target = "target-1.0";
    message.sender = "sender-1.0";
    message.timeout = 5;
    message.type = "Own";
    message.responseRequest = "Result";
    message.timestamp = 1234;
    message.contentLength = 7;
    message.serialNumber = 1;
    message.received = 2;
    message.result = 3;
    message.error = 4;
    message.body = test::soString(std::string_view("a\0b", 3));
    message.version = "1.0";
    message.digestStatus = "REJECTED";
    message.setHeader("First", "1");
    message.setHeader("Second", "2");
    const Message copy(message);
    EXPECT_EQ(test::described(copy),
        "version=1.0 target=target-1.0 sender=sender-1.0 timeout=5 type=Own request=Result "
        "timestamp=1234 serial=1 received=2 result=3 error=4 First=1 Second=2 body="
            + std::string("a\0b", 3));
    EXPECT_EQ(copy.contentLength, 7U);
    EXPECT_TRUE(copy.isRejected());
    EXPECT_THAT(headersOf(message), testing::ElementsAre("Second=2", "First=1"));
}

TEST_F(MessageTest, IsCopiedAsAScriptWhenItHasNoType)
{
    message.type = "";
    EXPECT_EQ(bytes(Message(message).type), "Quillscriber");
}

TEST_F(MessageTest, KnowsTheTypesOfTheBusByEveryLetter)
{
    for (const char* word : {"Quillscriber",
             "Debug",
             "Receive",
             "Received",
             "Result",
             "Error",
             "Idle",
             "Timeout",
             "Log",
             "Ignore",
             "Processed",
             "Launched"}) {
        message.type = word;
        EXPECT_FALSE(message.isUserType()) << word;
    }
    for (const char* word : {"", "debug", "quillscriber", "Results", "ResultOwn", "ping", "Own"}) {
        message.type = word;
        EXPECT_TRUE(message.isUserType()) << word;
    }
}

TEST_F(MessageTest, TakesNumbersFromTheContext)
{
    EXPECT_EQ(Message::getNextSerialNumber(nullptr), 0U); // there is none
    ASSERT_TRUE(TevoroTalk::InitTerm::init("self-1.0", true));
    const std::uint32_t first = Message::getNextSerialNumber(nullptr);
    EXPECT_GT(first, 0U);
    EXPECT_EQ(Message::getNextSerialNumber(TevoroTalkContext::getCurrentContext()), first + 1);
}

TEST_F(MessageTest, IsRejectedByTwoWords)
{
    for (const char* word : {"REJECTED", "NODIGEST"}) {
        message.digestStatus = word;
        EXPECT_TRUE(message.isRejected()) << word;
    }
    message.digestStatus = "rejected";
    EXPECT_FALSE(message.isRejected());
}

TEST_F(MessageTest, DescribesItselfForTheLog)
{
    message.target = "target-1.0";
    message.sender = "sender-1.0";
    message.body = "body";
    EXPECT_EQ(logged(message, true),
        "QK LABEL------------------\n"
        "Target: target-1.0\n"
        "Sender: sender-1.0\n"
        "Type: Quillscriber\n"
        "Serial-Number:0\n"
        "Version:2.05\n"
        "Content-Length: 4\n"
        "\n"
        "body\n");
}

TEST_F(MessageTest, DescribesAllFieldsForTheLogAndLeavesTheBodyOut)
{
    message.target = "t";
    message.sender = "s";
    message.type = "";
    message.responseRequest = "Result Error";
    message.timeout = 60;
    message.timestamp = 1000;
    message.serialNumber = 7;
    message.received = 1;
    message.result = 2;
    message.error = 3;
    message.body = "body";
    message.setHeader("First", "1");
    message.setHeader("Second", "");
    EXPECT_EQ(logged(message, false),
        "QK LABEL------------------\n"
        "Target: t\n"
        "Sender: s\n"
        "Response-Request: Result Error\n"
        "Timeout: 60\n"
        "Deadline: 1060\n"
        "Serial-Number:7\n"
        "Version:2.05\n"
        "Received: 1\n"
        "Result: 2\n"
        "Error: 3\n"
        "Content-Length: 4\n"
        "Custom Headers:\n"
        "   Second: \n"
        "   First: 1\n"
        "\n"
        "<<BODY OMITTED>>\n");
}

TEST_F(MessageTest, TellsTheMomentInTheLog)
{
    const std::int64_t before = TevoroTalkUtils::getTimeSeconds();
    SoString text;
    message.logToString("LABEL", text, false);
    const std::int64_t now = std::stoll(test::lineOf(bytes(text), "Now").substr(4));
    EXPECT_GE(now, before);
    EXPECT_LE(now, TevoroTalkUtils::getTimeSeconds());
}

TEST_F(MessageTest, TakesHeadersFromSeveralThreads)
{
    constexpr int kThreads = 4;
    constexpr int kHeaders = 100;
    std::vector<std::thread> threads;
    message.setHeader("Shared", "0"); // found by the search, which takes no lock
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([this] {
            for (int j = 0; j < kHeaders; ++j)
                message.setHeader("Shared", long{j});
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(bytes(message.getUserHeaderValue("Shared")), "99");
}
