#include "messaging/mailbox/MessageQueue.h"

#include "core/messaging/support/QueuedMessages.h"
#include "platform/common/ports/Waiting.h"

#include <limits>
#include <memory>
#include <new>
#include <set>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using namespace ScObjects;
using namespace ScObjects::TevoroTalkData;
using Message = TevoroTalk::Message;
using test::kAny;
using test::newExpired;
using test::newMessage;
using test::newWatcher;
using test::now;
using test::Numbers;

class MessageQueueTest : public test::MessageQueueFixture { };

} // namespace

TEST_F(MessageQueueTest, HandsOutInTheOrderOfComing)
{
    EXPECT_TRUE(queue.isEmpty());
    for (const std::uint32_t number : {3U, 1U, 2U})
        EXPECT_TRUE(queue.append(newMessage(number)));
    EXPECT_FALSE(queue.isEmpty());
    EXPECT_EQ(queue.length(), 3);
    EXPECT_EQ(next(queue)->serialNumber, 3U);
    EXPECT_EQ(next(queue)->serialNumber, 1U);
    EXPECT_EQ(next(queue)->serialNumber, 2U);
    EXPECT_EQ(next(queue), nullptr);
    EXPECT_TRUE(queue.isEmpty());
}

TEST_F(MessageQueueTest, KnowsHowManyBytesWait)
{
    EXPECT_EQ(queue.bytes(), 0U);
    queue.append(newMessage(1));
    const std::size_t empty = queue.bytes();
    EXPECT_GT(empty, 0U); // addresses and type
    Message* const large = newMessage(2);
    large->body = "twelve bytes";
    large->setHeader("Name", "value");
    queue.append(large);
    EXPECT_EQ(queue.bytes(), 2 * empty + 12 + 4 + 5);
    // What is changed meanwhile does not count otherwise on the way out.
    large->body = "";
    next(queue);
    EXPECT_EQ(queue.bytes(), empty + 12 + 4 + 5);
    next(queue);
    EXPECT_EQ(queue.bytes(), 0U);
}

TEST_F(MessageQueueTest, CountsNoBytesOfWhatIsTakenOutInAnyWay)
{
    queue.append(newExpired(1));
    queue.removeExpiredMessages();
    EXPECT_EQ(queue.bytes(), 0U);
    queue.append(newWatcher(2));
    Message* const watcher = newWatcher(3);
    watcher->sender = watcher->target;
    queue.append(watcher);
    const std::size_t both = queue.bytes();
    queue.removeTimeoutMessage(3);
    EXPECT_LT(queue.bytes(), both);
    queue.removeMessage(12345);
    EXPECT_EQ(queue.bytes(), 0U);
    queue.append(newMessage(4));
    queue.workOff([](const Message&) { return true; }, [](Message&) {});
    EXPECT_EQ(queue.bytes(), 0U);
}

TEST_F(MessageQueueTest, CountsTheHeaderThatAMessageGetsWhileItWaits)
{
    queue.append(newMessage(1));
    const std::size_t before = queue.bytes();
    for (int i = 0; i < 3; ++i)
        queue.workOff([](const Message&) { return false; },
            [](Message& message) { message.setHeader("QUEUESTAMP", "1234"); });
    EXPECT_EQ(queue.bytes(), before + 10 + 4);
    next(queue);
    EXPECT_EQ(queue.bytes(), 0U);
}

TEST_F(MessageQueueTest, RefusesWhatHasNoSenderOrTarget)
{
    Message message;
    EXPECT_FALSE(queue.append(nullptr));
    message.target = "self-1.0";
    EXPECT_FALSE(queue.append(&message));
    message.target = "";
    message.sender = "asker-1.0";
    EXPECT_FALSE(queue.append(&message));
    EXPECT_TRUE(queue.isEmpty());
}

TEST_F(MessageQueueTest, GivesAMessageWithoutATimeout600Seconds)
{
    Message* const message = newMessage(1);
    message->timeout = 0;
    message->timestamp = now() - 5;
    const std::int64_t timestamp = message->timestamp;
    queue.append(message);
    EXPECT_EQ(message->timeout, 600);
    EXPECT_EQ(message->timestamp, timestamp);
}

TEST_F(MessageQueueTest, GivesAMessageWithoutATimeTheMoment)
{
    Message* const message = newMessage(1);
    message->timestamp = 0;
    const std::int64_t before = now();
    queue.append(message);
    EXPECT_GE(message->timestamp, before);
    EXPECT_EQ(message->timeout, 3600);
}

TEST_F(MessageQueueTest, CountsAMessageAtItsDeadlineForRunOut)
{
    const std::unique_ptr<Message> message(newMessage(1));
    message->timestamp = 1000;
    message->timeout = 60;
    EXPECT_FALSE(hasTimedOut(*message, 1059));
    EXPECT_TRUE(hasTimedOut(*message, 1060));
    EXPECT_TRUE(hasTimedOut(*message, 1061));
}

TEST_F(MessageQueueTest, CountsOnlyWatchersWithoutATimeoutForRunOut)
{
    const std::unique_ptr<Message> watcher(newWatcher(1));
    const std::unique_ptr<Message> message(newMessage(1));
    watcher->timeout = message->timeout = 0;
    EXPECT_TRUE(hasTimedOut(*watcher, now()));
    EXPECT_FALSE(hasTimedOut(*message, now()));
    watcher->timeout = message->timeout = -1;
    EXPECT_FALSE(hasTimedOut(*watcher, now()));
    EXPECT_FALSE(hasTimedOut(*message, now()));
    watcher->timeout = message->timeout = 1;
    watcher->timestamp = message->timestamp = 0;
    EXPECT_FALSE(hasTimedOut(*watcher, now()));
    EXPECT_FALSE(hasTimedOut(*message, now()));
}

TEST_F(MessageQueueTest, DropsAWatcherThatLostItsTimeout)
{
    Message* const watcher = newWatcher(1);
    queue.append(watcher);
    watcher->timeout = 0;
    EXPECT_EQ(next(queue), nullptr);
    EXPECT_TRUE(queue.isEmpty());
}

TEST_F(MessageQueueTest, StepsOverWatchersAndKeepsTheirOrder)
{
    for (std::uint32_t number = 1; number <= 40; ++number)
        queue.append(newWatcher(number));
    EXPECT_FALSE(queue.hasMessage());
    EXPECT_EQ(next(queue), nullptr);
    EXPECT_EQ(queue.length(), 40);
    const Numbers numbers = takeAll(queue);
    ASSERT_EQ(numbers.size(), 40U);
    for (std::uint32_t i = 0; i < 40; ++i)
        EXPECT_EQ(numbers[i], i + 1);
}

TEST_F(MessageQueueTest, PutsTheWatchersThatItSteppedOverAtTheEnd)
{
    queue.append(newWatcher(1));
    queue.append(newWatcher(2));
    queue.append(newMessage(3));
    queue.append(newMessage(4));
    queue.append(newWatcher(5));
    EXPECT_TRUE(queue.hasMessage());
    EXPECT_EQ(next(queue)->serialNumber, 3U);
    EXPECT_EQ(takeAll(queue), (Numbers{4, 5, 1, 2}));
}

TEST_F(MessageQueueTest, StepsOverTheWatchersOfOneNumber)
{
    Message* const received = newWatcher(1);
    received->received = 7;
    Message* const result = newWatcher(2);
    result->result = 7;
    Message* const error = newWatcher(3);
    error->error = 7;
    for (Message* message : {received, result, error, newMessage(4)})
        queue.append(message);
    EXPECT_EQ(next(queue, 7)->serialNumber, 4U);
    EXPECT_EQ(queue.length(), 3);
}

TEST_F(MessageQueueTest, HandsOutAWatcherThatDoesNotMatch)
{
    queue.append(newWatcher(7));
    EXPECT_EQ(next(queue, 7)->serialNumber, 7U); // its own number is not looked at
    EXPECT_TRUE(queue.isEmpty());
}

TEST_F(MessageQueueTest, HandsOutAMessageThatHasNothingToDoWithTheNumber)
{
    queue.append(newExpired(1));
    queue.append(newMessage(2));
    EXPECT_EQ(next(queue, 7)->serialNumber, 2U);
}

TEST_F(MessageQueueTest, RemovesTheFirstMessageWhateverTheNumber)
{
    queue.append(newMessage(1));
    queue.append(newMessage(2));
    EXPECT_TRUE(queue.removeMessage(7));
    EXPECT_EQ(takeAll(queue), (Numbers{2}));
    EXPECT_FALSE(queue.removeMessage(7));
}

TEST_F(MessageQueueTest, RemovesNothingForNoNumber)
{
    queue.append(newMessage(1));
    EXPECT_FALSE(queue.removeMessage(kAny));
    EXPECT_EQ(queue.length(), 1);
}

TEST_F(MessageQueueTest, FindsTheFirstMessageForATarget)
{
    queue.append(newMessage(1));
    queue.append(newMessage(2));
    EXPECT_EQ(queue.findMessageForTarget("self-1.0")->serialNumber, 1U);
    EXPECT_EQ(queue.findMessageForTarget("SELF-1.0"), nullptr);
    EXPECT_EQ(queue.findMessageForTarget("self-1.0#thread"), nullptr);
    EXPECT_EQ(queue.length(), 2);
}

TEST_F(MessageQueueTest, DropsWhatHasRunOut)
{
    for (Message* message : {newExpired(1), newMessage(2), newExpired(3), newMessage(4)})
        queue.append(message);
    queue.removeExpiredMessages();
    EXPECT_EQ(takeAll(queue), (Numbers{2, 4}));
}

TEST_F(MessageQueueTest, CancelsTheWatchersOfOneMessage)
{
    queue.append(newWatcher(7));
    queue.append(newMessage(7));
    queue.append(newWatcher(8));
    queue.append(newWatcher(7));
    EXPECT_FALSE(queue.removeTimeoutMessage(7));
    EXPECT_EQ(takeAll(queue), (Numbers{7, 8}));
}

TEST_F(MessageQueueTest, CancelsNothingButWatchers)
{
    Message* const otherType = newWatcher(7);
    otherType->type = "Own";
    Message* const otherRequest = newWatcher(7);
    otherRequest->responseRequest = "Timeout Result";
    Message* const otherTarget = newWatcher(7);
    otherTarget->target = "self-1.0";
    Message* const negative = newWatcher(7);
    negative->timeout = -1;
    for (Message* message : {otherType, otherRequest, otherTarget, negative, newWatcher(kAny)})
        queue.append(message);
    EXPECT_FALSE(queue.removeTimeoutMessage(7));
    EXPECT_FALSE(queue.removeTimeoutMessage(kAny));
    EXPECT_EQ(queue.length(), 5);
}

TEST_F(MessageQueueTest, RaisesItsFlagWhileThereIsAMessage)
{
    Pt::WaitableFlag flag;
    Pt::WallTimer timer;
    Pt::DescriptorSet waited;
    waited.add(flag.descriptor());
    const auto isUp = [&waited] { return waited.wait(std::chrono::milliseconds(0)); };
    queue.append(newMessage(1));
    queue.setSignals(&flag, &timer);
    EXPECT_TRUE(isUp());
    queue.append(newWatcher(2));
    next(queue);
    EXPECT_FALSE(isUp());
    queue.append(newMessage(3));
    EXPECT_TRUE(isUp());
    queue.append(newExpired(4));
    next(queue);
    queue.removeExpiredMessages();
    EXPECT_FALSE(isUp());
    queue.setSignals(nullptr, nullptr);
}

TEST_F(MessageQueueTest, RaisesItsFlagAgainAfterABlockThatAnExceptionEnds)
{
    Pt::WaitableFlag flag;
    Pt::DescriptorSet waited;
    waited.add(flag.descriptor());
    queue.setSignals(&flag, nullptr);
    try {
        const MessageQueue::PausedSignals paused(queue);
        queue.append(newMessage(1));
        EXPECT_FALSE(waited.wait(std::chrono::milliseconds(0)));
        throw std::bad_alloc();
    } catch (const std::bad_alloc&) {
        EXPECT_TRUE(waited.wait(std::chrono::milliseconds(0)));
    }
    queue.setSignals(nullptr, nullptr);
}

TEST_F(MessageQueueTest, LetsItsTimerRunOutWithTheNearestMessage)
{
    Pt::WallTimer timer;
    Pt::DescriptorSet waited;
    waited.add(timer.descriptor());
    queue.setSignals(nullptr, &timer);
    queue.append(newMessage(1));
    EXPECT_FALSE(waited.wait(std::chrono::milliseconds(0)));
    Message* const message = newMessage(2);
    message->timeout = 1;
    queue.append(message);
    EXPECT_TRUE(waited.wait(kPatience));
    queue.removeExpiredMessages();
    EXPECT_FALSE(waited.wait(std::chrono::milliseconds(0)));
    EXPECT_EQ(takeAll(queue), (Numbers{1}));
    queue.setSignals(nullptr, nullptr);
}

TEST_F(MessageQueueTest, LetsNobodysTimesHinderTheExpiryOfOthers)
{
    Pt::WallTimer timer;
    Pt::DescriptorSet waited;
    waited.add(timer.descriptor());
    queue.setSignals(nullptr, &timer);
    queue.append(newExpired(1));
    std::int64_t constexpr kMaxCount = std::numeric_limits<std::int64_t>::max();
    struct {
        std::int64_t timestamp;
        std::int32_t timeout;
    } const rows[] = {{-600, 600},
        {now(), -5},
        {-1, -1},
        {kMaxCount, 1},
        {kMaxCount, -1},
        {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int32_t>::min()},
        {kMaxCount, std::numeric_limits<std::int32_t>::max()}};
    std::uint32_t number = 2;
    for (const auto& row : rows) {
        Message* const message = newMessage(number++);
        message->timestamp = row.timestamp;
        message->timeout = row.timeout;
        queue.append(message);
    }
    queue.removeExpiredMessages();
    EXPECT_FALSE(waited.wait(std::chrono::milliseconds(0))) << "whoever waits would spin";
    EXPECT_EQ(takeAll(queue), (Numbers{2, 3, 4, 5, 6, 7, 8}));
    queue.setSignals(nullptr, nullptr);
}

TEST_F(MessageQueueTest, DescribesItsMessagesWithOrWithoutTheLog)
{
    for (Message* message : {newMessage(1), newMessage(2, "Log"), newMessage(3)})
        queue.append(message);
    SoString messages;
    EXPECT_EQ(queue.appendDiagnostics(messages, "/in"), 2);
    EXPECT_NE(messages.view().find("/in/msg1;1;"), std::string_view::npos);
    EXPECT_NE(messages.view().find("/in/msg3;1;"), std::string_view::npos);
    EXPECT_EQ(messages.view().find("/in/msg2;1;"), std::string_view::npos);
    SoString log = "/log";
    EXPECT_EQ(queue.appendDiagnostics(log, "/in"), 1);
    EXPECT_NE(log.view().find("/in/msg2;1;"), std::string_view::npos);
}

TEST_F(MessageQueueTest, TellsNobodyWithoutTheBus)
{
    const std::unique_ptr<Message> message(newExpired(1));
    EXPECT_FALSE(notifySender(*message, "Timeout", ""));
    queue.append(newExpired(2));
    queue.removeExpiredMessages();
    EXPECT_TRUE(queue.isEmpty());
}

TEST_F(MessageQueueTest, ServesSeveralThreadsAtOnce)
{
    constexpr std::uint32_t kEach = 500;
    std::vector<std::thread> threads;
    std::vector<Numbers> taken(2);
    for (std::uint32_t i = 0; i < 2; ++i)
        threads.emplace_back([this, i] {
            for (std::uint32_t n = 0; n < kEach; ++n)
                queue.append(n % 10 == 0 ? newWatcher(9999) : newMessage(i * kEach + n));
        });
    for (Numbers& mine : taken)
        threads.emplace_back([this, &mine] {
            while (mine.size() < kEach * 9 / 10) {
                if (const auto message = next(queue))
                    mine.push_back(message->serialNumber);
                queue.removeExpiredMessages();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    std::set<std::uint32_t> all(taken[0].begin(), taken[0].end());
    all.insert(taken[1].begin(), taken[1].end());
    EXPECT_EQ(all.size(), std::size_t{kEach} * 2 * 9 / 10);
    EXPECT_EQ(takeAll(queue), Numbers(kEach * 2 / 10, 9999));
}
