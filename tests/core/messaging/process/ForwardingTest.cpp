#include "messaging/wire/Forwarding.h"

#include "core/messaging/support/PingFixture.h"
#include "messaging/Message.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

using namespace ScObjects;
using test::bytes;
using test::Inbox;
using test::InboxHandler;
using test::Peer;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// Keeps a copy of each message that it is given.
class CopyingHandler final : public TevoroTalk::MsgHandler {
public:
    CopyingHandler(const char* type, std::vector<std::string>& copies)
        : m_type(type)
        , m_copies(copies)
    {
    }
    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override
    {
        EXPECT_EQ(reason, TevoroTalk::MsgHandler::kOther);
        EXPECT_EQ(result, nullptr);
        m_copies.push_back(
            bytes(message.getUserHeaderValue("MsgRoot")) + "|" + bytes(message.body));
        if (throws)
            throw std::runtime_error("a subscriber that throws");
        return code;
    }
    const char* getMsgType() const override { return m_type; }

    long code = 0;
    bool throws = false;

private:
    const char* m_type;
    std::vector<std::string>& m_copies;
};

// A subscriber that takes its time, and says whether it was deleted meanwhile.
class SlowSubscriber final : public TevoroTalk::MsgHandler {
public:
    struct Story {
        std::atomic<bool> hasBegun{false};
        std::atomic<bool> isGone{false};
        std::atomic<bool> wasGoneInTheCall{false};
    };
    explicit SlowSubscriber(Story& story)
        : m_story(story)
    {
    }
    ~SlowSubscriber() override { m_story.isGone = true; }

    long handleMessage(int, TevoroTalk::Message&, SoString*) override
    {
        Story& story = m_story; // outlives this object
        story.hasBegun = true;
        for (int i = 0; i < 500 && !story.isGone; ++i)
            TevoroTalkUtils::sleep(1);
        story.wasGoneInTheCall = story.isGone.load();
        return 0;
    }
    const char* getMsgType() const override { return "FWDMESSAGES"; }

private:
    Story& m_story;
};

class ForwardingTest : public test::PingFixture {
protected:
    // This process watches, and `debug` gets what is forwarded to it.
    void startWatching()
    {
        start("watcher-1.0");
        delete self->changeHandler(new InboxHandler(debug, "Debug"));
    }
    CopyingHandler& subscribeHere(const char* key)
    {
        auto* const own = new CopyingHandler(key, copies);
        delete self->changeHandler(own);
        return *own;
    }
    static bool forward(const Message& message, const char* label = "")
    {
        return TevoroTalkUtils::forwardMessage(message, "FWDMESSAGES", "/root", label);
    }
    // Subscribes and unsubscribes, a thousand changes in all.
    static void changeSubscribers(const std::string& name, std::atomic<bool>& isOver)
    {
        for (int i = 0; i < 500; ++i) {
            EXPECT_EQ(ask("self-1.0", "FWDMESSAGES=" + name), name);
            EXPECT_EQ(ask("self-1.0", "FWDMESSAGES=", 0), "NOERROR");
        }
        isOver = true;
    }
    bool gets(const std::string& part)
    {
        return pumpUntil([&] {
            for (const std::string& body : debug.bodies())
                if (body.find(part) != std::string::npos)
                    return true;
            return false;
        });
    }

    Inbox debug;
    Words copies;
};

} // namespace

TEST_F(ForwardingTest, HandsACopyOfTheMessagesLinesToTheSubscriber)
{
    start();
    subscribeHere("FWDMESSAGES");
    const auto message = request("somebody-1.0", "hello");
    message->sender = "self-1.0";
    message->serialNumber = 12;
    message->timestamp = 1'785'000'000;
    EXPECT_TRUE(forward(*message));
    SoString lines;
    message->appendDiagnostics(lines, "/root");
    EXPECT_THAT(copies, ElementsAre("/root|" + bytes(lines)));
}

TEST_F(ForwardingTest, PutsTheLabelIntoALineOfItsOwn)
{
    start();
    subscribeHere("FWDMESSAGES");
    const auto message = request("somebody-1.0", "hello");
    message->serialNumber = 12;
    EXPECT_TRUE(forward(*message, "sent"));
    const std::string time = bytes(TevoroTalkUtils::getTimeString(&message->timestamp));
    ASSERT_EQ(copies.size(), 1U);
    EXPECT_TRUE(copies[0].ends_with("\n/root/msg12;1;msg[" + time + "];sent;\n")) << copies[0];
}

TEST_F(ForwardingTest, LeavesOutWhatWouldForwardItself)
{
    start();
    subscribeHere("FWDMESSAGES");
    for (const char* type : {"Debug", "Log"}) {
        const auto message = request("somebody-1.0");
        message->type = type;
        EXPECT_FALSE(forward(*message)) << type;
    }
    const auto empty = request("somebody-1.0", "");
    empty->type = "Quillscriber";
    EXPECT_FALSE(forward(*empty));
    empty->type = "Result";
    EXPECT_TRUE(forward(*empty));
    EXPECT_EQ(copies.size(), 1U);
}

TEST_F(ForwardingTest, SaysWhatTheSubscriberSays)
{
    start();
    const auto message = request("somebody-1.0");
    EXPECT_FALSE(forward(*message));
    EXPECT_FALSE(TevoroTalkData::hasSubscriber("FWDMESSAGES"));
    subscribeHere("FWDMESSAGES").code = 3;
    EXPECT_TRUE(TevoroTalkData::hasSubscriber("FWDMESSAGES"));
    EXPECT_FALSE(forward(*message));
    EXPECT_EQ(copies.size(), 1U);
    EXPECT_FALSE(TevoroTalkUtils::forwardMessage(*message, "FWDLOGS", "/root", ""));
}

TEST_F(ForwardingTest, TakesASubscriberThatThrowsForOneThatFails)
{
    start();
    subscribeHere("FWDMESSAGES").throws = true;
    EXPECT_FALSE(forward(*request("somebody-1.0")));
    EXPECT_EQ(copies.size(), 1U);
}

TEST_F(ForwardingTest, ForwardsNothingWithoutTheBusOrItsMainInstance)
{
    EXPECT_FALSE(forward(*request("somebody-1.0")));
    TevoroTalk::InitTerm::init("self-1.0", true);
    EXPECT_FALSE(forward(*request("somebody-1.0")));
}

TEST_F(ForwardingTest, ShowsAnotherProcesssMessagesUntilItIsToldToStop)
{
    startWatching();
    Peer peer("peer-1.0");
    Peer other("other-1.0");
    peer.serve();
    EXPECT_EQ(ask("peer-1.0", "FWDMESSAGES=watcher-1.0"), "watcher-1.0");
    EXPECT_EQ(other.tell("send peer-1.0 first"), "sent");
    EXPECT_TRUE(gets("/body/text;0;Text;first;\n"));
    const auto entry = debug.at(0);
    EXPECT_EQ(entry.sender, "peer-1.0");
    EXPECT_EQ(entry.target, "watcher-1.0");

    EXPECT_EQ(ask("peer-1.0", "FWDMESSAGES=", 0), "NOERROR");
    EXPECT_EQ(ask("peer-1.0", "FWDMESSAGES"), "UNDEFINED");
    while (pump()) { }
    debug.clear();
    EXPECT_EQ(other.tell("send peer-1.0 second"), "sent");
    // What the peer answers now it forwarded before, if it did.
    EXPECT_TRUE(waitUntil([] {
        return ask("peer-1.0", "INFO", kLong, "messages").find("Incoming;0") != std::string::npos;
    }));
    while (pump()) { }
    EXPECT_THAT(debug.bodies(), IsEmpty());
}

TEST_F(ForwardingTest, ShowsOnlyTheLastSubscriberOfAKind)
{
    startWatching();
    const Peer lost("lost-1.0");
    Peer peer("peer-1.0");
    EXPECT_EQ(ask("peer-1.0", "FWDLOGS=lost-1.0"), "lost-1.0");
    EXPECT_EQ(ask("peer-1.0", "FWDLOGS=watcher-1.0"), "watcher-1.0");
    EXPECT_EQ(ask("peer-1.0", "FWDLOGS"), "watcher-1.0");
    const std::string lines = ask("peer-1.0", "INFO", kLong, "messages");
    EXPECT_THAT(lines, HasSubstr("/handler/FWDLOGS;0;FWDLOGS;for all messages;\n"));
    EXPECT_EQ(lines.find("FWDLOGS;for"), lines.rfind("FWDLOGS;for"));
}

TEST_F(ForwardingTest, DoesNotHurtWhenTheSubscriberIsKilled)
{
    start("asker-1.0");
    Peer peer("peer-1.0");
    auto watcher = std::make_unique<Peer>("watcher-1.0");
    EXPECT_EQ(ask("peer-1.0", "FWDMESSAGES=watcher-1.0"), "watcher-1.0");
    peer.serve();
    EXPECT_TRUE(send(*self, *request("peer-1.0", "first", "Result")));
    watcher.reset();
    for (int i = 0; i < 20; ++i) {
        const auto message = request("peer-1.0", "more", "Result");
        EXPECT_TRUE(send(*self, *message));
    }
    EXPECT_TRUE(pumpUntil([&] {
        const std::vector<int> reasons = inbox.reasons();
        return std::count(reasons.begin(), reasons.end(), TevoroTalk::MsgHandler::kResult) == 21;
    })) << testing::PrintToString(inbox.words());
    EXPECT_EQ(ask("peer-1.0", ""), kEcho);
    EXPECT_EQ(peer.process().finish(), 0);
}

TEST_F(ForwardingTest, ShowsTheLogOfAProcessThatLogs)
{
    startWatching();
    environment.set("TEVOROTALK_LOG", "1");
    Peer peer("peer-1.0");
    EXPECT_EQ(ask("peer-1.0", "FWDLOGS=watcher-1.0"), "watcher-1.0");
    EXPECT_EQ(peer.tell("log remarkable"), "logged");
    EXPECT_TRUE(gets("/log/peer-1.0/msg0;1;msg["));
    EXPECT_TRUE(gets("];LOG;\n"));
    // And in its own queue, under the log.
    EXPECT_TRUE(waitUntil([] {
        return ask("peer-1.0", "INFO", kLong, "log").find(";Type;Log;") != std::string::npos;
    }));
    EXPECT_EQ(ask("peer-1.0", "INFO", kLong, "messages").find(";Type;Log;"), std::string::npos);
    EXPECT_THAT(ask("peer-1.0", "INFO", kLong, "context"), HasSubstr(";Logging:;ON;\n"));
    EXPECT_EQ(peer.process().finish(), 0);
}

TEST_F(ForwardingTest, ShowsNoLogOfAProcessThatDoesNotLog)
{
    startWatching();
    environment.unset("TEVOROTALK_LOG");
    Peer peer("peer-1.0");
    EXPECT_EQ(ask("peer-1.0", "FWDLOGS=watcher-1.0"), "watcher-1.0");
    EXPECT_EQ(peer.tell("log unremarkable"), "logged");
    EXPECT_EQ(ask("peer-1.0", ""), kEcho);
    while (pump()) { }
    EXPECT_THAT(debug.bodies(), IsEmpty());
    EXPECT_EQ(ask("peer-1.0", "INFO", kLong, "log").find(";Type;Log;"), std::string::npos);
}

TEST_F(ForwardingTest, DeletesASubscriberOnlyAfterItHasHandledAMessageOfItsType)
{
    start();
    ASSERT_TRUE(waitUntil([] { return !thread().getSpecifier().isEmpty(); }));
    SlowSubscriber::Story story;
    delete self->changeHandler(new SlowSubscriber(story));
    std::thread changer([&story] {
        EXPECT_TRUE(waitUntil([&story] { return story.hasBegun.load(); }));
        EXPECT_EQ(ask("self-1.0", "FWDMESSAGES=", 0), "NOERROR");
    });
    auto message = request("self-1.0", "hello", "Result");
    message->type = "FWDMESSAGES";
    EXPECT_TRUE(send(*self, *message));
    EXPECT_TRUE(pumpUntil([&story] { return story.isGone.load(); }));
    changer.join();
    EXPECT_FALSE(story.wasGoneInTheCall);
}

// A message that names a key as its type goes to the subscriber itself, which pings change.
TEST_F(ForwardingTest, MayChangeASubscriberWhileMessagesOfItsTypeArrive)
{
    start();
    ASSERT_TRUE(waitUntil([] { return !thread().getSpecifier().isEmpty(); }));
    std::atomic<bool> isOver{false};
    std::thread changer([&isOver] { changeSubscribers("nobody-1.0", isOver); });
    std::size_t handled = 0;
    while (!isOver) {
        auto message = request("self-1.0", "hello", "Result");
        message->type = "FWDMESSAGES";
        EXPECT_TRUE(send(*self, *message));
        handled += pump() ? 1U : 0U;
    }
    changer.join();
    EXPECT_GT(handled, 0U);
    EXPECT_EQ(ask("self-1.0", "FWDMESSAGES"), "UNDEFINED");
}

TEST_F(ForwardingTest, MayChangeSubscribersAThousandTimesWhileMessagesPass)
{
    start();
    ASSERT_TRUE(waitUntil([] { return !thread().getSpecifier().isEmpty(); }));
    const Peer watcher("watcher-1.0");
    std::atomic<bool> isOver{false};
    std::thread changer([&isOver] { changeSubscribers("watcher-1.0", isOver); });
    std::size_t sent = 0;
    while (!isOver) {
        EXPECT_TRUE(send(*self, *request("self-1.0", "hello")));
        ++sent;
        pump();
    }
    changer.join();
    EXPECT_TRUE(pumpUntil([&] { return inbox.size() == sent; }));
    EXPECT_EQ(ask("self-1.0", "FWDMESSAGES"), "UNDEFINED");
}
