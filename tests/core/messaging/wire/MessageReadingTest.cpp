#include "core/messaging/support/MessageWireFixture.h"
#include "messaging/Message.h"

#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace ScObjects;
using test::bytes;
using test::described;

constexpr char kWhat[] = "version=2.05 target=t sender=s type=Quillscriber"; // of kHead

class MessageReadingTest : public test::MessageWireFixture { };

} // namespace

TEST_F(MessageReadingTest, ReadsGoodTexts)
{
    const std::string head = test::kHead;
    const std::string what = kWhat;
    test::expectRead({
        {"all lines",
            "@QK>Version:2.05\nTarget:t\nSender:s\nSender-ID:localhost:mac7\nTimeout:5\nType:Own\n"
            "Response-Request:Result\nName:Value\nTimestamp: 1000\nSerial-Number:7\n"
            "Content-Length:4\n\nbody",
            "version=2.05 target=t sender=s timeout=5 type=Own request=Result timestamp=1000 "
            "serial=7 Name=Value Sender-ID=localhost:mac7 body=body"},
        {"no version", "Target:t\nSender:s\n\n", "version=1.0 target=t sender=s type=Quillscriber"},
        {"a version of the old name",
            "Version:3\nTarget:t\n\n",
            "version=@QK>3 target=t type=Quillscriber"},
        {"an empty version", "@QK>Version:\nTarget:t\n\n", "target=t type=Quillscriber"},
        {"any order",
            "Sender:s\nTarget:t\nType:Own\n@QK>Version:2.05\n\n",
            "version=2.05 target=t sender=s type=Own"},
        {"an error code", head + "Error-Code:53\n\n", what + " Error-Code=53"},
    });
}

TEST_F(MessageReadingTest, ReadsMarkedHeaders)
{
    const std::string head = test::kHead;
    const std::string what = kWhat;
    test::expectRead({
        {"a mark", head + "@HDR>Timeout:9\n\n", what + " Timeout=9"},
        {"a mark on an ordinary name", head + "@HDR>Name:1\n\n", what + " Name=1"},
        {"two marks", head + "@HDR>@HDR>Name:1\n\n", what + " @HDR>Name=1"},
        {"a mark without a version",
            "Target:t\n@HDR>Type:x\n\n",
            "version=1.0 target=t type=Quillscriber Type=x"},
        {"a mark in version 2.0",
            "@QK>Version:2.0\nTarget:t\n@HDR>Type:x\n\n",
            "version=2.0 target=t type=Quillscriber @HDR>Type=x"},
        {"a mark before the version",
            "@HDR>Type:x\n@QK>Version:2.0\n@HDR>Type:y\nTarget:t\n\n",
            "version=2.0 target=t type=Quillscriber @HDR>Type=y Type=x"},
        {"a mark behind a version of the old name",
            "Version:2.0\n@HDR>Type:x\nTarget:t\n\n",
            "version=@QK>2.0 target=t type=Quillscriber Type=x"},
    });
}

TEST_F(MessageReadingTest, KeepsNamesAndValuesAsTheyStand)
{
    const std::string head = test::kHead;
    const std::string what = kWhat;
    test::expectRead({
        {"a value with colons", head + "Name:1:2:\n\n", what + " Name=1:2:"},
        {"blanks stay", head + "Name: a b \n Other :c\n\n", what + "  Other =c Name= a b "},
        {"a carriage return stays", head + "Name:1\r\n\n", what + " Name=1\r"},
        {"an empty value", head + "Name:\n\n", what + " Name=(empty)"},
        {"an empty value empties", head + "Type:\n\n", "version=2.05 target=t sender=s"},
        {"a header twice", head + "A:1\nB:2\nA:3\n\n", what + " B=2 A=3"},
        {"a field twice",
            head + "Target:u\n\n",
            "version=2.05 target=u sender=s type=Quillscriber"},
        {"a body of line feeds", head + "Content-Length:3\n\n\n\n\n", what + " body=\n\n\n"},
        {"no body length", head + "\nbody", what},
        {"names are told apart by every letter",
            head + "target:u\nTYPE:x\n\n",
            what + " TYPE=x target=u"},
        {"the upper end of a number",
            head + "Serial-Number:4294967295\n\n",
            what + " serial=4294967295"},
    });
}

TEST_F(MessageReadingTest, ReadsOfBadTextsWhatThereIs)
{
    const std::string head = test::kHead;
    const std::string what = kWhat;
    const std::string none = "version=1.0 type=Quillscriber";
    test::expectRead({
        {"nothing", "", none},
        {"a line feed", "\n", none},
        {"line feeds in front", "\n\nTarget:t\n\n", none},
        {"a NUL", std::string(1, '\0'), none},
        {"no colon", "Target", none},
        {"no colon in many lines", "a\nb\nc\n\n\n", none + " a\nb\nc\n\n\n=(empty)"},
        {"no colon in the first line",
            "noise\nTarget:t\nSender:s\n\n",
            "version=1.0 sender=s type=Quillscriber noise\nTarget=t"},
        {"a colon alone", ":", none},
        {"no name", ":value\nTarget:t\n\n", "version=1.0 target=t type=Quillscriber"},
        {"colons", ":::::\n:\n::\n\n", none},
        {"a mark without a name", head + "@HDR>:x\n\n", what},
        {"half a mark", head + "@HDR:x\n\n", what + " @HDR=x"},
        {"a NUL in a name", head + std::string("Na\0me:1\n\n", 9), what + " Na=(empty)"},
        {"a NUL in a value", head + std::string("Name:1\0002\n\n", 10), what + " Name=1"},
        {"a NUL for a line", head + std::string("\0Name:1\n\n", 9), what},
        {"the end in a name", head + "Na", what + " Na=(empty)"},
        {"the end in a value", head + "Name:Val", what + " Name=Val"},
        {"the end behind a colon", head + "Name:", what + " Name=(empty)"},
        {"the end behind a line", head, what},
        {"a digest without a value", "@QK>MD5:\n" + head + "\n", what},
        {"bytes of every kind",
            head + "\x01\xff\x80:\x7f\xfe\n\n",
            what + " \x01\xff\x80=\x7f\xfe"},
    });
}

TEST_F(MessageReadingTest, ReadsOfBodiesOfBadLengthsWhatThereIs)
{
    const std::string head = test::kHead;
    const std::string what = kWhat;
    test::expectRead({
        {"the end before the body", head + "Content-Length:4\n", what},
        {"a body that is too short", head + "Content-Length:9\n\nbody", what + " body=body"},
        {"a huge length", head + "Content-Length:4294967295\n\nbody", what + " body=body"},
        {"a length of more than 32 bits",
            head + "Content-Length:4294967298\n\nbody",
            what + " body=bo"},
        {"a length of more than 64 bits",
            head + "Content-Length:99999999999999999999999999999999\n\nbody",
            what + " body=body"},
        {"a negative length", head + "Content-Length:-1\n\nbody", what + " body=body"},
        {"a small negative length", head + "Content-Length:-4294967294\n\nbody", what + " body=bo"},
        {"a length that is no number", head + "Content-Length:four\n\nbody", what},
        {"an empty length", head + "Content-Length:\n\nbody", what},
        {"a length with a tail", head + "Content-Length:2 bytes\n\nbody", what + " body=bo"},
        {"a hexadecimal length", head + "Content-Length:0x4\n\nbody", what},
        {"blanks and a sign in front", head + "Content-Length: \t+2\n\nbody", what + " body=bo"},
        {"two lengths", head + "Content-Length:1\nContent-Length:2\n\nbody", what + " body=bo"},
    });
}

TEST_F(MessageReadingTest, ReadsOfBadNumbersWhatThereIs)
{
    const std::string head = test::kHead;
    const std::string what = kWhat;
    test::expectRead({
        {"a number that is none", head + "Serial-Number:x\n\n", what},
        {"a number with a tail", head + "Serial-Number:12x3\n\n", what + " serial=12"},
        {"a negative number", head + "Serial-Number:-2\n\n", what + " serial=4294967294"},
        {"a number of more than 32 bits",
            head + "Serial-Number:4294967297\n\n",
            what + " serial=1"},
        {"no number for an answer",
            head + "Type:Own\nResult:x\n\n",
            "version=2.05 target=t sender=s type=ResultOwn"},
        {"the invalid number for an answer", head + "Result:4294967295\nError:-1\n\n", what},
        {"a negative time", head + "Timestamp:-5\n\n", what + " timestamp=9007199254740992"},
        {"a time beyond all",
            head + "Timestamp:99999999999999999999\nTimeout:2147483647\n\n",
            "version=2.05 target=t sender=s timeout=2147483647 type=Quillscriber "
            "timestamp=9007199254740992"},
    });
}

TEST_F(MessageReadingTest, FindsTheNextMessageBehindOne)
{
    const std::string first = std::string(test::kHead) + "Content-Length:4\n\nbody";
    const std::string second = std::string(test::kHead) + "Type:Second\n\n";
    const test::ReadMessage result = test::readMessage(first + "\n\n\n" + second);
    EXPECT_EQ(bytes(result.message->body), "body");
    EXPECT_EQ(result.rest, second);
    EXPECT_EQ(bytes(test::readMessage(result.rest).message->type), "Second");
    EXPECT_EQ(test::readMessage(result.rest).rest, "");
    EXPECT_EQ(test::readMessage(first + second).rest, second);
}

TEST_F(MessageReadingTest, LeavesABodyOfNoKnownLengthToTheNextRead)
{
    EXPECT_EQ(test::readMessage(std::string(test::kHead) + "\nbody\n").rest, "body\n");
}

TEST_F(MessageReadingTest, ReadsATerminatedText)
{
    const std::string text = std::string(test::kHead) + "Content-Length:9\n\nbody";
    Message message;
    EXPECT_EQ(message.readFromString(text.c_str()), text.c_str() + text.size());
    EXPECT_EQ(bytes(message.body), "body");
    EXPECT_EQ(message.contentLength, 9U);
}

TEST_F(MessageReadingTest, ReadsNothingFromAnEmptyText)
{
    const char* const text = "";
    Message message;
    EXPECT_EQ(message.readFromString(text), text);
    EXPECT_EQ(bytes(message.version), "1.0");
    EXPECT_TRUE(message.digestStatus.isEmpty());
    Message::setAuthentication(false);
    EXPECT_EQ(message.readFromString(text), text);
    EXPECT_EQ(bytes(message.digestStatus), "NODIGEST");
}

TEST_F(MessageReadingTest, ReadsEachBeginningOfAGoodText)
{
    Message message;
    address(message);
    message.timeout = 5;
    message.setHeader("Timeout", "custom");
    message.body = test::soString(std::string_view("bo\0dy", 5));
    const std::string text = written(message);
    const std::size_t digestEnd = text.find('\n') + 1;
    for (std::size_t length = 0; length < text.size(); ++length) {
        SCOPED_TRACE(length);
        const test::ReadMessage cut = test::readMessage(text.substr(0, length));
        if (length >= digestEnd) {
            EXPECT_TRUE(cut.message->isRejected());
        }
        EXPECT_EQ(cut.rest, "");
        EXPECT_TRUE(message.body.view().starts_with(cut.message->body.view()));
        EXPECT_TRUE(message.target.view().starts_with(cut.message->target.view()));
    }
    EXPECT_FALSE(test::readMessage(text).message->isRejected());
    EXPECT_EQ(test::readMessage(text).message->body.view(), message.body.view());
}

TEST_F(MessageReadingTest, GivesAMessageWithATimeoutTheMomentForItsTime)
{
    const std::int64_t before = TevoroTalkUtils::getTimeSeconds();
    const std::string head = test::kHead;
    EXPECT_GE(test::readMessage(head + "Timeout:5\n\n").message->timestamp, before);
    EXPECT_EQ(test::readMessage(head + "Timeout:5\nTimestamp:7\n\n").message->timestamp, 7);
    EXPECT_EQ(test::readMessage(head + "Timeout:-5\n\n").message->timestamp, 0);
    EXPECT_EQ(test::readMessage(head + "\n").message->timestamp, 0);
}

TEST_F(MessageReadingTest, ForgetsWhatAUsedMessageHeld)
{
    Message message;
    message.readFromString("@QK>Version:2.05\nTarget:t\nSender:s\nTimeout:5\nType:debug\n"
                           "Response-Request:Result\nName:1\nTimestamp:1000\nSerial-Number:7\n"
                           "Received:1\nResult:2\nError:3\nContent-Length:4\n\nbody");
    EXPECT_EQ(described(message),
        "version=2.05 target=t sender=s timeout=5 type=debug request=Result timestamp=1000 "
        "serial=7 received=1 result=2 error=3 Name=1 body=body");
    message.readFromString("Target:u\n\n");
    EXPECT_EQ(described(message), "version=1.0 target=u timestamp=1000");
}

TEST_F(MessageReadingTest, ReadsOverAMessageWithoutATarget)
{
    Message message;
    message.timestamp = 0;
    message.setHeader("Name", "1");
    message.serialNumber = 7;
    message.readFromString("Target:u\n\n");
    EXPECT_EQ(described(message), "version=1.0 target=u type=Quillscriber serial=7 Name=1");
}

TEST_F(MessageReadingTest, KeepsNoMoreHeadersThanAnybodySends)
{
    std::string text = test::kHead;
    for (int i = 0; i < 5000; ++i)
        text += "H" + std::to_string(i) + ":" + std::to_string(i) + "\n";
    text += "Type:Last\nContent-Length:4\n\nbody";
    const test::ReadMessage result = test::readMessage(text);
    const Message& message = *result.message;
    EXPECT_EQ(bytes(message.getUserHeaderValue("H4095")), "4095");
    EXPECT_TRUE(message.getUserHeaderValue("H4096").isEmpty());
    EXPECT_EQ(bytes(message.type), "Last");
    EXPECT_EQ(bytes(message.body), "body");
}

TEST_F(MessageReadingTest, ReadsManyLinesInTimeProportionalToThem)
{
    const auto textOf = [](int lines) {
        std::string text = test::kHead;
        for (int i = 0; i < lines; ++i)
            text += "Header-" + std::to_string(i) + ":value\n";
        return text + "\n";
    };
    const std::string some = textOf(100'000);
    const std::string many = textOf(800'000);
    test::readMessage(some);
    const double forSome = secondsFor([&] { test::readMessage(some); });
    const double forMany = secondsFor([&] { test::readMessage(many); });
    EXPECT_LT(forMany, 24 * forSome); // a product of the lines would be 64 times
    RecordProperty("seconds_for_100000_lines", std::to_string(forSome));
}

TEST_F(MessageReadingTest, ReadsTextsWithoutColonsLineFeedsOrEndsInTimeProportionalToThem)
{
    for (const std::string& piece : {std::string("a\n"),
             std::string("a:"),
             std::string("\n"),
             std::string(1, '\0'),
             std::string(":\n"),
             std::string("Content-Length:1\n\n")}) {
        const auto readAll = [&piece](int count) {
            std::string text;
            for (int i = 0; i < count; ++i)
                text += piece;
            return secondsFor([&text] {
                std::string_view rest = text;
                for (std::size_t left = rest.size() + 1; !rest.empty() && rest.size() < left;) {
                    left = rest.size();
                    Message message;
                    const char* const end = rest.data() + rest.size();
                    const char* const next = message.readFromString(rest.data(), end);
                    rest.remove_prefix(static_cast<std::size_t>(next - rest.data()));
                }
            });
        };
        readAll(1000);
        const double forSome = readAll(10'000);
        EXPECT_LT(readAll(80'000), 24 * forSome + 0.05) << testing::PrintToString(piece);
    }
}
