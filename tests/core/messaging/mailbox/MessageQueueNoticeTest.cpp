// What others are told of the messages of a queue: notices to senders, copies to a subscriber.
#include "core/messaging/support/QueuedMessages.h"
#include "messaging/MsgHandler.h"
#include "messaging/mailbox/MessageQueue.h"

#include <memory>
#include <string>
#include <vector>

namespace {

using namespace ScObjects;
using namespace ScObjects::TevoroTalkData;
using Message = TevoroTalk::Message;
using test::bytes;
using test::kAny;
using test::newExpired;
using test::newMessage;
using test::newWatcher;

// Notes what is forwarded.
class Subscriber final : public TevoroTalk::MsgHandler {
public:
    explicit Subscriber(std::vector<std::string>& notes)
        : m_notes(notes)
    {
    }
    long handleMessage(int, Message& message, SoString*) override
    {
        // The last line of the body ends with the label.
        const std::string body = bytes(message.body);
        const std::size_t start = body.rfind(';', body.size() - 3);
        m_notes.push_back(bytes(message.getUserHeaderValue("MsgRoot")) + " "
            + body.substr(start + 1, body.size() - start - 3));
        return 0;
    }
    const char* getMsgType() const override { return "FWDMESSAGES"; }

private:
    std::vector<std::string>& m_notes;
};

// With the bus, and the mailbox that the notices go to.
class MessageQueueNoticeTest : public test::MessageQueueFixture {
protected:
    MessageQueueNoticeTest()
        : instance(new TevoroTalk("self-1.0", nullptr, true, nullptr))
        , asker("asker-1.0", true)
    {
        Message::setCreateDigest(false);
    }

    // What came for the asker: type and number of each.
    std::vector<std::string> notices(std::size_t count)
    {
        std::vector<std::string> result;
        std::string text;
        while (result.size() < count) {
            if (text.empty())
                text = received(asker, 1);
            if (text.empty())
                break;
            Message notice;
            const char* const rest = notice.readFromString(text.c_str());
            result.push_back(bytes(notice.sender) + " " + bytes(notice.type) + " "
                + std::to_string(notice.serialNumber));
            text.erase(0, static_cast<std::size_t>(rest - text.c_str()));
        }
        EXPECT_FALSE(asker.messagePending());
        EXPECT_EQ(text, "");
        return result;
    }

    // The bus deletes it.
    TevoroTalk* instance;
    InterAppStream asker;
};

} // namespace

TEST_F(MessageQueueNoticeTest, TellsTheSendersInReverseWhenItIsSwept)
{
    for (std::uint32_t number = 1; number <= 3; ++number)
        queue.append(newExpired(number));
    queue.removeExpiredMessages();
    EXPECT_THAT(notices(3),
        testing::ElementsAre("self-1.0 Timeout 3", "self-1.0 Timeout 2", "self-1.0 Timeout 1"));
}

TEST_F(MessageQueueNoticeTest, TellsTheSendersInOrderWhenAMessageIsTaken)
{
    queue.append(newExpired(1));
    queue.append(newExpired(2));
    queue.append(newMessage(3));
    EXPECT_EQ(next(queue)->serialNumber, 3U);
    EXPECT_THAT(notices(2), testing::ElementsAre("self-1.0 Timeout 1", "self-1.0 Timeout 2"));
}

TEST_F(MessageQueueNoticeTest, TellsTheSendersOfAllThatIsLeftAtItsEnd)
{
    auto going = std::make_unique<MessageQueue>();
    Message* const fresh = newMessage(1);
    fresh->responseRequest = "Timeout";
    going->append(fresh);
    going->append(newMessage(2)); // asked for nothing
    going->append(newExpired(3));
    going.reset();
    EXPECT_THAT(notices(2), testing::ElementsAre("self-1.0 Timeout 1", "self-1.0 Timeout 3"));
}

TEST_F(MessageQueueNoticeTest, TellsOnlyWhoAskedAndDoesNotWatch)
{
    const std::unique_ptr<Message> message(newMessage(1));
    EXPECT_FALSE(notifySender(*message, "Timeout", ""));
    message->responseRequest = "Result";
    EXPECT_FALSE(notifySender(*message, "Timeout", ""));
    message->responseRequest = "NoTimeouts"; // holds the word
    EXPECT_TRUE(notifySender(*message, "Timeout", ""));
    message->setHeader("TIMEOUT_DETECTOR", "TARGET");
    EXPECT_TRUE(notifySender(*message, "Timeout", ""));
    message->setHeader("TIMEOUT_DETECTOR", "SENDER");
    EXPECT_FALSE(notifySender(*message, "Timeout", ""));
    EXPECT_EQ(notices(2).size(), 2U);
}

TEST_F(MessageQueueNoticeTest, TellsByAnotherWordWithTheTypeBehindIt)
{
    const std::unique_ptr<Message> message(newMessage(4));
    message->responseRequest = "Gone";
    EXPECT_TRUE(notifySender(*message, "Gone", ""));
    EXPECT_THAT(notices(1), testing::ElementsAre("self-1.0 GoneOwn 4"));
}

TEST_F(MessageQueueNoticeTest, TellsAnOldPeerByItsOwnTypeAndANewNumber)
{
    const std::uint32_t number = Message::getNextSerialNumber(nullptr);
    for (const char* version : {"1.0", ""}) {
        const std::unique_ptr<Message> message(newExpired(99));
        message->version = version;
        EXPECT_TRUE(notifySender(*message, "Timeout", ""));
    }
    EXPECT_THAT(notices(2),
        testing::ElementsAre("self-1.0 Own " + std::to_string(number + 1),
            "self-1.0 Own " + std::to_string(number + 2)));
}

TEST_F(MessageQueueNoticeTest, TellsNobodyWhoIsGone)
{
    const std::unique_ptr<Message> message(newExpired(1));
    message->sender = "gone-1.0";
    EXPECT_FALSE(notifySender(*message, "Timeout", ""));
}

TEST_F(MessageQueueNoticeTest, ForwardsWhatHappensToAMessage)
{
    std::vector<std::string> notes;
    instance->changeHandler(new Subscriber(notes));
    queue.append(newMessage(1));
    EXPECT_TRUE(notes.empty()) << "nothing is forwarded without a root";
    next(queue);
    queue.setDiagnosticsRoot("/root");
    queue.append(newMessage(1));
    next(queue);
    queue.append(newMessage(2, "Debug"));
    next(queue);
    queue.append(newWatcher(3));
    next(queue);
    queue.append(newExpired(4));
    queue.removeExpiredMessages();
    EXPECT_THAT(notes,
        testing::ElementsAre(
            "/root added", "/root picked", "/root added", "/root added", "/root timed out"));
    EXPECT_EQ(notices(1).size(), 1U);
    instance->deleteHandler(instance->findHandler("FWDMESSAGES", kAny));
    EXPECT_EQ(queue.length(), 1);
}
