// One sender object that several threads use at once.

#include "core/platform/support/PortFixture.h"
#include "core/platform/support/PortText.h"
#include "core/platform/support/ThreadState.h"
#include "platform/common/ports/LocalPort.h"

#include <atomic>
#include <future>
#include <map>
#include <thread>

#include <unistd.h>

using Pt::LocalPort;
using Pt::LocalPortSender;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Clock = std::chrono::steady_clock;

class LocalPortSenderThreadsTest : public test::PortFixture {
protected:
    static constexpr milliseconds kShort{60};

    // So that the next text for that port has to wait.
    void fill(const std::string& name)
    {
        while (sender.send(name, std::string(30000, 'x'), milliseconds(0))) { }
        while (sender.send(name, "x", milliseconds(0))) { }
    }

    // Until it waits for something; what it says later is in `result`.
    void startSend(const std::string& name, milliseconds patience)
    {
        std::atomic<pid_t> id{0};
        thread = std::thread([&, name, patience] {
            id = ::gettid();
            result.set_value(sender.send(name, "waits", patience));
        });
        ASSERT_TRUE(test::waitUntil(
            [&] { return id != 0 && test::threadState(::getpid(), id) == 'S'; }, kPatience));
    }

    void expectSentAtOnce(const std::string& name)
    {
        const auto start = Clock::now();
        EXPECT_TRUE(sender.send(name, "at once", kPatience));
        EXPECT_LT(Clock::now() - start, kPatience / 4);
    }

    // What stands in the way, and the text that waits.
    static void takeUntilSent(LocalPort& port)
    {
        Texts texts;
        while (texts.empty() || texts.back() != "waits") {
            texts = received(port, 1);
            ASSERT_FALSE(texts.empty());
        }
    }

    bool endSend()
    {
        thread.join();
        return result.get_future().get();
    }

    LocalPortSender sender;
    std::promise<bool> result;
    std::thread thread;
};

// By the name of the thread, which each text begins with.
std::map<char, std::size_t> countedInOrder(const std::vector<std::string>& texts)
{
    std::map<char, std::size_t> next;
    for (const std::string& text : texts) {
        std::size_t& number = next[text.at(0)];
        EXPECT_EQ(text.substr(1), std::to_string(number)) << text[0];
        ++number;
    }
    return next;
}

} // namespace

TEST_F(LocalPortSenderThreadsTest, KeepsTheOrderOfEachThread)
{
    constexpr std::size_t kTexts = 3000;
    const auto port = held("p");
    std::vector<std::thread> threads;
    for (const char name : {'a', 'b', 'c', 'd'})
        threads.emplace_back([this, name] {
            for (std::size_t number = 0; number < kTexts; ++number)
                EXPECT_TRUE(sender.send("p", name + std::to_string(number), kPatience));
        });
    const Texts texts = received(*port, threads.size() * kTexts);
    for (std::thread& each : threads)
        each.join();
    EXPECT_THAT(countedInOrder(texts),
        ElementsAre(testing::Pair('a', kTexts),
            testing::Pair('b', kTexts),
            testing::Pair('c', kTexts),
            testing::Pair('d', kTexts)));
}

TEST_F(LocalPortSenderThreadsTest, MakesOneConnectionHoweverManyThreadsBegin)
{
    for (int round = 0; round < 50; ++round) {
        const auto port = held("p");
        const auto before = test::openDescriptors();
        LocalPortSender fresh;
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] { EXPECT_TRUE(fresh.send("p", "text", kPatience)); });
        for (std::thread& each : threads)
            each.join();
        EXPECT_EQ(received(*port).size(), 4U);
        EXPECT_THAT(received(*port), IsEmpty()); // closes what nobody uses
        EXPECT_EQ(test::openDescriptors(), before + 2) << round; // both ends
    }
}

TEST_F(LocalPortSenderThreadsTest, HoldsUpNoOtherWhileOneWaitsForRoom)
{
    const auto full = held("full");
    const auto other = held("other");
    fill("full");
    startSend("full", kPatience);
    expectSentAtOnce("other");
    EXPECT_FALSE(sender.send("full", "x", milliseconds(0)));
    EXPECT_FALSE(sender.send("nobody", "x", kPatience));
    takeUntilSent(*full);
    EXPECT_TRUE(endSend());
    EXPECT_THAT(received(*other), ElementsAre("at once"));
}

// Whoever asks and goes stands in the queue of newcomers until the holder reads.
TEST_F(LocalPortSenderThreadsTest, HoldsUpNoOtherWhileOneWaitsForItsConnection)
{
    constexpr int kMaxQueue = 128;
    const auto full = held("full");
    const auto other = held("other");
    for (int i = 0; i <= kMaxQueue; ++i)
        Pt::isLocalPortFree("full");
    startSend("full", kPatience);
    expectSentAtOnce("other");
    const auto start = Clock::now();
    EXPECT_FALSE(sender.send("full", "x", milliseconds(0)));
    EXPECT_LT(Clock::now() - start, kPatience / 4);
    EXPECT_THAT(received(*full, 1), ElementsAre("waits"));
    EXPECT_TRUE(endSend());
    EXPECT_THAT(received(*other), ElementsAre("at once"));
}

TEST_F(LocalPortSenderThreadsTest, WaitsAsLongAsEachThreadWasTold)
{
    const auto full = held("full");
    fill("full");
    startSend("full", kPatience);
    for (int round = 0; round < 5; ++round) {
        const auto start = Clock::now();
        EXPECT_FALSE(sender.send("full", "x", kShort));
        EXPECT_GE(Clock::now() - start, kShort);
        EXPECT_LT(Clock::now() - start, kPatience / 4);
    }
    takeUntilSent(*full);
    EXPECT_TRUE(endSend()) << "not cut short by the others";
}

TEST_F(LocalPortSenderThreadsTest, GoesToTheNextHolderFromAConnectionThatWasLetGo)
{
    auto port = held("p");
    fill("p");
    startSend("p", kPatience);
    port.reset();
    port = held("p");
    // Whoever comes first makes the connection for both.
    sender.send("p", "at once", kPatience);
    endSend();
    for (const std::string& text : received(*port))
        EXPECT_TRUE(text == "waits" || text == "at once") << text;
    expectSentAtOnce("p");
    EXPECT_EQ(received(*port).back(), "at once");
}
