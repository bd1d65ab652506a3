// Texts too long for a packet, of which a holder that does not read gets no more than so many.

#include "core/platform/support/PortFixture.h"
#include "core/platform/support/PortText.h"
#include "platform/common/ports/LocalPort.h"

#include <map>
#include <thread>

using Pt::LocalPort;
using Pt::LocalPortSender;
using test::kMegabyte;

namespace {

constexpr std::size_t kLarge = 5 * kMegabyte;
constexpr std::size_t kMaxUnread = 16 * kMegabyte;

class LocalPortLargeTextsTest : public test::PortFixture {
protected:
    bool send(std::size_t size, milliseconds patience = milliseconds(0))
    {
        return sender.send("p", std::string(size, 'x'), patience);
    }

    std::size_t sentWithoutWaiting(std::size_t size, std::size_t most = 100)
    {
        std::size_t count = 0;
        while (count < most && send(size))
            ++count;
        return count;
    }

    std::size_t taken(std::size_t most)
    {
        std::size_t count = 0;
        do
            count += port->receive([](char*, std::size_t) {}, {most - count, SIZE_MAX});
        while (count < most && port->hasMore());
        return count;
    }

    std::unique_ptr<LocalPort> port = held("p");
    LocalPortSender sender;
};

} // namespace

TEST_F(LocalPortLargeTextsTest, KeepsNoMoreOnTheWayThanTold)
{
    EXPECT_EQ(sentWithoutWaiting(kLarge), kMaxUnread / kLarge);
    EXPECT_EQ(taken(1), 1U);
    EXPECT_EQ(sentWithoutWaiting(kLarge), 1U);
    EXPECT_EQ(taken(100), kMaxUnread / kLarge);
    EXPECT_EQ(sentWithoutWaiting(kLarge), kMaxUnread / kLarge);
}

TEST_F(LocalPortLargeTextsTest, KeepsASingleOneOnTheWayThatIsLonger)
{
    EXPECT_TRUE(send(kMaxUnread + 1));
    EXPECT_FALSE(send(kLarge));
    EXPECT_TRUE(send(100)) << "short texts have room";
    EXPECT_EQ(taken(1), 1U);
    EXPECT_TRUE(send(kLarge));
    EXPECT_FALSE(send(kMaxUnread));
    EXPECT_EQ(taken(100), 2U);
    EXPECT_TRUE(send(kMaxUnread + 1));
}

TEST_F(LocalPortLargeTextsTest, WaitsForRoomAsLongAsTold)
{
    constexpr milliseconds kShort{60};
    EXPECT_EQ(sentWithoutWaiting(kLarge), 3U);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(send(kLarge, kShort));
    EXPECT_GE(std::chrono::steady_clock::now() - start, kShort);
    EXPECT_LT(std::chrono::steady_clock::now() - start, kPatience / 2);
    bool isSent = false;
    std::thread waiter([&] { isSent = send(kLarge, kPatience); });
    std::size_t count = 0;
    while (count < 4 && test::isReadable(port->descriptor(), kPatience))
        count += taken(1);
    waiter.join();
    EXPECT_TRUE(isSent);
    EXPECT_EQ(count, 4U);
}

TEST_F(LocalPortLargeTextsTest, EndsAWaitForRoomWhenItsHolderLeaves)
{
    EXPECT_EQ(sentWithoutWaiting(kLarge), 3U);
    bool isSent = true;
    const auto start = std::chrono::steady_clock::now();
    std::thread waiter([&] { isSent = send(kLarge, kPatience); });
    std::this_thread::sleep_for(milliseconds(20)); // long enough to be waiting, mostly
    port.reset();
    waiter.join();
    EXPECT_FALSE(isSent);
    EXPECT_LT(std::chrono::steady_clock::now() - start, kPatience / 2);
}

// What lies unread behind large texts that were read says nothing against the next.
TEST_F(LocalPortLargeTextsTest, FindsRoomThoughShortTextsAreUnread)
{
    EXPECT_EQ(sentWithoutWaiting(kLarge), 3U);
    for (int i = 0; i < 5; ++i)
        EXPECT_TRUE(send(20000));
    EXPECT_FALSE(send(kLarge));
    EXPECT_EQ(taken(3), 3U);
    EXPECT_TRUE(send(kLarge));
    EXPECT_EQ(taken(6), 6U);
}

TEST_F(LocalPortLargeTextsTest, CountsEachConnectionByItself)
{
    const auto other = held("other");
    LocalPortSender second;
    EXPECT_EQ(sentWithoutWaiting(kLarge), 3U);
    EXPECT_TRUE(sender.send("other", std::string(kLarge, 'x'), milliseconds(0)));
    EXPECT_TRUE(second.send("p", std::string(kLarge, 'x'), milliseconds(0)));
}

TEST_F(LocalPortLargeTextsTest, CountsForAllThreadsAndKeepsTheOrderOfEach)
{
    constexpr std::size_t kTexts = 6;
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < 3; ++i)
        threads.emplace_back([this, i] {
            for (std::size_t number = 0; number < kTexts; ++number) {
                const std::size_t size = number % 2 == 0 ? kLarge + i : 100 + i;
                EXPECT_TRUE(sender.send("p", test::numberedText(number, size), kPatience));
            }
        });
    std::map<std::size_t, std::size_t> next;
    std::size_t wrong = 0;
    for (const std::string& text : received(*port, threads.size() * kTexts)) {
        const std::size_t i = text.size() % kLarge % 100;
        wrong += text == test::numberedText(next[i]++, text.size()) ? 0 : 1;
    }
    for (std::thread& each : threads)
        each.join();
    EXPECT_EQ(wrong, 0U);
    EXPECT_EQ(next.size(), threads.size());
}
