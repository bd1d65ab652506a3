// What waits unread is bounded, and senders feel it.
#include "core/messaging/support/BusProcessFixture.h"
#include "messaging/mailbox/InterAppStream.h"
#include "support/Sanitizers.h"

#include <atomic>
#include <chrono>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace ScObjects;
using std::chrono::milliseconds;
using std::chrono::seconds;
using test::PeerProcess;
using SteadyClock = std::chrono::steady_clock;

class BackpressureTest : public test::BusProcessFixture {
protected:
    // Messages with the bodies 0, 1, 2 ... as long as there is room for them.
    static int fill(const InterAppStream& from, const std::string& target, std::size_t size)
    {
        Message message;
        message.target = target.c_str();
        message.sender = from.getSpecifier();
        for (int i = 0;; ++i) {
            std::string body = std::to_string(i);
            body.resize(std::max(size, body.size()), ' ');
            message.body = body.c_str();
            if (!from.sendMessageUnlessSilent(milliseconds(0), message))
                return i;
        }
    }

    // What it says when its work takes long.
    static std::string answerOf(PeerProcess& peer)
    {
        EXPECT_TRUE(peer.saysSomething(seconds(90)));
        return peer.line();
    }

    static long kilobytesOf(long process, const std::string& what)
    {
        std::ifstream status("/proc/" + std::to_string(process) + "/status");
        for (std::string word; status >> word;) {
            long value = 0;
            if (word == what + ":" && status >> value)
                return value;
        }
        return -1;
    }
};

} // namespace

TEST_F(BackpressureTest, LeavesInThePortWhatAStreamHasNoRoomFor)
{
    InterAppStream receiver("receiver-1.0", true);
    const InterAppStream sender("sender-1.0", true);
    int sent = 0;
    // Each look would take more in, if there were no bound.
    for (int look = 0; look < 20; ++look) {
        for (int i = 0; i < 1000; ++i)
            sent += sender.sendWithin(milliseconds(0), "receiver-1.0", "text") ? 1 : 0;
        EXPECT_TRUE(receiver.messagePending());
    }
    EXPECT_EQ(receiver.getMsgQueue().length(), 4096);
    EXPECT_FALSE(receiver.hasRoom());
    EXPECT_LT(sent, 20000);
    EXPECT_GT(sent, 4096);
    // Asking again neither waits nor takes more.
    EXPECT_TRUE(receiver.messagePending());
    EXPECT_EQ(receiver.getMsgQueue().length(), 4096);
    int read = 0;
    for (; receiver.messagePending() && receiver.receive(); ++read)
        EXPECT_EQ(test::bytes(receiver.getMessages()), "text");
    EXPECT_EQ(read, sent);
}

TEST_F(BackpressureTest, BoundsTheBytesOfLargeTexts)
{
    InterAppStream receiver("receiver-1.0", true);
    const InterAppStream sender("sender-1.0", true);
    const SoString large{std::string_view(std::string(100000, 'x'))};
    int sent = 0;
    for (int look = 0; look < 400; ++look) {
        sent += sender.sendWithin(milliseconds(0), "receiver-1.0", large) ? 1 : 0;
        receiver.messagePending();
    }
    EXPECT_LE(receiver.getMsgQueue().length(), 84); // 8 MiB and one text
    EXPECT_LT(sent, 400);
    int read = 0;
    for (; receiver.messagePending() && receiver.receive(); ++read)
        receiver.getMessages();
    EXPECT_EQ(read, sent);
}

TEST_F(BackpressureTest, BoundsTheQueueOfAnApplicationThatDoesNotPump)
{
    start();
    const InterAppStream sender("sender-1.0", true);
    int sent = fill(sender, "self-1.0", 0);
    // The thread of the bus takes in what it may, and the port fills again.
    EXPECT_TRUE(waitUntil([&] { return queued(*self, "in", "Type").size() == 4096; }));
    const auto limit = SteadyClock::now() + seconds(1);
    std::vector<std::string> bodies;
    while (SteadyClock::now() < limit) {
        Message message;
        message.target = "self-1.0";
        message.sender = "sender-1.0";
        message.body = std::to_string(sent).c_str();
        if (sender.sendMessageUnlessSilent(milliseconds(0), message))
            ++sent;
        else
            TevoroTalkUtils::sleep(1);
    }
    EXPECT_EQ(queued(*self, "in", "Type").size(), 4096U);
    // None is lost, and all come in their order.
    EXPECT_TRUE(pumpUntil([&] { return inbox.size() >= static_cast<std::size_t>(sent); }));
    for (int i = 0; i < sent; ++i)
        ASSERT_EQ(inbox.at(static_cast<std::size_t>(i)).body, std::to_string(i));
}

// Each waits for room at the other while the other waits for room at it.
TEST_F(BackpressureTest, LetsTwoThatFloodEachOtherGoOn)
{
    const Peer first = peer("first-1.0");
    const Peer second = peer("second-1.0");
    first->tell("quiet");
    second->tell("quiet");
    const auto begin = SteadyClock::now();
    first->tell("exchange second-1.0 1500 20000");
    second->tell("exchange first-1.0 1500 20000");
    EXPECT_EQ(answerOf(*first), "exchanged 1500 answered");
    EXPECT_EQ(answerOf(*second), "exchanged 1500 answered");
    EXPECT_LT(SteadyClock::now() - begin, seconds(test::kIsSanitized ? 60 : 9));
    EXPECT_EQ(first->finish(), 0);
    EXPECT_EQ(second->finish(), 0);
}

TEST_F(BackpressureTest, KeepsTheMemoryOfAFloodedApplicationSmall)
{
    const Peer busy = peer("busy-1.0");
    busy->tell("pump off");
    constexpr int kSenders = 100;
    std::vector<std::unique_ptr<InterAppStream>> senders;
    for (int i = 0; i < kSenders; ++i)
        senders.push_back(std::make_unique<InterAppStream>(
            ("sender" + std::to_string(i) + "-1.0").c_str(), true));
    const auto limit = SteadyClock::now() + seconds(3);
    while (SteadyClock::now() < limit)
        for (const auto& sender : senders)
            fill(*sender, "busy-1.0", 1000);
    EXPECT_LT(kilobytesOf(busy->id(), "VmHWM"), test::kIsSanitized ? 512 * 1024 : 64 * 1024);
    busy->kill();
}

// A thread that floods puts more in than the handler works off.
TEST_F(BackpressureTest, EndsAPumpWhateverArrivesMeanwhile)
{
    class Slow final : public TevoroTalk::MsgHandler {
    public:
        long handleMessage(int, Message&, SoString*) override
        {
            std::this_thread::sleep_for(std::chrono::microseconds(300));
            return 0;
        }
    };
    start();
    delete self->changeHandler(new Slow);
    std::atomic<bool> isOver{false};
    std::thread flood([&] {
        const InterAppStream sender("sender-1.0", true);
        Message message;
        message.target = "self-1.0";
        message.sender = "sender-1.0";
        message.body = "text";
        while (!isOver)
            sender.sendMessageUnlessSilent(milliseconds(0), message);
    });
    EXPECT_TRUE(waitUntil([&] { return self->incomingMessagePending(); }));
    const auto begin = SteadyClock::now();
    EXPECT_TRUE(pump());
    EXPECT_LT(SteadyClock::now() - begin, seconds(15));
    isOver = true;
    flood.join();
}
