#include "core/messaging/support/PingFixture.h"
#include "messaging/Message.h"
#include "platform/common/ports/LocalPort.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace {

using ScObjects::SoString;
using test::bytes;
using test::Peer;

struct Rogue {
    const char* name;
    std::string text;
};

const std::string kTarget = "peer-1.0";

// What a message that means well looks like, addressed to that port.
std::string wireOf(const std::string& port, const char* command = "")
{
    ScObjects::TevoroTalk::Message message;
    message.target = port.c_str();
    message.sender = "rogue-1.0";
    message.type = *command != '\0' ? "ping" : "Quillscriber";
    message.serialNumber = 7;
    message.body = "a body\nof two lines";
    message.responseRequest = "Received Result Error Timeout";
    if (*command != '\0')
        message.setHeader("ECHO_REQUEST", command);
    SoString text;
    EXPECT_TRUE(message.writeToString(text));
    return bytes(text);
}

std::string doubled(const std::string& text)
{
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
        const std::string line = text.substr(at, end - at);
        result += line + line;
        at = end;
    }
    return result;
}

std::string replaced(std::string text, const std::string& what, const std::string& by)
{
    const std::size_t at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return at == std::string::npos ? text : text.replace(at, what.size(), by);
}

std::string withNuls(std::string text)
{
    for (std::size_t i = 3; i < text.size(); i += 11)
        text[i] = '\0';
    return text;
}

std::vector<Rogue> rogues(const std::string& port)
{
    const std::string plain = wireOf(port);
    const std::string ping = wireOf(port, "STATUS");
    const std::string digest = plain.substr(0, plain.find('\n') + 1);
    const std::string length = "Content-Length:";
    const std::string lengthLine = plain.substr(plain.find(length));
    const std::string ownLength = lengthLine.substr(0, lengthLine.find('\n'));
    std::vector<Rogue> result = {
        {"no digest", plain.substr(digest.size())},
        {"wrong digest", replaced(plain, "a body", "a bodY")},
        {"a digest alone", digest},
        {"doubled lines", doubled(plain)},
        {"doubled lines of a ping", doubled(ping)},
        {"a name with a colon", replaced(ping, "\nECHO_REQUEST:", "\nECHO:RE:QUEST:")},
        {"a name of nothing", replaced(ping, "\nECHO_REQUEST:", "\n:")},
        {"NULs", withNuls(plain)},
        {"NULs in a ping", withNuls(ping)},
        {"nothing but NULs", std::string(5000, '\0')},
        {"nothing but line feeds", std::string(5000, '\n')},
        {"nothing but colons", std::string(5000, ':')},
        {"one byte", "x"},
        {"more length than body", replaced(plain, ownLength, length + "4294967295")},
        {"a negative length", replaced(plain, ownLength, length + "-1")},
        {"a length of letters", replaced(plain, ownLength, length + "abc")},
        {"no length", replaced(plain, ownLength + "\n", "")},
        {"many in one text", plain + ping + plain + ping + digest},
        {"a ping for itself", wireOf(port, "MAIN")},
        {"a ping that writes", wireOf(port, "STATUS=BUSY")},
        {"a ping that writes nothing", wireOf(port, "=")},
        {"a sender that is the port itself", replaced(plain, "Sender:rogue-1.0", "Sender:" + port)},
    };
    return result;
}

// Answers of all kinds to a question that nobody asked.
std::vector<std::string> answersToNothing(const std::string& port)
{
    std::vector<std::string> result;
    for (const char* type :
        {"Received", "Result", "Error", "Timeout", "Processed", "Log", "Debug"}) {
        ScObjects::TevoroTalk::Message message;
        message.target = port.c_str();
        message.sender = "rogue-1.0";
        message.type = type;
        message.serialNumber = 99;
        message.received = message.result = 12345;
        SoString text;
        message.writeToString(text);
        result.push_back(bytes(text));
    }
    return result;
}

// One application that gets what nobody should send, on either of its ports, while it pumps (true)
// or while its main thread sleeps.
class RogueMessageTest : public test::PingFixture,
                         public testing::WithParamInterface<std::tuple<const char*, bool>> {
protected:
    RogueMessageTest()
    {
        start("asker-1.0");
        EXPECT_EQ(ask(kTarget, ""), kEcho); // opens the connections of both sides
        m_descriptors = settledDescriptors();
        m_threads = peer.threads();
        if (std::get<1>(GetParam()))
            peer.serve();
    }

    static std::string port() { return kTarget + std::get<0>(GetParam()); }

    // An answer arrives before its sender has let go of all that it sent it with.
    std::ptrdiff_t settledDescriptors() const
    {
        constexpr int kSameInARow = 20;
        std::ptrdiff_t count = peer.descriptors();
        for (int same = 0; same < kSameInARow; ++same) {
            ScObjects::TevoroTalkUtils::sleep(2);
            if (const std::ptrdiff_t now = peer.descriptors(); now != count) {
                count = now;
                same = 0;
            }
        }
        return count;
    }

    void send(const std::string& text)
    {
        EXPECT_TRUE(m_sender->send(portOf(port()), text, kPatience)) << text.substr(0, 200);
    }
    // Answers pings, and has no more descriptors and threads than before.
    void expectAlive(const char* what)
    {
        EXPECT_EQ(ask(kTarget, ""), kEcho) << what;
        EXPECT_EQ(ask(kTarget, "MAIN"), "UNDEFINED") << what;
    }
    void expectNothingLeft()
    {
        m_sender.reset();
        EXPECT_TRUE(waitUntil([&] { return peer.descriptors() == m_descriptors; }))
            << peer.descriptors() << " instead of " << m_descriptors;
        EXPECT_EQ(peer.threads(), m_threads);
        EXPECT_EQ(peer.process().finish(), 0);
    }

    Peer peer{kTarget};

private:
    std::unique_ptr<Pt::LocalPortSender> m_sender = std::make_unique<Pt::LocalPortSender>();
    std::ptrdiff_t m_descriptors = 0;
    std::ptrdiff_t m_threads = 0;
};

std::string nameOf(const testing::TestParamInfo<std::tuple<const char*, bool>>& info)
{
    const auto& [suffix, pumps] = info.param;
    return std::string(*suffix != '\0' ? "OnTheThreadPort" : "OnTheMainPort")
        + (pumps ? "WhileItPumps" : "WhileItsMainThreadSleeps");
}

} // namespace

TEST_P(RogueMessageTest, LeavesTheApplicationAsItWas)
{
    for (const auto& [name, text] : rogues(port())) {
        send(text);
        expectAlive(name);
    }
    EXPECT_NE(ask(kTarget, "STATUS"), "");
    expectNothingLeft();
}

TEST_P(RogueMessageTest, MayBeCutAnywhere)
{
    for (const std::string& whole : {wireOf(port()), wireOf(port(), "STATUS")}) {
        for (std::size_t length = 1; length < whole.size(); ++length)
            send(whole.substr(0, length));
        expectAlive("cut");
    }
    expectNothingLeft();
}

TEST_P(RogueMessageTest, MayAnswerWhatNobodyAsked)
{
    for (const std::string& text : answersToNothing(port()))
        send(text);
    expectAlive("answers");
    expectNothingLeft();
}

INSTANTIATE_TEST_SUITE_P(
    , RogueMessageTest, testing::Combine(testing::Values("#thread", ""), testing::Bool()), nameOf);
