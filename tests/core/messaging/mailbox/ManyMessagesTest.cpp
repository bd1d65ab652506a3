// Four times as many messages take about four times as long: in one text, in many, and in the
// orders that make a queue move or search what it holds. Slow.
#include "core/messaging/support/BusFixture.h"
#include "core/messaging/support/QueuedMessages.h"
#include "platform/common/ports/LocalPort.h"

#include <ctime>
#include <functional>
#include <string>

namespace {

using namespace ScObjects;
using test::newExpired;
using test::newMessage;
using test::newWatcher;
using TevoroTalkData::MessageQueue;

// What grows with the square would take sixteen times as long.
constexpr double kMaxRatio = 8;

constexpr std::size_t kSmall = std::size_t{8} << 20U;

// Counts what it gets.
class CountingHandler final : public TevoroTalk::MsgHandler {
public:
    explicit CountingHandler(std::size_t& count)
        : m_count(count)
    {
    }
    long handleMessage(int, TevoroTalk::Message&, SoString*) override
    {
        ++m_count;
        return 0;
    }
    const char* getMsgType() const override { return "Own"; }

private:
    std::size_t& m_count;
};

// Processor seconds of the process: others on the machine do not count.
double secondsOf(const std::function<void()>& work)
{
    const std::clock_t start = std::clock();
    work();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

std::string repeated(const std::string& text, std::size_t size)
{
    std::string result;
    result.reserve(size + text.size());
    while (result.size() < size)
        result += text;
    return result;
}

class ManyMessagesTest : public test::BusFixture {
protected:
    const std::string m_message =
        "Target:self-1.0\nSender:asker-1.0\nType:Own\nContent-Length:0\n\n";

    // Sends texts of that size to the instance until all have so much, and pumps until all of their
    // messages were handled.
    void pass(std::size_t all, std::size_t ofOneText)
    {
        const std::string text = repeated(m_message, ofOneText);
        const std::size_t before = handled;
        std::size_t wanted = before;
        for (std::size_t sent = 0; sent < all; sent += text.size()) {
            // Pumps only when its port is full: they all wait.
            while (!sender.send(std::string(gPortName) + "self-1.0", text, kShortPatience))
                pump();
            wanted += text.size() / m_message.size();
            self->processIncomingMessage(kNone, false);
        }
        EXPECT_TRUE(pumpUntil([&] { return handled >= wanted; })) << handled << " of " << wanted;
    }

    void startCounting() { start().changeHandler(new CountingHandler(handled)); }

    static constexpr std::chrono::milliseconds kShortPatience{100};

    std::size_t handled = 0;
    Pt::LocalPortSender sender;
};

class LongQueueTest : public test::MessagingFixture {
protected:
    static constexpr long kFew = 50'000;

    // How much longer four times as many take.
    static double growth(const std::function<void(MessageQueue& queue, long count)>& work)
    {
        const auto seconds = [&](long count) {
            MessageQueue queue;
            return secondsOf([&] { work(queue, count); });
        };
        const double few = seconds(kFew);
        return seconds(4 * kFew) / few;
    }
};

} // namespace

TEST_F(ManyMessagesTest, TakeTimeByTheirSizeAloneInOneText)
{
    startCounting();
    const double few = secondsOf([&] { pass(kSmall, kSmall); });
    const double many = secondsOf([&] { pass(4 * kSmall, 4 * kSmall); });
    RecordProperty("seconds", std::to_string(many));
    EXPECT_LT(many, kMaxRatio * few) << many << " s after " << few;
}

TEST_F(ManyMessagesTest, TakeTimeByTheirSizeAloneInManyTexts)
{
    constexpr std::size_t kText = 256 << 10;
    startCounting();
    const double few = secondsOf([&] { pass(kSmall, kText); });
    const double many = secondsOf([&] { pass(4 * kSmall, kText); });
    EXPECT_LT(many, kMaxRatio * few) << many << " s after " << few;
}

TEST_F(ManyMessagesTest, TakeTimeByTheirSizeAloneWithThousandsOfHeaders)
{
    const auto withHeaders = [](int count) {
        std::string text = "Target:self-1.0\nSender:asker-1.0\n";
        for (int i = 0; i < count; ++i)
            text += "Header" + std::to_string(i) + ":v\n";
        return text + "Content-Length:0\n\n";
    };
    const auto secondsFor = [&](int count) {
        const std::string text = repeated(withHeaders(count), kSmall / 4);
        return secondsOf([&] {
            const char* const end = text.data() + text.size();
            for (const char* at = text.data(); at != end;) {
                Message message;
                at = message.readFromString(at, end);
                EXPECT_EQ(message.getUserHeaderValue("Header7"), "v");
            }
        });
    };
    // The same text in messages with few headers and with as many as are kept.
    const double few = secondsFor(64);
    const double many = secondsFor(4096);
    EXPECT_LT(many, 4 * few) << many << " s after " << few;
}

TEST_F(LongQueueTest, LosesEverySecondMessageInTimeByItsLength)
{
    EXPECT_LT(growth([](MessageQueue& queue, long count) {
        for (long i = 0; i < count; ++i) {
            queue.append(newMessage(1));
            TevoroTalk::Message* const expired = newExpired(2);
            expired->responseRequest = "";
            queue.append(expired);
        }
        queue.removeExpiredMessages();
        EXPECT_EQ(queue.length(), count);
    }),
        kMaxRatio);
}

TEST_F(LongQueueTest, LosesThoseThatComeExpiredInTimeByItsLength)
{
    EXPECT_LT(growth([](MessageQueue& queue, long count) {
        for (long i = 0; i < count; ++i) {
            queue.append(newMessage(1));
            TevoroTalk::Message* const expired = newExpired(2);
            expired->responseRequest = "";
            queue.append(expired);
            queue.removeExpiredMessages();
        }
        while (const TevoroTalk::Message* const message = queue.getNextMessage(test::kAny)) {
            EXPECT_EQ(message->serialNumber, 1U);
            delete message;
        }
        EXPECT_EQ(queue.length(), 0);
    }),
        kMaxRatio);
}

TEST_F(LongQueueTest, LooksForTheWatcherOfEachAnswerInTimeByItsLength)
{
    EXPECT_LT(growth([](MessageQueue& queue, long count) {
        queue.append(newWatcher(1'000'000));
        for (long i = 0; i < count; ++i)
            queue.append(newMessage(static_cast<std::uint32_t>(i)));
        for (std::uint32_t i = 0; i < static_cast<std::uint32_t>(count); ++i)
            queue.removeTimeoutMessage(i);
        EXPECT_EQ(queue.length(), count + 1);
    }),
        kMaxRatio);
}

TEST_F(LongQueueTest, IsWorkedOffBehindMessagesThatStayInTimeByItsLength)
{
    EXPECT_LT(growth([](MessageQueue& queue, long count) {
        for (long i = 0; i < count; ++i)
            queue.append(newMessage(i < 100 ? 1 : 2));
        queue.workOff([](const TevoroTalk::Message& message) { return message.serialNumber == 2; },
            [](TevoroTalk::Message&) {});
        EXPECT_EQ(queue.length(), 100);
    }),
        kMaxRatio);
}
