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

    static std::unique_ptr<Message> pingMessage(std::string const& command)
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
        Paused const pause;
        SoString result;
        EXPECT_EQ(thread().findHandler("MAIN")->handleMessage(1, message, &result), 0);
        return bytes(result);
    }
    static std::string reply(std::string const& command) { return reply(*pingMessage(command)); }

    static std::string info(std::string const& what)
    {
        auto const message = pingMessage("INFO");
        message->body = what.c_str();
        EXPECT_EQ(reply(*message), "SEE BODY");
        return bytes(message->body);
    }
    // The paths of the nodes directly below the given one, in their order.
    static Words sectionsOf(std::string const& lines)
    {
        Words result;
        SoString path, label, value;
        bool hasChildren = false;
        char const* at = lines.c_str();
        while ((at = TevoroTalkUtils::parseInfoLine(at, path, label, value, hasChildren))) {
            std::string const text = bytes(path);
            for (char const* section :
                {"/self-1.0/context", "/self-1.0/thread", "/messages", "/log"})
                if (text == section)
                    result.push_back(text);
        }
        return result;
    }
    static TevoroTalk::MsgHandler* subscriber(char const* key)
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
    for (char const* command : {"STATUS=BUSY", "COLOUR=blue", "COLOUR=", "SIZE=1", "=", "=x"})
        EXPECT_EQ(reply(command), "") << command;
    EXPECT_EQ(reply("STATUS"), "IDLE");
    EXPECT_EQ(reply("COLOUR"), "red");
    EXPECT_EQ(reply("SIZE"), "UNDEFINED");
}

TEST_F(ThreadMsgHandlersTest, SubscribesAndAnswersTheTextBehindTheEqualSign)
{
    start();
    for (char const* key : {"FWDMESSAGES", "FWDLOGS", "FWDERRORS"}) {
        EXPECT_EQ(reply(key + std::string("=watcher-1.0")), "watcher-1.0");
        auto const* const own = dynamic_cast<ThreadForwardMsgHandler*>(subscriber(key));
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
    for (char const* what : {"", "all"}) {
        std::string const lines = info(what);
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
        void appendDiagnostics(SoString& out, SoString const& path) const override
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
    std::string const lines = info("log");
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
    for (char const* type : {"Quillscriber", "Result", "PING", "Log"}) {
        auto const message = pingMessage("STATUS");
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
    for (char const* word : {"COLOUR", "SIZE", "MAIN", "STATUS"}) {
        auto const message = pingMessage("");
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
    auto const message = pingMessage("LAUNCHED");
    message->sender = "asker_3-1.0#thread";
    EXPECT_EQ(reply(*message), "LAUNCHED");
    EXPECT_EQ(thread().locateKey("LAUNCHPARAMS:asker-1.0"), -1);
    EXPECT_EQ(reply("LAUNCHPARAMS:other-1.0"), "-y");
}

TEST_F(ThreadMsgHandlersTest, ForgetsTheParametersWithoutAReplyToo)
{
    start();
    thread().setKeyValuePair("LAUNCHPARAMS:asker-1.0", "-x");
    Paused const pause;
    EXPECT_EQ(
        thread().findHandler("LAUNCHED")->handleMessage(1, *pingMessage("LAUNCHED"), nullptr), 0);
    EXPECT_EQ(thread().locateKey("LAUNCHPARAMS:asker-1.0"), -1);
}

TEST_F(ThreadMsgHandlersTest, AnswersNothingWhereNobodyTakesTheReply)
{
    start();
    for (char const* key : {"DIAGNOSTICS", "INFO", "MAIN"}) {
        auto const message = pingMessage(key);
        message->body = "all";
        Paused const pause;
        EXPECT_EQ(thread().findHandler(key)->handleMessage(1, *message, nullptr), 0);
        EXPECT_EQ(bytes(message->body), "all") << key;
    }
}

TEST_F(ThreadMsgHandlersTest, GivesTheReportInTheBody)
{
    start();
    auto const message = pingMessage("DIAGNOSTICS");
    message->body = "overwritten";
    EXPECT_EQ(reply(*message), "SEE BODY");
    EXPECT_TRUE(
        message->body.view().starts_with("TevoroTalk Diagnostics\n----------------------\n"));
    EXPECT_THAT(bytes(message->body), Not(HasSubstr("overwritten")));
}

TEST_F(ThreadMsgHandlersTest, HasTheTypesOfItsKeys)
{
    start();
    for (char const* key : {"LAUNCHED", "DIAGNOSTICS", "INFO"})
        EXPECT_STREQ(thread().findHandler(key)->getMsgType(), key);
    EXPECT_STREQ(thread().findHandler("MAIN")->getMsgType(), "Quillscriber");
}

namespace {

// Passes what it gets on to the application.
class PassingHandler final : public ThreadMsgHandler {
public:
    using ThreadMsgHandler::ThreadMsgHandler;
    char const* getMsgType() const override { return "Order"; }
};

} // namespace

TEST_F(ThreadMsgHandlersTest, HandsAPingOnToTheApplication)
{
    start();
    Inbox orders;
    delete self->changeHandler(new InboxHandler(orders, "Order"));
    thread().setHandler("ORDER", new PassingHandler(TevoroTalk::getSharedContext()));
    auto const message = pingMessage("ORDER");
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
    for (char const* target : {"", "nobody-1.0"}) {
        ThreadForwardMsgHandler own(TevoroTalk::getSharedContext(), "FWDLOGS", target);
        auto const message = request("somebody-1.0");
        EXPECT_EQ(own.handleMessage(0, *message, nullptr), 0);
        EXPECT_EQ(bytes(message->target), "somebody-1.0") << target;
    }
}
