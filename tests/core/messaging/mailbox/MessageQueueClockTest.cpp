// How long messages wait when the clock is set meanwhile.
#include "core/messaging/support/MovedClock.h"
#include "core/messaging/support/QueuedMessages.h"
#include "platform/common/ports/Waiting.h"

#include <poll.h>

namespace {

using test::MovedClock;
using test::newMessage;
using test::newWatcher;
using test::now;
using Message = test::QueuedMessage;

constexpr std::int64_t kSecond = 1000;
constexpr std::int64_t kHour = 3600 * kSecond;

class MessageQueueClockTest : public test::MessageQueueFixture {
protected:
    MessageQueueClockTest() { MovedClock::stop(); }
    ~MessageQueueClockTest() override { MovedClock::goOn(); }

    // May wait for a minute.
    void appendForAMinute(Message* message)
    {
        message->timeout = 60;
        queue.append(message);
    }
    long leftAfter(std::int64_t milliseconds)
    {
        MovedClock::advance(milliseconds);
        queue.removeExpiredMessages();
        return queue.length();
    }
    static bool isReadable(const Pt::WallTimer& timer)
    {
        pollfd question = {timer.descriptor(), POLLIN, 0};
        return ::poll(&question, 1, 0) == 1;
    }
};

} // namespace

TEST_F(MessageQueueClockTest, KeepsWhatHasNotWaitedItsTimeWhenTheClockIsSetForward)
{
    appendForAMinute(newMessage(1));
    appendForAMinute(newWatcher(2));
    MovedClock::step(kHour);
    EXPECT_EQ(leftAfter(59 * kSecond), 2);
    EXPECT_EQ(leftAfter(kSecond), 0);
}

TEST_F(MessageQueueClockTest, DropsWhatHasWaitedItsTimeWhenTheClockIsSetBack)
{
    appendForAMinute(newMessage(1));
    MovedClock::step(-kHour);
    EXPECT_EQ(leftAfter(59 * kSecond), 1);
    EXPECT_EQ(leftAfter(kSecond), 0);
}

TEST_F(MessageQueueClockTest, HandsOutByTheTimeReallyWaited)
{
    appendForAMinute(newMessage(1));
    MovedClock::step(kHour);
    EXPECT_NE(next(queue), nullptr);
    appendForAMinute(newMessage(2));
    MovedClock::step(-kHour);
    MovedClock::advance(60 * kSecond);
    EXPECT_EQ(next(queue), nullptr);
    EXPECT_TRUE(queue.isEmpty());
}

TEST_F(MessageQueueClockTest, MeasuresWhatComesAfterAStepByTheNewTime)
{
    appendForAMinute(newMessage(1));
    MovedClock::step(kHour);
    appendForAMinute(newMessage(2));
    MovedClock::step(-2 * kHour);
    EXPECT_EQ(leftAfter(59 * kSecond), 2);
    appendForAMinute(newMessage(3));
    EXPECT_EQ(leftAfter(kSecond), 1);
    EXPECT_EQ(next(queue)->serialNumber, 3U);
}

TEST_F(MessageQueueClockTest, KeepsTheTimesOfAMessageThatItHandsOut)
{
    appendForAMinute(newMessage(1));
    const std::int64_t stamp = now();
    MovedClock::step(kHour);
    queue.removeExpiredMessages();
    EXPECT_EQ(next(queue)->timestamp, stamp);
}

TEST_F(MessageQueueClockTest, ShowsAFailedAttemptTheTimesByTheNewClock)
{
    Message* const message = newMessage(1);
    message->setHeader("QUEUESTAMP", static_cast<long>(now() - 300));
    queue.append(message);
    MovedClock::step(-kHour);
    std::int64_t timestamp = 0;
    std::string stamp;
    const auto attempt = [&] {
        queue.workOff([](const Message&) { return false; },
            [&](const Message& left) {
                timestamp = left.timestamp;
                stamp = test::bytes(left.getUserHeaderValue("QUEUESTAMP"));
            });
    };
    attempt();
    EXPECT_EQ(timestamp, now());
    EXPECT_EQ(stamp, std::to_string(now() - 300));
    attempt(); // once a step
    EXPECT_EQ(timestamp, now());
    MovedClock::step(2 * kHour);
    attempt();
    EXPECT_EQ(timestamp, now());
    EXPECT_EQ(stamp, std::to_string(now() - 300));
    EXPECT_EQ(leftAfter(3599 * kSecond), 1);
    EXPECT_EQ(leftAfter(kSecond), 0);
}

TEST_F(MessageQueueClockTest, SetsItsTimerByTheNewClock)
{
    // The timer goes by the system's own clock, which is an hour ahead of this one.
    MovedClock::step(-kHour);
    Pt::WallTimer timer;
    queue.setSignals(nullptr, &timer);
    appendForAMinute(newMessage(1));
    EXPECT_TRUE(isReadable(timer));
    MovedClock::step(kHour);
    queue.removeExpiredMessages();
    EXPECT_FALSE(isReadable(timer)) << "nobody could wait with it";
    queue.setSignals(nullptr, nullptr);
}
