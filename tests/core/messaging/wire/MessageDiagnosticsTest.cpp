#include "core/messaging/support/MessagingFixture.h"
#include "messaging/Message.h"
#include "messaging/TevoroTalkUtils.h"

#include <string>
#include <vector>

namespace {

using namespace ScObjects;
using Message = TevoroTalk::Message;
using test::bytes;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::int64_t kTime = 1'785'000'000;

std::string timeOf(std::int64_t seconds)
{
    return bytes(TevoroTalkUtils::getTimeString(&seconds));
}

std::string linesOf(const Message& message)
{
    SoString out("before|");
    message.appendDiagnostics(out, "/p");
    return bytes(out);
}

std::vector<std::string> readLabels(const std::string& lines)
{
    std::vector<std::string> labels;
    SoString path, label, value;
    bool hasChildren = false;
    const char* at = lines.c_str();
    while ((at = TevoroTalkUtils::parseInfoLine(at, path, label, value, hasChildren)))
        labels.push_back(bytes(label));
    return labels;
}

void fill(Message& message)
{
    message.version = "2.05";
    message.target = "self-1.0";
    message.sender = "asker-1.0";
    message.timestamp = kTime;
    message.serialNumber = 12;
}

} // namespace

TEST(MessageDiagnosticsTest, TellsAllFields)
{
    Message message;
    fill(message);
    message.type = "Order";
    message.timeout = 60;
    message.responseRequest = "Result Error";
    message.received = 1;
    message.result = 2;
    message.error = 3;
    message.body = "first line\nsecond line";
    message.setHeader("Colour", "blue");
    message.setHeader("Room", "12");
    const std::string id = bytes(TevoroTalkUtils::getSenderID());
    EXPECT_EQ(linesOf(message),
        "before|/p/msg12;1;msg[00000012];" + timeOf(kTime)
            + ";\n"
              "/p/msg12/version;0;@QK>Version;2.05;\n"
              "/p/msg12/target;0;Target;self-1.0;\n"
              "/p/msg12/sender;0;Sender;asker-1.0;\n"
              "/p/msg12/senderid;0;Sender-ID;"
            + id
            + ";\n"
              "/p/msg12/timeout;0;Timeout;"
            + timeOf(kTime + 60)
            + ";\n"
              "/p/msg12/type;0;Type;Order;\n"
              "/p/msg12/request;0;Response-Request;Result Error\n"
              "/p/msg12/headers;1;Headers;;\n"
              "/p/msg12/headers/Room;0;Room;12;\n"
              "/p/msg12/headers/Colour;0;Colour;blue;\n"
              "/p/msg12/timestamp;0;Timestamp;"
            + timeOf(kTime)
            + ";\n"
              "/p/msg12/serialnumber;0;Serial-Number;12;\n"
              "/p/msg12/received;0;Received;1;\n"
              "/p/msg12/result;0;Result;2;\n"
              "/p/msg12/error;0;Error;3;\n"
              "/p/msg12/body;1;Body;22 bytes;\n"
              "/p/msg12/body/text;0;Text;first line;\n");
}

TEST(MessageDiagnosticsTest, StopsItsReadersAtHeadersThatAreNotThere)
{
    Message message;
    fill(message);
    const std::string lines = linesOf(message);
    EXPECT_THAT(lines, HasSubstr("\n/p/msg12/headers;Headers;(no headers);\n"));
    EXPECT_THAT(readLabels(lines.substr(lines.find('/'))),
        ElementsAre("msg[00000012]",
            "@QK>Version",
            "Target",
            "Sender",
            "Sender-ID",
            "Timeout",
            "Type",
            "Response-Request"));
}

TEST(MessageDiagnosticsTest, StopsItsReadersAtATimeThatIsNotThere)
{
    Message message;
    fill(message);
    message.timestamp = 0;
    message.timeout = 60;
    message.setHeader("Room", "12");
    const std::string lines = linesOf(message);
    EXPECT_THAT(lines, HasSubstr("\n/p/msg12/timestamp;Timestamp;undefined;\n"));
    EXPECT_THAT(lines, HasSubstr("\n/p/msg12/timeout;0;Timeout;undefined;\n"));
    EXPECT_EQ(readLabels(lines.substr(lines.find('/'))).back(), "Room");
}

TEST(MessageDiagnosticsTest, CallsUndefinedWhatIsNotThere)
{
    Message message;
    fill(message);
    message.type = "";
    message.serialNumber = QK_INVALID_MESSAGE_NUMBER;
    const std::string lines = linesOf(message);
    for (const char* part : {"/timeout;0;Timeout;",
             "/type;0;Type;",
             "/request;0;Response-Request;",
             "/received;0;Received;",
             "/result;0;Result;",
             "/error;0;Error;"})
        EXPECT_THAT(lines, HasSubstr(std::string(part) + "undefined;\n"));
    EXPECT_THAT(lines, HasSubstr("/serialnumber;0;Serial-Number;4294967295;\n"));
    EXPECT_THAT(lines, HasSubstr("/body;0;Body;(empty);\n"));
    EXPECT_THAT(lines, testing::Not(HasSubstr("/body/text")));
}

TEST(MessageDiagnosticsTest, LetsASemicolonEndAValueForItsReaders)
{
    Message message;
    fill(message);
    message.body = "a;b";
    const std::string lines = linesOf(message);
    const std::size_t at = lines.find("/p/msg12/body/text;");
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ(lines.substr(at), "/p/msg12/body/text;0;Text;a;b;\n");
    SoString path, label, value;
    bool hasChildren = true;
    TevoroTalkUtils::parseInfoLine(lines.c_str() + at, path, label, value, hasChildren);
    EXPECT_EQ(bytes(value), "a");
}

TEST(MessageDiagnosticsTest, HasNoTextOfABodyThatBeginsWithALineFeed)
{
    Message message;
    fill(message);
    message.body = "\nsecond";
    EXPECT_THAT(
        linesOf(message), HasSubstr("/body;1;Body;7 bytes;\n/p/msg12/body/text;0;Text;;\n"));
}
