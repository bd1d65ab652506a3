#include "core/messaging/support/BusFixture.h"
#include "messaging/mailbox/MessageQueue.h"
#include "messaging/mailbox/PrivateData.h"
#include "messaging/process/TevoroTalkThread.h"

#include <memory>
#include <string>
#include <vector>

namespace {

using namespace ScObjects;
using test::bytes;
using test::InboxHandler;
using test::TestRegistry;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class DiagnosticsTest : public test::BusFixture {
protected:
    static std::string diagnostics(bool readable = false)
    {
        SoString out("what was there before");
        TevoroTalk::getDiagnostics(out, readable);
        return bytes(out);
    }
    static std::string ofContext()
    {
        SoString out;
        TevoroTalk::getSharedContext()->appendDiagnostics(out, "/p");
        return bytes(out);
    }
    static std::string of(const TevoroTalk& instance)
    {
        SoString out;
        instance.appendDiagnostics(out, "/p");
        return bytes(out);
    }
    static Words linesOf(const std::string& text)
    {
        Words lines;
        for (std::size_t at = 0; at < text.size(); at = text.find('\n', at) + 1)
            lines.push_back(text.substr(at, text.find('\n', at) - at));
        return lines;
    }
    static void fill(TevoroTalkData::MessageQueue& queue)
    {
        for (const char* type : {"Log", "Order", "Log", "Result"}) {
            auto message = request("somebody-1.0");
            message->sender = "self-1.0";
            message->type = type;
            EXPECT_TRUE(queue.append(message.release()));
        }
    }
};

} // namespace

TEST_F(DiagnosticsTest, TellsOfASaltThatIsTheProcesssAlone)
{
    start();
    TevoroTalkData::getMD5ID();
    EXPECT_THAT(ofContext(), Not(HasSubstr("salt")));
    environment.set("HOME", folder.path("missing"));
    TevoroTalkData::forgetIdentity();
    TevoroTalkData::getMD5ID();
    EXPECT_THAT(ofContext(),
        testing::EndsWith(
            "/p/context/messages/salt;0;Salt;of this process alone, as its file cannot"
            " be written;\n"));
}

TEST_F(DiagnosticsTest, TellsOfTheContext)
{
    start();
    Words lines = linesOf(ofContext());
    ASSERT_EQ(lines.size(), 13U);
    EXPECT_THAT(
        lines[8], testing::MatchesRegex("/p/context/now;0;Now;[0-9]{2}:[0-9]{2}:[0-9]{2};"));
    lines.erase(lines.begin() + 8);
    EXPECT_THAT(lines,
        ElementsAre("/p/context;1;Info;;",
            "/p/context/name;0;Name;self-1.0;",
            "/p/context/status;0;Status;IDLE;",
            "/p/context/path;0;Path;;",
            "/p/context/version;0;Version;2.0;",
            "/p/context/build;0;Build;QS 3.92.104;",
            "/p/context/nextsnr;0;Next serial number;1;",
            "/p/context/logging;0;Logging:;OFF;",
            "/p/context/messages;1;Messages;;",
            "/p/context/messages/version;0;Message Version;2.05;",
            "/p/context/messages/authentication;0;Authentication;ON;",
            "/p/context/messages/digest;0;Digest;ON;"));
}

TEST_F(DiagnosticsTest, TellsOfSwitchesThatAreOffAndOfAGroup)
{
    start();
    TestRegistry::install().groups["self-1.0"] = {"suite", "3"};
    Message::setAuthentication(false);
    Message::setCreateDigest(false);
    TevoroTalk::getSharedContext()->setLogging(true);
    const std::string lines = ofContext();
    EXPECT_THAT(lines, HasSubstr("/p/context/group;0;Group;suite;\n"));
    EXPECT_THAT(lines, HasSubstr(";Logging:;ON;\n"));
    EXPECT_THAT(lines, HasSubstr(";Authentication;OFF;\n"));
    EXPECT_THAT(lines, HasSubstr(";Digest;OFF;\n"));
    TevoroTalk::getSharedContext()->setLogging(false);
}

TEST_F(DiagnosticsTest, TellsNothingOfAnEmptyStore)
{
    TevoroTalkThread thread(nullptr, "self-1.0");
    SoString out;
    thread.appendDiagnostics(out, "/p");
    EXPECT_THAT(bytes(out), HasSubstr("/p/thread/ping;1;Ping;6;\n"));
    for (const char* key : {"ECHO_REQUEST", "STATUS", "MAIN", "LAUNCHED", "DIAGNOSTICS", "INFO"})
        thread.setKeyValuePair(key, "");
    out.shrink(0);
    thread.appendDiagnostics(out, "/p");
    EXPECT_THAT(bytes(out), Not(HasSubstr("/ping")));
    EXPECT_EQ(linesOf(bytes(out)).size(), 3U);
}

TEST_F(DiagnosticsTest, TellsOfAnInstanceAndItsHandlers)
{
    const TevoroTalk& main = start();
    delete self->changeHandler(new InboxHandler(inbox, "Result", 17));
    EXPECT_THAT(linesOf(of(main)),
        ElementsAre("/p/self-1.0;1;self-1.0;(main);",
            "/p/self-1.0/in;1;Incoming;0;",
            "/p/self-1.0/out;1;Outgoing;0;",
            "/p/self-1.0/handler;1;Handler;2;",
            "/p/self-1.0/handler/Quillscriber;0;Quillscriber;for all messages;",
            "/p/self-1.0/handler/Result;0;Result;for only msg #17;"));
    EXPECT_THAT(linesOf(of(another("other-1.0"))),
        ElementsAre("/p/other-1.0;1;other-1.0;;",
            "/p/other-1.0/in;1;Incoming;0;",
            "/p/other-1.0/out;1;Outgoing;0;",
            "/p/other-1.0/handler;1;Handler;0;"));
}

TEST_F(DiagnosticsTest, TellsThatTheBusEndsWithItsInstance)
{
    auto* const instance = new TevoroTalk("self-1.0", nullptr, true, nullptr);
    EXPECT_TRUE(
        of(*instance).starts_with("/p/self-1.0;1;self-1.0;(main, init() hasn't been called);\n"));
    delete instance;
}

TEST_F(DiagnosticsTest, PutsTheMessagesBeforeTheLineThatCountsThem)
{
    start();
    {
        const Paused pause;
        const InterAppStream sender("sender-1.0", true);
        const auto message = request("self-1.0", "hello");
        message->sender = "sender-1.0";
        message->serialNumber = 12;
        SoString text;
        message->writeToString(text);
        ASSERT_TRUE(sender.send("self-1.0", text));
        self->processIncomingMessage(kNone, false);
    }
    const std::string lines = of(*self);
    const std::size_t message = lines.find("/p/self-1.0/in/msg12;1;msg[00000012];");
    const std::size_t count = lines.find("/p/self-1.0/in;1;Incoming;1;\n");
    EXPECT_NE(message, std::string::npos) << lines;
    EXPECT_NE(count, std::string::npos) << lines;
    EXPECT_LT(message, count);
}

TEST_F(DiagnosticsTest, ListsOnlyTheLogBelowTheLog)
{
    TevoroTalkData::MessageQueue queue;
    fill(queue);
    SoString log("/log;1;Log;;\n");
    EXPECT_EQ(queue.appendDiagnostics(log, "/anything"), 2);
    EXPECT_THAT(bytes(log), Not(HasSubstr(";Type;Order;")));
    SoString others("/messages;1;Messages;;\n");
    EXPECT_EQ(queue.appendDiagnostics(others, "/log"), 2); // the path does not count
    EXPECT_THAT(bytes(others), Not(HasSubstr(";Type;Log;")));
}

TEST_F(DiagnosticsTest, HasNoTargetsWithoutARegistry)
{
    start();
    another("other-1.0");
    const std::string lines = diagnostics();
    EXPECT_TRUE(lines.starts_with("/self-1.0/context;1;Info;;\n"));
    EXPECT_THAT(lines, Not(HasSubstr("/targets")));
    EXPECT_THAT(lines, HasSubstr("/self-1.0/thread;1;Thread;"));
    EXPECT_THAT(lines,
        HasSubstr("/self-1.0/instances;1;Instances;2;\n/self-1.0/instances/"
                  "self-1.0;1;self-1.0;(main);\n"));
    EXPECT_THAT(lines, HasSubstr("/self-1.0/instances/other-1.0;1;other-1.0;;\n"));
}

TEST_F(DiagnosticsTest, AreNothingWithoutTheBus)
{
    EXPECT_EQ(diagnostics(), "");
    EXPECT_EQ(diagnostics(true),
        "TevoroTalk Diagnostics\n----------------------\n----------------------\n");
}

namespace {

// A registry whose part of the tree a test writes down.
class WrittenRegistry final : public TestRegistry {
public:
    explicit WrittenRegistry(std::string lines)
        : m_lines(std::move(lines))
    {
    }
    void appendDiagnostics(SoString& out, const SoString& path) const override
    {
        EXPECT_EQ(bytes(path), "/self-1.0");
        out = m_lines.c_str();
    }

private:
    std::string m_lines;
};

} // namespace

TEST_F(DiagnosticsTest, TurnIntoAReport)
{
    start();
    TevoroTalkConnector::set(new WrittenRegistry("/a;1;Branch;2;\n"
                                                 "/a/b;0;Leaf;green;and;more;\n"
                                                 "/a/c;0;Bare;;\n"
                                                 "/a/d;1;Twig;;\n"
                                                 "/a/d/e;0;Last;x;\n"
                                                 "/a/f;no line;\n"
                                                 "/a/g;0;Never seen;;\n"));
    EXPECT_EQ(diagnostics(true),
        "TevoroTalk Diagnostics\n"
        "----------------------\n"
        "\nBranch: 2\n"
        "\tLeaf = green\n"
        "\tBare\n"
        "\n\tTwig: \n"
        "\t\tLast = x\n"
        "----------------------\n");
}
