// What one call takes at most, and what becomes of the rest.

#include "core/platform/support/PortFixture.h"
#include "platform/common/ports/LocalPort.h"

#include <memory>
#include <set>
#include <vector>

using Pt::LocalPort;
using Pt::LocalPortSender;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::size_t kAny = SIZE_MAX;

class LocalPortBoundTest : public test::PortFixture {
protected:
    Texts bounded(const LocalPort::Bound& room)
    {
        Texts texts;
        const std::size_t count = port->receive(
            [&](char* text, std::size_t size) { texts.emplace_back(text, size); }, room);
        EXPECT_EQ(count, texts.size());
        return texts;
    }

    Texts awaited(const LocalPort::Bound& room)
    {
        Texts texts;
        port->receiveAwaited(
            [&](char* text, std::size_t size) { texts.emplace_back(text, size); }, room);
        return texts;
    }

    void send(const Texts& texts)
    {
        for (const std::string& text : texts)
            ASSERT_TRUE(sender.send("p", text, kPatience));
    }

    bool isReadable() const { return test::isReadable(port->descriptor()); }

    std::unique_ptr<LocalPort> port = held("p");
    LocalPortSender sender;
};

} // namespace

TEST_F(LocalPortBoundTest, TakesThatManyTextsAndLeavesTheRest)
{
    send({"1", "2", "3", "4", "5"});
    EXPECT_THAT(bounded({2, kAny}), ElementsAre("1", "2"));
    EXPECT_TRUE(port->hasMore());
    EXPECT_TRUE(isReadable());
    EXPECT_THAT(bounded({2, kAny}), ElementsAre("3", "4"));
    EXPECT_THAT(bounded({2, kAny}), ElementsAre("5"));
    EXPECT_FALSE(port->hasMore());
    EXPECT_FALSE(isReadable());
}

TEST_F(LocalPortBoundTest, EndsWithTheTextThatReachesTheBytes)
{
    send({"four", "more", "most", "last"});
    EXPECT_THAT(bounded({kAny, 8}), ElementsAre("four", "more"));
    EXPECT_TRUE(port->hasMore());
    EXPECT_THAT(bounded({kAny, 5}), ElementsAre("most", "last")) << "a text may be longer";
    send({std::string(5000000, 'x'), "behind"});
    EXPECT_EQ(bounded({kAny, 1}).at(0).size(), 5000000U);
    EXPECT_THAT(bounded({kAny, 7}), ElementsAre("behind"));
    EXPECT_FALSE(port->hasMore());
}

TEST_F(LocalPortBoundTest, TakesNothingWithRoomForNothing)
{
    send({"1"});
    EXPECT_THAT(bounded({0, kAny}), IsEmpty());
    EXPECT_THAT(bounded({kAny, 0}), IsEmpty());
    EXPECT_TRUE(port->hasMore());
    EXPECT_TRUE(isReadable());
    EXPECT_THAT(bounded({kAny, kAny}), ElementsAre("1"));
    EXPECT_THAT(bounded({kAny, kAny}), IsEmpty());
    EXPECT_FALSE(port->hasMore());
}

TEST_F(LocalPortBoundTest, GivesWhatItLeftBeforeTheTextsOfLaterSenders)
{
    LocalPortSender second;
    LocalPortSender third;
    send({"a1", "a2", "a3"});
    ASSERT_TRUE(second.send("p", "b1", kPatience));
    EXPECT_THAT(bounded({1, kAny}), ElementsAre("a1"));
    ASSERT_TRUE(third.send("p", "c1", kPatience));
    Texts texts;
    while (port->hasMore() || isReadable())
        for (std::string& text : bounded({1, kAny}))
            texts.push_back(std::move(text));
    EXPECT_THAT(texts, ElementsAre("a2", "a3", "b1", "c1"));
}

TEST_F(LocalPortBoundTest, SaysThatMoreMayBeThereOfSendersItDidNotReach)
{
    LocalPortSender second;
    send({"hello"});
    ASSERT_TRUE(second.send("p", "hello", kPatience));
    EXPECT_EQ(bounded({kAny, kAny}).size(), 2U);
    send({"a"});
    ASSERT_TRUE(second.send("p", "b", kPatience));
    EXPECT_THAT(bounded({1, kAny}), ElementsAre("a"));
    EXPECT_TRUE(port->hasMore());
    EXPECT_THAT(bounded({1, kAny}), ElementsAre("b"));
}

TEST_F(LocalPortBoundTest, LetsSendersFeelWhatIsLeft)
{
    std::size_t sent = 0;
    while (sender.send("p", std::string(30000, 'x'), milliseconds(0)))
        ++sent;
    EXPECT_THAT(bounded({0, 0}), IsEmpty());
    EXPECT_FALSE(sender.send("p", "x", milliseconds(0)));
    std::size_t taken = 0;
    while (port->hasMore())
        taken += bounded({10, kAny}).size();
    EXPECT_EQ(taken, sent);
    EXPECT_TRUE(sender.send("p", "x", milliseconds(0)));
}

TEST_F(LocalPortBoundTest, KeepsAWaitUnansweredWithoutRoom)
{
    send({"hello"});
    EXPECT_EQ(received(*port).size(), 1U);
    send({"1", "2"});
    EXPECT_TRUE(port->wait(kPatience));
    EXPECT_THAT(awaited({0, kAny}), IsEmpty());
    EXPECT_THAT(awaited({kAny, 0}), IsEmpty());
    EXPECT_THAT(awaited({1, 1}), ElementsAre("1"));
    EXPECT_THAT(awaited({1, 1}), IsEmpty());
    EXPECT_THAT(bounded({kAny, kAny}), ElementsAre("2"));
}

// Continues with what another sender began, and no further than it may.
TEST_F(LocalPortBoundTest, BoundsWhatAWaitContinuesWith)
{
    LocalPortSender second;
    send({"hello"});
    ASSERT_TRUE(second.send("p", "hello", kPatience));
    EXPECT_EQ(received(*port, 2).size(), 2U);
    send({"a1", "a2", "a3", "a4"});
    EXPECT_THAT(bounded({1, kAny}), ElementsAre("a1"));
    ASSERT_TRUE(second.send("p", "b1", kPatience));
    Texts texts;
    for (int calls = 0; texts.size() < 4 && calls < 20; ++calls) {
        ASSERT_TRUE(port->wait(kPatience));
        const Texts got = awaited({1, kAny});
        EXPECT_LE(got.size(), 1U);
        texts.insert(texts.end(), got.begin(), got.end());
    }
    EXPECT_THAT(texts, ElementsAre("a2", "a3", "a4", "b1"));
}

// Each writes again what was taken, and the room ends before all of them were read.
TEST_F(LocalPortBoundTest, ShutsNoSenderOutWhoseNeighboursKeepWriting)
{
    constexpr std::size_t kSenders = 16;
    constexpr int kEach = 10;
    constexpr std::size_t kRoom = 45; // four or five of them
    std::vector<LocalPortSender> senders(kSenders);
    std::vector<int> unread(kSenders);
    std::set<std::size_t> served;
    const auto refill = [&] {
        for (std::size_t i = 0; i < kSenders; ++i)
            for (; unread[i] < kEach; ++unread[i])
                ASSERT_TRUE(senders[i].send("p", std::string(1, char('a' + i)), kPatience));
    };
    refill();
    EXPECT_EQ(received(*port, kSenders * kEach).size(), kSenders * kEach); // all are let in
    unread.assign(kSenders, 0);
    for (int rounds = 0; rounds < 12; ++rounds) {
        refill();
        for (const std::string& got : bounded({kRoom, kAny})) {
            const auto number = static_cast<std::size_t>(got[0] - 'a');
            --unread[number];
            served.insert(number);
        }
    }
    EXPECT_EQ(served.size(), kSenders);
}
