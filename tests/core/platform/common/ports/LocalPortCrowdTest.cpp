// More senders than a holder has descriptors for: it closes the connections that were idle for
// longest, and nothing is lost or overtaken by that.

#include "core/platform/support/NoMoreDescriptors.h"
#include "core/platform/support/PeerProcess.h"
#include "core/platform/support/PortFixture.h"
#include "core/platform/support/PortText.h"
#include "core/platform/support/RogueSender.h"
#include "platform/common/ports/LocalPort.h"

#include <map>
#include <memory>

using Pt::LocalPort;
using Pt::LocalPortSender;
using test::NoMoreDescriptors;
using test::PeerProcess;
using test::RogueSender;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// A port leaves that many descriptors to others; with those to spare beyond them it may have as
// many connections, and one more until the next comes.
constexpr rlim_t kReserve = 8;

class LocalPortCrowdTest : public test::PortFixture {
protected:
    // So that only the descriptors of the port count.
    static std::unique_ptr<PeerProcess> started(std::vector<std::string> words)
    {
        words.insert(words.begin(), PORT_PEER);
        words.insert(words.begin() + 2, test::hexOf("p"));
        return std::make_unique<PeerProcess>(words);
    }

    struct Stream {
        std::size_t count;
        std::size_t size;
    };

    // Begins them all, and sees that all their texts arrive once and in order.
    void expectAll(LocalPort& port, const std::vector<Stream>& streams)
    {
        std::vector<std::unique_ptr<PeerProcess>> peers;
        std::size_t count = 0;
        for (const Stream& stream : streams) {
            peers.push_back(
                started({"stream", std::to_string(stream.count), std::to_string(stream.size)}));
            count += stream.count;
        }
        std::map<std::size_t, std::size_t> next; // number by length, which tells the sender
        std::size_t wrong = 0;
        const NoMoreDescriptors few(kReserve + 3);
        for (const auto& peer : peers)
            peer->tell("go");
        for (const std::string& text : received(port, count))
            wrong += text == test::numberedText(next[text.size()]++, text.size()) ? 0 : 1;
        EXPECT_EQ(wrong, 0U);
        for (const Stream& stream : streams)
            EXPECT_EQ(next[stream.size], stream.count) << stream.size;
        for (const auto& peer : peers)
            EXPECT_EQ(peer->line(), "done");
        EXPECT_THAT(received(port), IsEmpty());
    }
};

} // namespace

TEST_F(LocalPortCrowdTest, IsAnsweredByAHolderWithFewDescriptors)
{
    const auto holder = started({"answer", "64"});
    ASSERT_EQ(holder->line(), "held");
    const auto crowd = started({"crowd", "200", "3"});
    EXPECT_EQ(crowd->line(), "answered 200");
    EXPECT_EQ(crowd->finish(), 0);
    EXPECT_EQ(holder->finish(), 0);
}

TEST_F(LocalPortCrowdTest, LosesAndReordersNothingWhileConnectionsAreClosed)
{
    const auto port = held("p");
    std::vector<Stream> streams;
    for (std::size_t i = 0; i < 12; ++i)
        streams.push_back({2000, 200 + i});
    expectAll(*port, streams);
}

TEST_F(LocalPortCrowdTest, LosesNoLargeTextsWhileConnectionsAreClosed)
{
    const auto port = held("p");
    std::vector<Stream> streams;
    for (std::size_t i = 0; i < 6; ++i)
        streams.push_back({5, 600000 + i});
    for (std::size_t i = 0; i < 2; ++i)
        streams.push_back({3, 5000000 + i});
    expectAll(*port, streams);
}

TEST_F(LocalPortCrowdTest, ClosesWhatWasIdleForLongest)
{
    const auto port = held("p");
    RogueSender first(socketPath());
    RogueSender second(socketPath());
    RogueSender third(socketPath());
    for (RogueSender* each : {&first, &second, &third})
        ASSERT_TRUE(each->send("hello"));
    EXPECT_EQ(received(*port).size(), 3U);
    ASSERT_TRUE(first.send("again"));
    EXPECT_EQ(received(*port).size(), 1U);
    RogueSender fourth(socketPath());
    ASSERT_TRUE(fourth.send("new"));
    {
        const NoMoreDescriptors few(kReserve);
        EXPECT_THAT(received(*port), ElementsAre("new"));
    }
    EXPECT_FALSE(first.isClosed());
    EXPECT_TRUE(second.isClosed());
    EXPECT_FALSE(third.isClosed());
    EXPECT_FALSE(fourth.isClosed());
}

TEST_F(LocalPortCrowdTest, LetsANewcomerInForAnotherWhenNoDescriptorIsLeft)
{
    const auto port = held("p");
    RogueSender first(socketPath());
    ASSERT_TRUE(first.send("hello"));
    EXPECT_EQ(received(*port).size(), 1U);
    RogueSender second(socketPath());
    ASSERT_TRUE(second.send("new"));
    ASSERT_TRUE(first.send("last"));
    const NoMoreDescriptors none;
    Texts texts = received(*port);
    std::ranges::sort(texts);
    EXPECT_THAT(texts, ElementsAre("last", "new"));
    EXPECT_TRUE(first.isClosed());
}

// What a connection holds is taken before what its sender sends on the next one, whatever a call
// may take.
TEST_F(LocalPortCrowdTest, FinishesAClosedConnectionFirst)
{
    const auto port = held("p");
    LocalPortSender sender;
    ASSERT_TRUE(sender.send("p", "hello", kPatience));
    EXPECT_EQ(received(*port).size(), 1U);
    RogueSender newcomer(socketPath());
    ASSERT_TRUE(newcomer.send("new"));
    for (const char* text : {"1", "2", "3"})
        ASSERT_TRUE(sender.send("p", text, kPatience));
    const NoMoreDescriptors few(kReserve);
    Texts texts;
    const auto take = [&](char* text, std::size_t size) { texts.emplace_back(text, size); };
    // The queue of newcomers comes first, and one has to go for it.
    for (int calls = 0; texts.size() < 5 && calls < 20; ++calls) {
        port->receive(take, {1, SIZE_MAX});
        if (texts.size() == 1) {
            ASSERT_TRUE(sender.send("p", "4", kPatience));
        }
    }
    std::erase(texts, "new");
    EXPECT_THAT(texts, ElementsAre("1", "2", "3", "4"));
}

TEST_F(LocalPortCrowdTest, LetsGoOfASendersIdleConnectionsFirst)
{
    const auto first = held("first");
    const auto second = held("second");
    const auto third = held("third");
    const auto fourth = held("fourth");
    LocalPortSender sender;
    const NoMoreDescriptors few(kReserve + 2);
    const auto before = test::openDescriptors();
    ASSERT_TRUE(sender.send("first", "1", kPatience));
    ASSERT_TRUE(sender.send("second", "unread", kPatience));
    ASSERT_TRUE(sender.send("third", "3", kPatience));
    EXPECT_EQ(test::openDescriptors(), before + 3) << "a text overtakes none that is unread";
    EXPECT_THAT(received(*first), ElementsAre("1"));
    EXPECT_THAT(received(*third), ElementsAre("3"));
    EXPECT_EQ(test::openDescriptors(), before + 5);
    ASSERT_TRUE(sender.send("fourth", "4", kPatience));
    EXPECT_EQ(test::openDescriptors(), before + 5) << "one more, one less";
    EXPECT_THAT(received(*first), IsEmpty());
    EXPECT_EQ(test::openDescriptors(), before + 4) << "the one that was idle for longest";
    for (const char* text : {"5", "6", "7"})
        ASSERT_TRUE(sender.send("second", text, kPatience));
    EXPECT_THAT(received(*second), ElementsAre("unread", "5", "6", "7"));
}

// Nothing was in reserve, as if others had taken it.
TEST_F(LocalPortCrowdTest, LetsGoOfASendersIdleConnectionsWhenNoDescriptorIsLeft)
{
    const auto first = held("first");
    const auto second = held("second");
    LocalPortSender sender;
    ASSERT_TRUE(sender.send("first", "1", kPatience));
    EXPECT_THAT(received(*first), ElementsAre("1"));
    {
        const NoMoreDescriptors few(1);
        ASSERT_TRUE(sender.send("second", "2", milliseconds(0)));
        constexpr milliseconds kShort{60};
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE(sender.send("first", "3", milliseconds(0))) << "the other is unread";
        EXPECT_FALSE(sender.send("first", "3", kShort));
        EXPECT_GE(std::chrono::steady_clock::now() - start, kShort);
        EXPECT_LT(std::chrono::steady_clock::now() - start, kPatience / 2);
    }
    EXPECT_TRUE(sender.send("first", "4", milliseconds(0)));
    EXPECT_THAT(received(*second), ElementsAre("2"));
    EXPECT_THAT(received(*first), ElementsAre("4"));
}
