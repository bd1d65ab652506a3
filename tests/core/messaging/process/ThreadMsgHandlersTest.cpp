#include "messaging/process/ThreadMsgHandlers.h"

#include "core/messaging/support/BusFixture.h"
#include "messaging/process/TevoroTalkThread.h"

#include <string>
#include <vector>

namespace {

using namespace ScObjects;
using test::bytes;
using test::Inbox;
using test::InboxHandler;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class ThreadMsgHandlersTest : public test::BusFixture {
protected:
    static TevoroTalkThread& thread() { return *TevoroTalkThread::getMainThread(); }

    static std::unique_ptr<Message> pingMessage(const std::string& command)
    {
        auto message = std::make_unique<Message>();
        message->target = "self-1.0#thread";
        message->sender = "asker-1.0#ping";
        message->type = "ping";
        message->setHeader("ECHO_REQUEST", command.c_str());
        return message;
    }
    // Hands a message to the handler that sees all of them; its reply.
    static std::string reply(Message& message)
    {
        const Paused pause;
        SoString result;
        EXPECT_EQ(thread().findHandler("MAIN")->handleMessage(1, message, &result), 0);
        return bytes(result);
    }
    static std::string reply(const std::string& command) { return reply(*pingMessage(command)); }

    static std::string info(const std::string& what)
    {
        const auto message = pingMessage("INFO");
        message->body = what.c_str();
        EXPECT_EQ(reply(*message), "SEE BODY");
        return bytes(message->body);
    }
    // The paths of the nodes directly below the given one, in their order.
    static Words sectionsOf(const std::string& lines)
    {
        Words result;
        SoString path, label, value;
        bool hasChildren = false;
        const char* at = lines.c_str();
        while ((at = TevoroTalkUtils::parseInfoLine(at, path, label, value, hasChildren))) {
            const std::string text = bytes(path);
            for (const char* section :
                {"/self-1.0/context", "/self-1.0/thread", "/messages", "/log"})
                if (text == section)
                    result.push_back(text);
        }
        return result;
    }
    static TevoroTalk::MsgHandler* subscriber(const char* key)
    {
        return TevoroTalk::get(nullptr)->findHandler(key, kNone);
    }
};

} // namespace

TEST_F(ThreadMsgHandlersTest, AnswersFromTheStore)
{
    start();
    thread().setKeyValuePair("COLOUR", "red");
    EXPECT_EQ(reply("ECHO_REQUEST"), "ECHO_RESPONSE");
    EXPECT_EQ(reply("STATUS"), "IDLE");
    EXPECT_EQ(reply("COLOUR"), "red");
    EXPECT_EQ(reply("colour"), "UNDEFINED");
    EXPECT_EQ(reply("SIZE"), "UNDEFINED");
}

TEST_F(ThreadMsgHandlersTest, LetsNobodyWriteAnyOtherKey)
{
    start();
    thread().setKeyValuePair("COLOUR", "red");
    for (const char* command : {"STATUS=BUSY", "COLOUR=blue", "COLOUR=", "SIZE=1", "=", "=x"})
        EXPECT_EQ(reply(command), "") << command;
    EXPECT_EQ(reply("STATUS"), "IDLE");
    EXPECT_EQ(reply("COLOUR"), "red");
    EXPECT_EQ(reply("SIZE"), "UNDEFINED");
}

TEST_F(ThreadMsgHandlersTest, SubscribesAndAnswersTheTextBehindTheEqualSign)
{
    start();
    for (const char* key : {"FWDMESSAGES", "FWDLOGS", "FWDERRORS"}) {
        EXPECT_EQ(reply(key + std::string("=watcher-1.0")), "watcher-1.0");
        const auto* const own = dynamic_cast<ThreadForwardMsgHandler*>(subscriber(key));
        ASSERT_NE(own, nullptr) << key;
        EXPECT_STREQ(own->getMsgType(), key);
        EXPECT_EQ(reply(key), "watcher-1.0");
    }
    EXPECT_EQ(reply("FWDLOGS=other=1.0"), "other=1.0"); // divided at the first one
}

TEST_F(ThreadMsgHandlersTest, UnsubscribesWithoutAnAnswer)
{
    start();
    reply("FWDLOGS=watcher-1.0");
    EXPECT_EQ(reply("FWDLOGS="), "");
    EXPECT_EQ(subscriber("FWDLOGS"), nullptr);
    EXPECT_EQ(thread().locateKey("FWDLOGS"), -1);
    EXPECT_EQ(reply("FWDLOGS="), "");
}

TEST_F(ThreadMsgHandlersTest, SetsTheKeyWithoutAMainInstanceToo)
{
    TevoroTalk::InitTerm::init("self-1.0", true);
    ASSERT_EQ(TevoroTalk::get(nullptr), nullptr);
    EXPECT_EQ(reply("FWDMESSAGES=watcher-1.0"), "watcher-1.0");
    EXPECT_EQ(bytes(thread().getValueForKey("FWDMESSAGES")), "watcher-1.0");
    EXPECT_EQ(thread().findHandler("FWDMESSAGES"), nullptr);
}

TEST_F(ThreadMsgHandlersTest, GivesTheSameFourSectionsForNothingAndForAll)
{
    start();
    for (const char* what : {"", "all"}) {
        const std::string lines = info(what);
        EXPECT_THAT(
            sectionsOf(lines), ElementsAre("/self-1.0/context", "/self-1.0/thread", "/messages"));
        EXPECT_THAT(lines, Not(HasSubstr("/targets")));
        EXPECT_TRUE(lines.starts_with("/self-1.0;1;self-1.0;IDLE;\n/self-1.0/context;1;Info;;\n"));
        EXPECT_THAT(lines,
            HasSubstr("/messages;1;Messages;;\n/messages/self-1.0;1;self-1.0;1;\n"
                      "/messages/self-1.0/self-1.0;1;self-1.0;(main);\n"));
    }
}

TEST_F(ThreadMsgHandlersTest, GivesTheRegistrysSectionWhereThereIsOne)
{
    class Registry final : public test::TestRegistry {
    public:
        void appendDiagnostics(SoString& out, const SoString& path) const override
        {
            out << path << "/targets;1;Targets;0;\n";
        }
    };
    start();
    TevoroTalkConnector::set(new Registry);
    EXPECT_EQ(info("connector"), "/targets;1;Targets;0;\n");
    EXPECT_TRUE(info("").ends_with("/targets;1;Targets;0;\n"));
}

TEST_F(ThreadMsgHandlersTest, GivesNothingButTheLogForLog)
{
    start();
    const std::string lines = info("log");
    EXPECT_THAT(sectionsOf(lines), ElementsAre("/log"));
    EXPECT_TRUE(lines.starts_with(
        "/log;1;Log;;\n/log/self-1.0;1;self-1.0;1;\n/log/self-1.0/self-1.0;1;self-1.0;(main);\n"));
}

TEST_F(ThreadMsgHandlersTest, FindsItsWordsInsideOthers)
{
    start();
    EXPECT_THAT(sectionsOf(info("unthreaded")), ElementsAre("/self-1.0/thread"));
    EXPECT_THAT(sectionsOf(info("log thread")), ElementsAre("/self-1.0/thread", "/log"));
    EXPECT_EQ(info("nothing known"), "");
}

TEST_F(ThreadMsgHandlersTest, DropsMessagesOfOtherTypes)
{
    start();
    for (const char* type : {"Quillscriber", "Result", "PING", "Log"}) {
        const auto message = pingMessage("STATUS");
        message->type = type;
        EXPECT_EQ(reply(*message), "") << type;
    }
    EXPECT_EQ(inbox.size(), 0U);
}

TEST_F(ThreadMsgHandlersTest, HandsAnAnswerToTheHandlerOfItsWord)
{
    start();
    Inbox answers;
    thread().setHandler("COLOUR", new InboxHandler(answers));
    for (const char* word : {"COLOUR", "SIZE", "MAIN", "STATUS"}) {
        const auto message = pingMessage("");
        message->setHeader("ECHO_RESPONSE", word);
        message->body = word;
        EXPECT_EQ(reply(*message), "") << word;
    }
    EXPECT_THAT(answers.words(), ElementsAre("3 ping COLOUR"));
    thread().setKeyValuePair("COLOUR", "");
}

TEST_F(ThreadMsgHandlersTest, DropsAPingThatSaysNothing)
{
    start();
    EXPECT_EQ(reply(""), "");
}

TEST_F(ThreadMsgHandlersTest, HasNoAnswerForItself)
{
    start();
    EXPECT_EQ(reply("MAIN"), "UNDEFINED");
}

TEST_F(ThreadMsgHandlersTest, AnswersByTheHandlerOfAKey)
{
    start();
    Inbox questions;
    auto* const own = new InboxHandler(questions);
    own->answer = "as I like";
    thread().setHandler("COLOUR", own);
    EXPECT_EQ(reply("COLOUR"), "as I like");
    EXPECT_THAT(questions.words(), ElementsAre("1 ping"));
    thread().setKeyValuePair("COLOUR", "");
}

TEST_F(ThreadMsgHandlersTest, GivesAQuestionAsARequestWhateverItWasGivenAs)
{
    start();
    Inbox questions;
    thread().setHandler("COLOUR", new InboxHandler(questions));
    SoString result;
    thread().findHandler("MAIN")->handleMessage(
        TevoroTalk::MsgHandler::kOther, *pingMessage("COLOUR"), &result);
    EXPECT_THAT(questions.words(), ElementsAre("1 ping"));
    thread().setKeyValuePair("COLOUR", "");
}

TEST_F(ThreadMsgHandlersTest, ForgetsTheParametersOfWhomWasLaunched)
{
    start();
    thread().setKeyValuePair("LAUNCHPARAMS:asker-1.0", "-x");
    thread().setKeyValuePair("LAUNCHPARAMS:other-1.0", "-y");
    const auto message = pingMessage("LAUNCHED");
    message->sender = "asker_3-1.0#thread";
    EXPECT_EQ(reply(*message), "LAUNCHED");
    EXPECT_EQ(thread().locateKey("LAUNCHPARAMS:asker-1.0"), -1);
    EXPECT_EQ(reply("LAUNCHPARAMS:other-1.0"), "-y");
}

TEST_F(ThreadMsgHandlersTest, ForgetsTheParametersWithoutAReplyToo)
{
    start();
    thread().setKeyValuePair("LAUNCHPARAMS:asker-1.0", "-x");
    const Paused pause;
    EXPECT_EQ(
        thread().findHandler("LAUNCHED")->handleMessage(1, *pingMessage("LAUNCHED"), nullptr), 0);
    EXPECT_EQ(thread().locateKey("LAUNCHPARAMS:asker-1.0"), -1);
}

TEST_F(ThreadMsgHandlersTest, AnswersNothingWhereNobodyTakesTheReply)
{
    start();
    for (const char* key : {"DIAGNOSTICS", "INFO", "MAIN"}) {
        const auto message = pingMessage(key);
        message->body = "all";
        const Paused pause;
        EXPECT_EQ(thread().findHandler(key)->handleMessage(1, *message, nullptr), 0);
        EXPECT_EQ(bytes(message->body), "all") << key;
    }
}

TEST_F(ThreadMsgHandlersTest, GivesTheReportInTheBody)
{
    start();
    const auto message = pingMessage("DIAGNOSTICS");
    message->body = "overwritten";
    EXPECT_EQ(reply(*message), "SEE BODY");
    EXPECT_TRUE(
        message->body.view().starts_with("TevoroTalk Diagnostics\n----------------------\n"));
    EXPECT_THAT(bytes(message->body), Not(HasSubstr("overwritten")));
}

TEST_F(ThreadMsgHandlersTest, HasTheTypesOfItsKeys)
{
    start();
    for (const char* key : {"LAUNCHED", "DIAGNOSTICS", "INFO"})
        EXPECT_STREQ(thread().findHandler(key)->getMsgType(), key);
    EXPECT_STREQ(thread().findHandler("MAIN")->getMsgType(), "Quillscriber");
}

namespace {

// Passes what it gets on to the application.
class PassingHandler final : public ThreadMsgHandler {
public:
    using ThreadMsgHandler::ThreadMsgHandler;
    const char* getMsgType() const override { return "Order"; }
};

} // namespace

TEST_F(ThreadMsgHandlersTest, HandsAPingOnToTheApplication)
{
    start();
    Inbox orders;
    delete self->changeHandler(new InboxHandler(orders, "Order"));
    thread().setHandler("ORDER", new PassingHandler(TevoroTalk::getSharedContext()));
    const auto message = pingMessage("ORDER");
    message->body = "two of them";
    message->received = 12;
    EXPECT_EQ(reply(*message), "Order");
    EXPECT_TRUE(pumpUntil([&] { return orders.size() > 0; }));
    EXPECT_THAT(orders.bodies(), ElementsAre("two of them"));
    EXPECT_EQ(orders.at(0).target, "self-1.0");
    EXPECT_EQ(orders.at(0).serialNumber, 12U);
    thread().setKeyValuePair("ORDER", "");
}

TEST_F(ThreadMsgHandlersTest, HandsNothingOnWithoutAMainInstance)
{
    TevoroTalk::InitTerm::init("self-1.0", true);
    PassingHandler own(TevoroTalk::getSharedContext());
    SoString result;
    EXPECT_EQ(own.handleMessage(1, *pingMessage("ORDER"), &result), 0);
    EXPECT_EQ(bytes(result), "Order");
}

TEST_F(ThreadMsgHandlersTest, ForwardsNothingToNobody)
{
    start();
    for (const char* target : {"", "nobody-1.0"}) {
        ThreadForwardMsgHandler own(TevoroTalk::getSharedContext(), "FWDLOGS", target);
        const auto message = request("somebody-1.0");
        EXPECT_EQ(own.handleMessage(0, *message, nullptr), 0);
        EXPECT_EQ(bytes(message->target), "somebody-1.0") << target;
    }
}
