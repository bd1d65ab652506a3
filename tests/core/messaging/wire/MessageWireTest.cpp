#include "core/messaging/support/MessageWireFixture.h"
#include "messaging/Message.h"

#include <cstring>
#include <random>
#include <string>
#include <string_view>

namespace {

using namespace ScObjects;
using test::bytes;
using test::described;
using test::lineOf;

// Their names say what a message is, so that a custom header of that name has to be marked.
constexpr const char* kTags[] = {"Sender",
    "Sender-ID",
    "Target",
    "Timeout",
    "Type",
    "Response-Request",
    "Timestamp",
    "Content-Length",
    "Serial-Number",
    "Received",
    "Result",
    "Error",
    "Error-Code",
    "@QK>Version"};

class MessageWireTest : public test::MessageWireFixture { };

} // namespace

TEST_F(MessageWireTest, WritesEightLinesForANewMessage)
{
    Message::setCreateDigest(false);
    Message message;
    address(message);
    const std::int64_t before = TevoroTalkUtils::getTimeSeconds();
    const std::string text = written(message);
    const std::string time = lineOf(text, "Timestamp").substr(std::strlen("Timestamp: "));
    EXPECT_GE(std::stoll(time), before);
    EXPECT_LE(std::stoll(time), TevoroTalkUtils::getTimeSeconds());
    EXPECT_EQ(text,
        "@QK>Version:2.05\n"
        "Target:t\n"
        "Sender:s\n"
        "Sender-ID:localhost:mac"
            + std::to_string(::getpid())
            + "\n"
              "Type:Quillscriber\n"
              "Timestamp: "
            + time
            + "\n"
              "Serial-Number:0\n"
              "Content-Length:0\n"
              "\n");
}

TEST_F(MessageWireTest, WritesAllLinesInTheirOrder)
{
    Message::setCreateDigest(false);
    Message message;
    address(message);
    message.timeout = 60;
    message.type = "Own";
    message.responseRequest = "Result Error";
    message.setHeader("First", "1");
    message.setHeader("Second", "");
    message.serialNumber = 7;
    message.received = 8;
    message.result = 9;
    message.error = 0;
    message.contentLength = 4711;
    message.body = test::soString(std::string_view("bo\n\0dy", 6));
    EXPECT_EQ(fixedLines(message),
        std::string("@QK>Version:2.05\nTarget:t\nSender:s\nTimeout:60\nType:Own\n"
                    "Response-Request:Result Error\nSecond:\nFirst:1\nSerial-Number:7\n"
                    "Received:8\nResult:9\nError:0\nContent-Length:6\n\nbo\n")
            + std::string("\0dy", 3));
}

TEST_F(MessageWireTest, WritesNoLineForAnEmptyType)
{
    Message message;
    address(message);
    message.type = "";
    EXPECT_EQ(lineOf(written(message), "Type"), "");
}

TEST_F(MessageWireTest, WritesANegativeTimeoutAsAnUnsignedNumber)
{
    Message message;
    address(message);
    message.timeout = -1;
    EXPECT_EQ(lineOf(written(message), "Timeout"), "Timeout:4294967295");
    EXPECT_EQ(test::readMessage(written(message)).message->timeout, -1);
}

TEST_F(MessageWireTest, WritesTheMomentAndNotTheTimestamp)
{
    Message message;
    address(message);
    message.timestamp = 1;
    EXPECT_GT(test::readMessage(written(message)).message->timestamp, 1600000000);
}

TEST_F(MessageWireTest, RefusesAMessageWithoutTargetOrSender)
{
    SoString out = "former";
    Message message;
    message.sender = "s";
    EXPECT_FALSE(message.writeToString(out));
    message.sender = "";
    message.target = "t";
    EXPECT_FALSE(message.writeToString(out));
    EXPECT_EQ(bytes(out), "former");
}

TEST_F(MessageWireTest, WritesBehindWhatIsThere)
{
    SoString out = "former";
    Message message;
    address(message);
    EXPECT_TRUE(message.writeToString(out));
    EXPECT_TRUE(out.view().starts_with("former@QK>MD5:"));
}

TEST_F(MessageWireTest, MarksCustomHeadersThatAreCalledLikeTags)
{
    for (const char* tag : kTags) {
        SCOPED_TRACE(tag);
        Message message;
        address(message);
        message.setHeader(tag, "custom");
        const test::ReadMessage result = test::readMessage(written(message));
        EXPECT_NE(
            written(message).find("\n@HDR>" + std::string(tag) + ":custom\n"), std::string::npos);
        EXPECT_EQ(bytes(result.message->getUserHeaderValue(tag)), "custom");
        EXPECT_EQ(bytes(result.message->target), "t");
        EXPECT_EQ(result.message->timeout, 0);
        EXPECT_EQ(bytes(result.message->type), "Quillscriber");
    }
}

TEST_F(MessageWireTest, MarksNoOtherCustomHeader)
{
    for (const char* name : {"sender", "Name", "Version", "Sender-Id", "@QK>MD5x", "Error-Codes"}) {
        Message message;
        address(message);
        message.setHeader(name, "custom");
        EXPECT_NE(written(message).find("\n" + std::string(name) + ":custom\n"), std::string::npos)
            << name;
    }
}

TEST_F(MessageWireTest, MarksNothingInTheVersionsBeforeTheMark)
{
    for (const char* version : {"", "1.0", "2.0"}) {
        Message message;
        address(message);
        message.version = version;
        message.setHeader("Timeout", "9");
        EXPECT_EQ(lineOf(written(message), "@HDR>Timeout"), "") << version;
        EXPECT_EQ(test::readMessage(written(message)).message->timeout, 9) << version;
    }
    for (const char* version : {"2.05", "2.1", "3", "1.00", "x"}) {
        Message message;
        address(message);
        message.version = version;
        message.setHeader("Timeout", "9");
        EXPECT_EQ(test::readMessage(written(message)).message->timeout, 0) << version;
    }
}

TEST_F(MessageWireTest, TurnsAnAnswersNumberIntoATypeOfItsOwn)
{
    const std::string head = test::kHead;
    const std::string what = "version=2.05 target=t sender=s type=";
    test::expectRead({
        {"a user's type",
            head + "Type:Own\nSerial-Number:3\nResult:7\n\n",
            what + "ResultOwn serial=7"},
        {"a type of the bus",
            head + "Type:Debug\nSerial-Number:3\nResult:7\n\n",
            what + "Result serial=7"},
        {"no type", head + "Received:7\n\n", what + "Received serial=7"},
        {"an empty type", head + "Type:\nReceived:7\n\n", what + "Received serial=7"},
        {"the type itself", head + "Type:Result\nResult:7\n\n", what + "Result serial=7"},
        {"an error", head + "Type:Own\nError:7\n\n", what + "ErrorOwn serial=7"},
        {"number 0", head + "Type:Own\nError:0\n\n", what + "ErrorOwn"},
        {"two numbers",
            head + "Type:Own\nReceived:7\nResult:8\n\n",
            what + "ResultReceivedOwn serial=8"},
        {"three numbers of a script",
            head + "Error:9\nReceived:7\nResult:8\n\n",
            what + "Error serial=9"},
        {"a type of lower case",
            head + "Type:debug\nSerial-Number:3\nResult:7\n\n",
            what + "debug serial=3 result=7"},
        {"a type written by a peer",
            head + "Type:ResultOwn\nSerial-Number:7\n\n",
            what + "ResultOwn serial=7"},
    });
}

TEST_F(MessageWireTest, ReversesCustomHeaders)
{
    Message message;
    address(message);
    message.setHeader("First", "1");
    message.setHeader("Second", "2");
    const test::ReadMessage once = test::readMessage(fixedLines(message));
    EXPECT_NE(once.what().find(" First=1 Second=2"), std::string::npos) << once.what();
}

TEST_F(MessageWireTest, CarriesTheSenderIDOfAForwardedMessageBesideItsOwn)
{
    const test::ReadMessage received =
        test::readMessage("@QK>Version:2.05\nTarget:t\nSender:s\nSender-ID:far\n\n");
    const std::string forwarded = written(*received.message);
    EXPECT_EQ(lineOf(forwarded, "@HDR>Sender-ID"), "@HDR>Sender-ID:far");
    EXPECT_EQ(lineOf(forwarded, "Sender-ID"), "Sender-ID:" + bytes(TevoroTalkUtils::getSenderID()));
}

TEST_F(MessageWireTest, BringsRandomMessagesThrough)
{
    std::mt19937 random(7);
    const auto pick = [&random](unsigned int count) { return random() % count; };
    const auto text = [&](unsigned int most, std::string_view without) {
        std::string result(1 + pick(most), ' ');
        for (char& c : result)
            while (without.find(c = static_cast<char>(pick(256))) != std::string_view::npos) { }
        return result;
    };
    const std::string_view forbidden("\n\0", 2);
    for (int i = 0; i < 500; ++i) {
        SCOPED_TRACE(i);
        Message message;
        message.target = test::soString(text(20, forbidden));
        message.sender = test::soString(text(20, forbidden));
        message.timeout = pick(2) == 0 ? 0 : static_cast<std::int32_t>(random());
        message.type = test::soString("T" + text(10, forbidden));
        message.responseRequest = test::soString(text(10, forbidden));
        message.serialNumber = static_cast<std::uint32_t>(random());
        message.setHeader(kTags[2 + pick(12)], text(10, forbidden).c_str()); // no Sender-ID
        for (auto n = pick(5); n > 0; --n)
            message.setHeader(
                ("H" + text(5, std::string_view("\n\0:", 3))).c_str(), text(10, forbidden).c_str());
        message.body = test::soString(text(300, ""));
        test::ReadMessage result = test::readMessage(written(message));
        EXPECT_FALSE(result.message->isRejected());
        EXPECT_EQ(result.rest, "");
        result.message->removeHeader("Sender-ID"); // the line that each writer makes anew
        result.message->timestamp = message.timestamp;
        EXPECT_EQ(described(Message(*result.message)), described(message));
        EXPECT_EQ(result.message->body.view(), message.body.view());
    }
}

TEST_F(MessageWireTest, CarriesABodyOfAMegabyte)
{
    Message message;
    address(message);
    const std::string body(1024 * 1024, '\n');
    message.body = test::soString(body);
    const test::ReadMessage result = test::readMessage(written(message));
    EXPECT_FALSE(result.message->isRejected());
    EXPECT_EQ(bytes(result.message->body), body);
    EXPECT_EQ(result.rest, "");
}

TEST_F(MessageWireTest, ReadsNumbersAsTheLibraryOfCDoes)
{
    struct Row {
        const char* text;
        std::uint32_t number;
    };
    for (const Row& row : {Row{"7", 7},
             {" \t\v\f\r 7", 7},
             {"+7", 7},
             {"-7", 0xFFFFFFF9},
             {"- 7", 0},
             {"+-7", 0},
             {"0x10", 0},
             {"7 8", 7},
             {"7x", 7},
             {"x7", 0},
             {"", 0},
             {"007", 7},
             {"4294967296", 0},
             {"4294967295", 0xFFFFFFFF},
             {"18446744073709551615", 0xFFFFFFFF},
             {"18446744073709551616", 0xFFFFFFFF},
             {"-18446744073709551616", 0xFFFFFFFF},
             {"99999999999999999999999999", 0xFFFFFFFF}}) {
        Message message;
        const std::string text = "Serial-Number:" + std::string(row.text) + "\n\n";
        message.readFromString(text.c_str());
        EXPECT_EQ(message.serialNumber, row.number) << '"' << row.text << '"';
        EXPECT_EQ(
            message.serialNumber, static_cast<std::uint32_t>(std::strtoull(row.text, nullptr, 10)));
    }
}

// A large body at the end of a text takes the text's buffer over, and nobody can tell.
TEST_F(MessageWireTest, ReadsBodiesOfAllSizesOutOfOneText)
{
    const std::size_t large = std::size_t{64} * 1024;
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, large - 1, large, 3 * large}) {
        for (const char* behind : {"", "\n", "x"}) {
            Message written;
            address(written);
            written.body = SoString(std::string(size, 'b'));
            written.setHeader("Own", "value");
            SoString text;
            ASSERT_TRUE(written.writeToString(text));
            const long end = text.length();
            text << behind;
            Message read;
            const long next = read.readFrom(text, 0);
            EXPECT_EQ(next, *behind == '\n' ? end + 1 : end) << size;
            EXPECT_EQ(read.body.view(), written.body.view());
            EXPECT_EQ(read.getUserHeaderValue("Own"), "value");
            EXPECT_EQ(read.digestStatus, "");
            EXPECT_EQ(read.contentLength, size);
        }
    }
}

TEST_F(MessageWireTest, FindsALargeBodyThatWasChangedOnItsWay)
{
    Message written;
    address(written);
    written.body = SoString(std::string(100000, 'b'));
    SoString text;
    ASSERT_TRUE(written.writeToString(text));
    std::string changed(text.view());
    changed[changed.size() - 50000] = 'c';
    SoString again(changed);
    Message read;
    read.readFrom(again, 0);
    EXPECT_TRUE(read.isRejected());
    EXPECT_EQ(read.body.length(), 100000);
}

TEST_F(MessageWireTest, ReadsALargeBodyBehindAnotherMessage)
{
    SoString text;
    for (const char mark : {'1', '2'}) {
        Message written;
        address(written);
        written.body = SoString(std::string(100000, mark));
        ASSERT_TRUE(written.writeToString(text));
    }
    Message first;
    const long place = first.readFrom(text, 0);
    EXPECT_EQ(first.body.view(), std::string(100000, '1'));
    const long end = text.length();
    Message second;
    EXPECT_EQ(second.readFrom(text, place), end);
    EXPECT_EQ(second.body.view(), std::string(100000, '2'));
}
