// Local ports between real processes: what happens when one of them is killed, slow, or one of
// many.

#include "core/platform/support/PeerProcess.h"
#include "core/platform/support/PortFixture.h"
#include "core/platform/support/PortText.h"
#include "platform/common/ports/LocalPort.h"

#include <map>

using Pt::LocalPort;
using Pt::LocalPortSender;
using test::kKilobyte;
using test::kMegabyte;
using test::PeerProcess;
using testing::IsEmpty;

namespace {

using Words = std::vector<std::string>;

class LocalPortProcessTest : public test::PortFixture {
protected:
    static Words peer(const std::string& command, const Words& arguments = {})
    {
        Words words = {PORT_PEER, command, test::hexOf("p")};
        words.insert(words.end(), arguments.begin(), arguments.end());
        return words;
    }

    LocalPortSender sender;
};

class LocalPortProcessLengthTest : public LocalPortProcessTest,
                                   public testing::WithParamInterface<std::size_t> { };

} // namespace

TEST_P(LocalPortProcessLengthTest, ReachesAnotherProcessWhole)
{
    PeerProcess holder(peer("hold"));
    ASSERT_EQ(holder.line(), "held");
    for (std::size_t number = 0; number < 3; ++number) {
        const std::string text = test::numberedText(number, GetParam());
        ASSERT_TRUE(sender.send("p", text, kPatience));
        EXPECT_EQ(holder.line(), test::described(text));
    }
    EXPECT_EQ(holder.finish(), 0);
    EXPECT_THAT(files(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Lengths,
    LocalPortProcessLengthTest,
    testing::Values(1, 300, 32 * kKilobyte, 33 * kKilobyte, kMegabyte, 5 * kMegabyte));

TEST_F(LocalPortProcessTest, IsHeldByOneProcessAtATime)
{
    PeerProcess first(peer("hold"));
    ASSERT_EQ(first.line(), "held");
    PeerProcess second(peer("hold"));
    EXPECT_EQ(second.line(), "taken");
    EXPECT_FALSE(LocalPort::hold("p"));
    EXPECT_FALSE(Pt::isLocalPortFree("p"));
    EXPECT_EQ(first.finish(), 0);
    EXPECT_TRUE(Pt::isLocalPortFree("p"));
    EXPECT_TRUE(LocalPort::hold("p"));
    EXPECT_EQ(second.finish(), 0);
}

TEST_F(LocalPortProcessTest, IsFreeTheMomentItsHolderIsKilled)
{
    for (int round = 0; round < 10; ++round) {
        PeerProcess holder(peer("hold"));
        ASSERT_EQ(holder.line(), "held") << round;
        ASSERT_TRUE(sender.send("p", "text", kPatience));
        EXPECT_EQ(holder.line(), test::described("text"));
        holder.kill();
        EXPECT_EQ(files().size(), 2U); // left behind
        EXPECT_TRUE(Pt::isLocalPortFree("p"));
        EXPECT_FALSE(sender.send("p", "text", kPatience));
        EXPECT_THAT(Pt::heldLocalPorts(), IsEmpty());
    }
    held("p").reset();
    EXPECT_THAT(files(), IsEmpty());
}

TEST_F(LocalPortProcessTest, IsListedWithItsProcess)
{
    PeerProcess holder(peer("hold"));
    ASSERT_EQ(holder.line(), "held");
    const auto ports = Pt::heldLocalPorts();
    ASSERT_EQ(ports.size(), 1U);
    EXPECT_EQ(ports[0].name, "p");
    EXPECT_EQ(ports[0].processId, holder.id());
}

TEST_F(LocalPortProcessTest, GoesToExactlyOneOfThoseWhoRaceForIt)
{
    constexpr int kRacers = 6;
    bool isStale = false;
    for (int round = 0; round < 10; ++round) {
        std::vector<std::unique_ptr<PeerProcess>> racers;
        for (int i = 0; i < kRacers; ++i)
            racers.push_back(std::make_unique<PeerProcess>(peer("compete")));
        for (const auto& racer : racers)
            racer->tell("go");
        int holders = 0;
        for (const auto& racer : racers)
            holders += racer->line() == "held" ? 1 : 0;
        EXPECT_EQ(holders, 1) << "round " << round << ", stale files: " << isStale;
        isStale = round % 2 == 0;
        for (const auto& racer : racers)
            isStale ? racer->kill() : static_cast<void>(racer->finish());
    }
}

TEST_F(LocalPortProcessTest, IsNeverTakenByWhoAsksForIt)
{
    PeerProcess first(peer("ask"));
    PeerProcess second(peer("ask"));
    ASSERT_EQ(first.line(), "asking");
    ASSERT_EQ(second.line(), "asking");
    for (int round = 0; round < 2000; ++round) {
        const auto port = LocalPort::hold("p");
        ASSERT_TRUE(port) << round;
        port->receive([](char*, std::size_t) {});
    }
    first.endInput();
    second.endInput();
    EXPECT_NE(first.line(), "asked 0");
    EXPECT_NE(second.line(), "asked 0");
}

TEST_F(LocalPortProcessTest, IsFoundAgainByASenderOfAnotherProcess)
{
    PeerProcess other(peer("send", {"0", "300", "10000"}));
    for (std::size_t number = 0; number < 5; ++number) {
        const auto port = held("p");
        other.tell("send");
        EXPECT_EQ(other.line(), "sent");
        EXPECT_EQ(received(*port, 1), Texts{test::numberedText(number, 300)});
    }
    other.tell("send");
    EXPECT_EQ(other.line(), "not");
    EXPECT_EQ(other.finish(), 0);
}

TEST_F(LocalPortProcessTest, IsNotWaitedForLongerThanTold)
{
    constexpr milliseconds kShort{60};
    PeerProcess holder(peer("sit"));
    ASSERT_EQ(holder.line(), "held");
    const std::string text(30000, 'x');
    auto start = std::chrono::steady_clock::now();
    do
        start = std::chrono::steady_clock::now();
    while (sender.send("p", text, kShort));
    EXPECT_GE(std::chrono::steady_clock::now() - start, kShort);
    EXPECT_LT(std::chrono::steady_clock::now() - start, kPatience / 2);
}

TEST_F(LocalPortProcessTest, EndsASendWhoseHolderIsKilledMeanwhile)
{
    PeerProcess holder(peer("sit"));
    ASSERT_EQ(holder.line(), "held");
    PeerProcess other(peer("send", {"0", "30000", "60000"}));
    do {
        other.tell("send");
    } while (other.saysSomething(milliseconds(100)) && other.line() == "sent");
    const auto start = std::chrono::steady_clock::now();
    holder.kill();
    EXPECT_EQ(other.line(), "not");
    EXPECT_LT(std::chrono::steady_clock::now() - start, kPatience);
    EXPECT_FALSE(sender.send("p", "text", kPatience));
}

TEST_F(LocalPortProcessTest, KeepsTheOrderOfEachOfManySenders)
{
    constexpr std::size_t kSenders = 4;
    constexpr std::size_t kTexts = 3000;
    const auto port = held("p");
    std::vector<std::unique_ptr<PeerProcess>> senders;
    for (std::size_t i = 0; i < kSenders; ++i) {
        senders.push_back(std::make_unique<PeerProcess>(
            peer("stream", {std::to_string(kTexts), std::to_string(200 + i)})));
        senders.back()->tell("go");
    }
    std::map<std::size_t, std::size_t> next; // number by length, which tells the sender
    std::size_t wrong = 0;
    for (const std::string& text : received(*port, kSenders * kTexts))
        wrong += text == test::numberedText(next[text.size()]++, text.size()) ? 0 : 1;
    EXPECT_EQ(wrong, 0U);
    EXPECT_EQ(next.size(), kSenders);
    for (const auto& other : senders)
        EXPECT_EQ(other->line(), "done");
    EXPECT_THAT(received(*port), IsEmpty());
}

TEST_F(LocalPortProcessTest, TakesOnlyWholeTextsFromASenderThatIsKilled)
{
    const auto port = held("p");
    for (const std::size_t size : {3000U, 100000U, 1000000U, 5000000U}) {
        PeerProcess other(peer("stream", {"100000", std::to_string(size)}));
        other.tell("go");
        Texts texts = received(*port, 3);
        other.kill();
        for (std::string& text : received(*port))
            texts.push_back(std::move(text));
        for (std::size_t number = 0; number < texts.size(); ++number)
            ASSERT_TRUE(texts[number] == test::numberedText(number, size)) << number;
    }
    // The end of the last sender may come a moment later, and is read like a text.
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (test::isReadable(port->descriptor()) && std::chrono::steady_clock::now() < deadline)
        EXPECT_THAT(received(*port), IsEmpty());
    EXPECT_FALSE(test::isReadable(port->descriptor()));
}
