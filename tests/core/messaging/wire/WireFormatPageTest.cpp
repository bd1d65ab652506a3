// The examples and tables of docs/wire-format.md against the code: each is taken out of the page,
// and held against what an application on the bus does with it. The peer here is made of system
// calls alone, as the page tells them.
#include "core/messaging/support/WireFormatPage.h"

#include "core/messaging/support/MessageWireFixture.h"
#include "core/messaging/support/RawPort.h"
#include "core/platform/support/PeerProcess.h"
#include "core/platform/support/RogueSender.h"
#include "platform/common/ports/LocalPort.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <regex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace ScObjects;
using test::bytes;
using test::example;
using test::limit;
using test::lineOf;
using test::linesOf;
using test::message;
using test::pageText;
using test::PeerProcess;
using test::RawPort;
using test::withLine;
using test::Words;
using test::wordsOf;

class WireFormatPageTest : public test::MessageWireFixture {
protected:
    WireFormatPageTest() { setSalt(linesOf(example("salt")).at(0)); }

    std::string ports() const { return folder.path("ports"); }
    static std::string stemOf(const std::string& name)
    {
        for (const std::string& line : linesOf(example("port files")))
            if (wordsOf(line).at(0) == name)
                return wordsOf(line).at(1);
        throw std::runtime_error("no port " + name);
    }
    static std::string portName(const std::string& name) { return gPortName + name; }
};

// The application, which is another process, and a peer that holds asker-1.0.
class WireFormatExchangeTest : public WireFormatPageTest {
protected:
    WireFormatExchangeTest()
        : m_asker(ports(), stemOf("asker-1.0"), portName("asker-1.0"))
        , m_application({ANSWERING_APPLICATION, "answerer-1.0"})
    {
        EXPECT_EQ(m_application.line(), "answerer-1.0");
        // Its thread takes a moment to be there.
        const auto limit = std::chrono::steady_clock::now() + kPatience;
        while (Pt::isLocalPortFree(portName("answerer-1.0#thread"))
            && std::chrono::steady_clock::now() < limit)
            std::this_thread::yield();
    }
    ~WireFormatExchangeTest() override { EXPECT_EQ(m_application.finish(), 0); }

    // Over a connection to that name's socket.
    void send(const std::string& name, const std::string& text)
    {
        test::RogueSender sender(ports() + "/" + stemOf(name) + ".sock");
        EXPECT_TRUE(sender.send(text));
    }
    // An example as it would be written now.
    static std::string fresh(const std::string& text)
    {
        const std::string now = std::to_string(TevoroTalkUtils::getTimeSeconds());
        const std::string rest =
            withLine(test::without(text, "@QK>MD5"), "Timestamp", "Timestamp: " + now);
        return withDigest(rest);
    }
    std::string receiveText() { return m_asker.receive().text; }
    // With what changes from one time to the next as the example has it.
    static std::string asRecorded(
        std::string text, const std::string& name, const Words& changing = {})
    {
        EXPECT_FALSE(test::readMessage(text).message->isRejected());
        const std::string recorded = message(name);
        Words lines = changing;
        lines.insert(lines.end(), {"Timestamp", "Sender-ID", "@QK>MD5"});
        for (const std::string& line : lines)
            text = withLine(text, line, lineOf(recorded, line));
        return text;
    }
    // What comes next.
    std::string received(const std::string& name, const Words& changing = {})
    {
        return asRecorded(receiveText(), name, changing);
    }

private:
    RawPort m_asker;
    PeerProcess m_application;
};

} // namespace

TEST_F(WireFormatPageTest, NamesTheFilesOfPorts)
{
    for (const std::string& line : linesOf(example("port files"))) {
        const std::string name = wordsOf(line).at(0);
        SCOPED_TRACE(name);
        const InterAppStream stream(name.c_str(), true);
        const std::string path = ports() + "/" + stemOf(name);
        EXPECT_TRUE(std::filesystem::is_socket(path + ".sock"));
        std::string expected = example("lock file");
        expected.replace(0, expected.find('\n'), std::to_string(::getpid()));
        if (name == "tevoro-2.0") {
            EXPECT_EQ(test::read(path + ".lock"), expected);
        }
    }
    EXPECT_NE(linesOf(example("port files")).size(), 0U);
}

TEST_F(WireFormatPageTest, TellsAPeerHowToHoldAPort)
{
    const std::string name = portName("tevoro-2.0");
    RawPort port(ports(), stemOf("tevoro-2.0"), name);
    EXPECT_FALSE(Pt::isLocalPortFree(name));
    ASSERT_EQ(Pt::heldLocalPorts().size(), 1U);
    EXPECT_EQ(Pt::heldLocalPorts()[0].name, name);
    EXPECT_EQ(Pt::heldLocalPorts()[0].processId, ::getpid());
    const InterAppStream other("tevoro-2.0", true);
    EXPECT_FALSE(other.isGood());
    const InterAppStream sender("asker-1.0", true);
    ASSERT_TRUE(sender.send("tevoro-2.0", "a text"));
    const RawPort::Packet packet = port.receive();
    EXPECT_FALSE(packet.wasMemoryFile);
    EXPECT_EQ(packet.bytes, "a text");
}

TEST_F(WireFormatPageTest, TellsAPeerHowToReadAndSendMemoryFiles)
{
    RawPort port(ports(), stemOf("tevoro-2.0"), portName("tevoro-2.0"));
    InterAppStream asker("asker-1.0", true);
    const std::string large(std::size_t{5} << 20U, 'l');
    ASSERT_TRUE(asker.send("tevoro-2.0", test::soString(large)));
    const RawPort::Packet packet = port.receive();
    EXPECT_TRUE(packet.wasMemoryFile);
    EXPECT_TRUE(packet.text == large);
    std::string hex;
    for (const char byte : packet.bytes) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02X ", static_cast<unsigned char>(byte));
        hex += digits;
    }
    hex.back() = '\n';
    EXPECT_EQ(hex, example("memory file packet"));
    const test::MemoryFile file(3); // with all seals
    test::RogueSender sender(ports() + "/" + stemOf("asker-1.0") + ".sock");
    ASSERT_TRUE(sender.send(test::asPacket(3), {file.number()}));
    EXPECT_EQ(received(asker, 3), "\n\n\n"); // the zeros of the file
}

TEST_F(WireFormatPageTest, ShowsADigestByteByByte)
{
    const Words lines = linesOf(example("digest"));
    ASSERT_EQ(lines.size(), 4U);
    const auto valueOf = [&lines](
                             std::size_t i) { return lines[i].substr(lines[i].find(':') + 2); };
    std::string digits;
    for (const std::string& byte : wordsOf(valueOf(2)))
        digits += byte.size() == 2 && byte[0] == '0' ? byte.substr(1) : byte;
    EXPECT_EQ(wordsOf(valueOf(2)).size(), 20U);
    EXPECT_EQ(digits, valueOf(3));
    EXPECT_EQ(bytes(TevoroTalkData::getDigest(valueOf(1), valueOf(0))), valueOf(3));
}

TEST_F(WireFormatPageTest, ShowsMessagesWithTheirDigests)
{
    const std::regex mark("<!-- example: (.*) -->\n```\n@QK>MD5:");
    const std::string page = pageText();
    int count = 0;
    for (std::sregex_iterator at(page.begin(), page.end(), mark), end; at != end; ++at) {
        const std::string name = (*at)[1];
        const bool isWrong = name == "request with a wrong digest";
        const test::ReadMessage read = test::readMessage(message(name));
        EXPECT_EQ(read.message->isRejected(), isWrong) << name;
        EXPECT_EQ(read.rest, "") << name;
        ++count;
    }
    EXPECT_GE(count, 10);
}

TEST_F(WireFormatPageTest, ShowsHowAMessageIsRead)
{
    std::string fields;
    for (const std::string& line : linesOf(example("request, read")))
        fields += (fields.empty() ? "" : " ") + line;
    EXPECT_EQ(test::readMessage(message("request")).what(), fields);
}

TEST_F(WireFormatPageTest, ShowsHowAMessageIsWritten)
{
    const test::ReadMessage read = test::readMessage(message("request"));
    Message copy(*read.message); // which puts the custom headers into their order again
    copy.removeHeader("Sender-ID");
    std::string text = written(copy);
    for (const char* line : {"Timestamp", "Sender-ID", "@QK>MD5"})
        text = withLine(text, line, lineOf(message("request"), line));
    EXPECT_EQ(text, message("request"));
}

TEST_F(WireFormatPageTest, ListsTheTypesOfTheBus)
{
    const Words words = wordsOf(example("types of the bus"));
    EXPECT_EQ(std::set<std::string>(words.begin(), words.end()).size(), 12U);
    for (const std::string& word : words) {
        Message message;
        message.type = word.c_str();
        EXPECT_FALSE(message.isUserType()) << word;
    }
}

TEST_F(WireFormatPageTest, ListsTheNamesThatAreMarked)
{
    const Words words = wordsOf(example("names that are marked"));
    EXPECT_EQ(std::set<std::string>(words.begin(), words.end()).size(), 14U);
    for (const std::string& word : words) {
        Message message;
        address(message);
        message.setHeader(word.c_str(), "v");
        EXPECT_EQ(lineOf(written(message), "@HDR>" + word), "@HDR>" + word + ":v");
    }
}

TEST_F(WireFormatPageTest, TellsTheLimits)
{
    EXPECT_EQ(limit("Bytes of a text"), Pt::LocalPort::kMaxText);
    const std::size_t headers = limit("Custom header lines kept of a message");
    std::string text = test::kHead;
    for (std::size_t i = 0; i < headers + 10; ++i)
        text += "H" + std::to_string(i) + ":v\n";
    const test::ReadMessage read = test::readMessage(text + "\n");
    std::size_t kept = 0;
    for (const auto* header = read.message->headers; header != nullptr; header = header->next)
        ++kept;
    EXPECT_EQ(kept, headers);
    const TevoroTalk::Specifier longest(
        std::string(limit("Bytes of a name that is completed"), 'n').c_str(), false);
    EXPECT_FALSE(longest.isEmpty());
    EXPECT_EQ(limit("Seconds that a queued message without a timeout lives"), 600U);
    EXPECT_EQ(TevoroTalkData::kQueueLifetime, 600);
}

TEST_F(WireFormatExchangeTest, IsAnsweredAsThePageShows)
{
    send("answerer-1.0", fresh(message("request")));
    EXPECT_EQ(received("received"), message("received"));
    EXPECT_EQ(received("result"), message("result"));
    EXPECT_EQ(received("processed"), message("processed"));
}

TEST_F(WireFormatExchangeTest, IsAnsweredWithoutADigest)
{
    send("answerer-1.0", test::without(fresh(message("request")), "@QK>MD5"));
    EXPECT_EQ(received("received"), message("received"));
}

TEST_F(WireFormatExchangeTest, IsToldOfAnError)
{
    send("answerer-1.0", fresh(message("request that fails")));
    EXPECT_EQ(received("error"), message("error"));
}

TEST_F(WireFormatExchangeTest, IsToldThatADigestIsWrong)
{
    const std::string text = message("request with a wrong digest");
    const std::string now = std::to_string(TevoroTalkUtils::getTimeSeconds());
    send("answerer-1.0", withLine(text, "Timestamp", "Timestamp: " + now));
    EXPECT_EQ(received("rejection"), message("rejection"));
}

TEST_F(WireFormatExchangeTest, IsToldThatTheTimeIsOver)
{
    send("answerer-1.0", message("request that came too late"));
    EXPECT_EQ(received("time-out"), message("time-out"));
}

TEST_F(WireFormatExchangeTest, IsAnsweredToPings)
{
    for (const std::string name : {"ping", "ping for a value", "ping for an unknown key"}) {
        send("answerer-1.0#thread", fresh(message(name)));
        const std::string answer = "answer to " + name;
        EXPECT_EQ(received(answer, {"Serial-Number"}), message(answer));
    }
}

TEST_F(WireFormatExchangeTest, IsAnsweredInTheBody)
{
    send("answerer-1.0#thread", fresh(message("ping with a body")));
    EXPECT_EQ(received("answer in the body", {"Serial-Number"}), message("answer in the body"));
}

TEST_F(WireFormatExchangeTest, GetsForwardedCopies)
{
    send("answerer-1.0#thread", fresh(message("subscription")));
    EXPECT_EQ(received("answer to the subscription", {"Serial-Number"}),
        message("answer to the subscription"));
    send("answerer-1.0", fresh(message("request to be forwarded")));
    // Over another connection it asks whether the subscriber is there, before each copy.
    std::string live;
    while (lineOf(live = receiveText(), "Type") != "Type:Debug")
        EXPECT_EQ(asRecorded(live, "probe", {"Serial-Number"}), message("probe"));
    // The body holds times, and a process that may be longer.
    live = asRecorded(live, "forwarded copy", {"Serial-Number", "Content-Length"});
    const std::string recorded = message("forwarded copy");
    EXPECT_EQ(live.substr(0, live.find("\n\n")), recorded.substr(0, recorded.find("\n\n")));
    const std::regex changing("localhost:mac[0-9]+|[0-9][0-9]:[0-9][0-9]:[0-9][0-9]");
    const auto bodyOf = [&changing](const std::string& text) {
        return std::regex_replace(text.substr(text.find("\n\n") + 2), changing, "...");
    };
    EXPECT_EQ(bodyOf(live), bodyOf(recorded));
}

TEST_F(WireFormatPageTest, TellsThatADigestCoversNoNul)
{
    const InterAppStream sender("asker-1.0", true);
    InterAppStream receiver("answerer-1.0", true);
    Message message;
    address(message);
    for (const bool hasNul : {false, true}) {
        message.body = test::soString(std::string_view(hasNul ? "a\0b" : "a\nb", 3));
        ASSERT_TRUE(sender.send("answerer-1.0", test::soString(written(message))));
        const test::ReadMessage read =
            test::readMessage(test::MessagingFixture::received(receiver, written(message).size()));
        EXPECT_EQ(read.message->isRejected(), hasNul);
        EXPECT_EQ(bytes(read.message->body), "a\nb");
    }
}

TEST_F(WireFormatExchangeTest, GetsNoAnswerToWhatIsDropped)
{
    const std::string request = message("request");
    send("answerer-1.0", fresh(withLine(request, "Type", "Type:Ignore")));
    const std::string empty = request.substr(0, request.size() - 5);
    send("answerer-1.0", fresh(withLine(empty, "Content-Length", "Content-Length:0")));
    EXPECT_EQ(received("received"), message("received"));
    EXPECT_EQ(received("processed"), message("processed"));
}

TEST_F(WireFormatExchangeTest, GetsWhatTheOtherKeysAnswer)
{
    const auto answerTo = [this](const std::string& key) {
        send("answerer-1.0#thread",
            fresh(withLine(message("ping"), "ECHO_REQUEST", "ECHO_REQUEST:" + key)));
        const std::string answer = receiveText();
        return lineOf(answer, "ECHO_REQUEST").substr(std::string("ECHO_REQUEST:").size());
    };
    EXPECT_EQ(answerTo("ECHO_REQUEST"), "ECHO_RESPONSE");
    EXPECT_EQ(answerTo("DIAGNOSTICS"), "SEE BODY");
    EXPECT_EQ(answerTo("MAIN"), "UNDEFINED");
    EXPECT_EQ(answerTo("FWDLOGS=asker-1.0"), "asker-1.0");
}
