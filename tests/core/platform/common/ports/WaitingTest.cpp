#include "platform/common/ports/Waiting.h"

#include "platform/common/services/Clock.h"
#include "support/TestFolder.h"

#include <atomic>
#include <climits>
#include <csignal>
#include <ctime>
#include <optional>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

using Pt::DescriptorSet;
using Pt::WaitableFlag;
using Pt::WallTimer;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

constexpr milliseconds kNow{0};
constexpr milliseconds kShort{40};
constexpr milliseconds kLong{20000};

bool isReadable(int descriptor, milliseconds limit = kNow)
{
    pollfd question = {descriptor, POLLIN, 0};
    return ::poll(&question, 1, static_cast<int>(limit.count())) == 1;
}

bool isInherited(int descriptor)
{
    return (::fcntl(descriptor, F_GETFD) & FD_CLOEXEC) == 0;
}

long long wallNow()
{
    return Pt::systemClock().wallSeconds();
}

// Of the processor, on this thread.
std::chrono::nanoseconds busyTime()
{
    timespec used = {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

class WaitingTest : public testing::Test {
protected:
    ~WaitingTest() override { EXPECT_EQ(test::openDescriptors(), m_before); }

private:
    const std::ptrdiff_t m_before = test::openDescriptors();
};

using WaitableFlagTest = WaitingTest;
using WallTimerTest = WaitingTest;
using DescriptorSetTest = WaitingTest;

} // namespace

TEST_F(WaitableFlagTest, IsReadableWhileItIsUp)
{
    WaitableFlag flag;
    EXPECT_FALSE(isReadable(flag.descriptor()));
    flag.raise();
    EXPECT_TRUE(isReadable(flag.descriptor()));
    EXPECT_TRUE(isReadable(flag.descriptor()));
    flag.lower();
    EXPECT_FALSE(isReadable(flag.descriptor()));
}

TEST_F(WaitableFlagTest, IsLoweredOnceHoweverOftenItWasRaised)
{
    WaitableFlag flag;
    for (int i = 0; i < 100; ++i)
        flag.raise();
    flag.lower();
    EXPECT_FALSE(isReadable(flag.descriptor()));
    flag.lower();
    flag.raise();
    EXPECT_TRUE(isReadable(flag.descriptor()));
}

TEST_F(WaitableFlagTest, WakesAnotherThread)
{
    WaitableFlag flag;
    DescriptorSet waited;
    waited.add(flag.descriptor());
    std::thread raiser([&] { flag.raise(); });
    EXPECT_TRUE(waited.wait(kLong));
    raiser.join();
}

TEST_F(WallTimerTest, IsReadableFromItsPointOn)
{
    WallTimer timer;
    EXPECT_FALSE(isReadable(timer.descriptor()));
    const long long point = wallNow() + 1;
    timer.set(point);
    EXPECT_FALSE(isReadable(timer.descriptor()) && wallNow() < point);
    EXPECT_TRUE(isReadable(timer.descriptor(), kLong));
    EXPECT_GE(wallNow(), point);
    EXPECT_TRUE(isReadable(timer.descriptor())); // and stays so
}

TEST_F(WallTimerTest, IsReadableAtOnceForAPointThatHasPassed)
{
    for (const long long point : {wallNow(), wallNow() - 100, 1LL, 0LL, -1LL, LLONG_MIN}) {
        WallTimer timer;
        timer.set(point);
        EXPECT_TRUE(isReadable(timer.descriptor(), kLong)) << point;
    }
}

TEST_F(WallTimerTest, IsNotReadableForAPointFarAhead)
{
    for (const long long point : {wallNow() + 3600, LLONG_MAX}) {
        WallTimer timer;
        timer.set(point);
        EXPECT_FALSE(isReadable(timer.descriptor(), kShort)) << point;
    }
}

TEST_F(WallTimerTest, ForgetsItsPointWhenClearedOrSetAnew)
{
    WallTimer timer;
    timer.set(1);
    ASSERT_TRUE(isReadable(timer.descriptor(), kLong));
    timer.clear();
    EXPECT_FALSE(isReadable(timer.descriptor()));
    timer.set(1);
    ASSERT_TRUE(isReadable(timer.descriptor(), kLong));
    timer.set(wallNow() + 3600);
    EXPECT_FALSE(isReadable(timer.descriptor(), kShort));
}

TEST_F(DescriptorSetTest, IsReadableWhileOneOfItsDescriptorsIs)
{
    WaitableFlag first;
    WaitableFlag second;
    DescriptorSet waited;
    waited.add(first.descriptor());
    waited.add(second.descriptor());
    EXPECT_FALSE(waited.wait(kNow));
    second.raise();
    EXPECT_TRUE(waited.wait(kNow));
    EXPECT_TRUE(isReadable(waited.descriptor()));
    second.lower();
    EXPECT_FALSE(waited.wait(kNow));
    EXPECT_FALSE(isReadable(waited.descriptor()));
}

TEST_F(DescriptorSetTest, AddsADescriptorOnceAndTakesItOut)
{
    WaitableFlag flag;
    DescriptorSet waited;
    flag.raise();
    waited.add(flag.descriptor());
    waited.add(flag.descriptor());
    EXPECT_TRUE(waited.wait(kNow));
    waited.remove(flag.descriptor());
    waited.remove(flag.descriptor());
    EXPECT_FALSE(waited.wait(kNow));
}

TEST_F(DescriptorSetTest, ForgetsADescriptorThatIsClosed)
{
    DescriptorSet waited;
    {
        WaitableFlag flag;
        flag.raise();
        waited.add(flag.descriptor());
        ASSERT_TRUE(waited.wait(kNow));
    }
    EXPECT_FALSE(waited.wait(kNow));
    WaitableFlag next; // with the number of the one before
    waited.add(next.descriptor());
    next.raise();
    EXPECT_TRUE(waited.wait(kNow));
}

TEST_F(DescriptorSetTest, ContainsOtherSets)
{
    WaitableFlag flag;
    DescriptorSet inner;
    DescriptorSet outer;
    inner.add(flag.descriptor());
    outer.add(inner.descriptor());
    EXPECT_FALSE(outer.wait(kNow));
    flag.raise();
    EXPECT_TRUE(outer.wait(kNow));
}

TEST_F(DescriptorSetTest, WaitsAsLongAsToldAndNoMore)
{
    const DescriptorSet waited;
    const auto start = steady_clock::now();
    EXPECT_FALSE(waited.wait(kShort));
    EXPECT_GE(steady_clock::now() - start, kShort);
    EXPECT_LT(steady_clock::now() - start, kLong);
}

TEST_F(DescriptorSetTest, WaitsForEver)
{
    WaitableFlag flag;
    DescriptorSet waited;
    waited.add(flag.descriptor());
    for (const milliseconds limit : {milliseconds(-1), milliseconds::min(), milliseconds::max()}) {
        const auto busyBefore = busyTime();
        std::thread raiser([&] {
            std::this_thread::sleep_for(kShort); // most likely the wait has begun by then
            flag.raise();
        });
        EXPECT_TRUE(waited.wait(limit));
        raiser.join();
        flag.lower();
        EXPECT_LT(busyTime() - busyBefore, kShort / 2);
    }
}

TEST_F(DescriptorSetTest, SaysWhichOneIsReadable)
{
    WaitableFlag first;
    WaitableFlag second;
    DescriptorSet set;
    set.add(first.descriptor());
    set.add(second.descriptor());
    EXPECT_EQ(set.waitForOne(kNow), -1);
    second.raise();
    EXPECT_EQ(set.waitForOne(kLong), second.descriptor());
}

TEST_F(DescriptorSetTest, IsNotDisturbedBySignals)
{
    struct sigaction before = {};
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    ::sigaction(SIGUSR1, &action, &before);
    std::atomic<bool> isOver{false};
    const pthread_t waiter = ::pthread_self();
    std::thread disturber([&] {
        while (!isOver) {
            ::pthread_kill(waiter, SIGUSR1);
            std::this_thread::sleep_for(milliseconds(1));
        }
    });
    const DescriptorSet waited;
    const auto start = steady_clock::now();
    EXPECT_FALSE(waited.wait(kShort));
    EXPECT_GE(steady_clock::now() - start, kShort);
    isOver = true;
    disturber.join();
    ::sigaction(SIGUSR1, &before, nullptr);
}

TEST_F(DescriptorSetTest, RefusesWhatIsNoDescriptor)
{
    DescriptorSet waited;
    EXPECT_THROW(waited.add(-1), std::system_error);
    EXPECT_FALSE(waited.wait(kNow));
}

TEST_F(WaitingTest, IsInheritedByNoOtherProgram)
{
    EXPECT_FALSE(isInherited(WaitableFlag().descriptor()));
    EXPECT_FALSE(isInherited(WallTimer().descriptor()));
    EXPECT_FALSE(isInherited(DescriptorSet().descriptor()));
}

TEST_F(WaitingTest, SaysThatTheProcessHasNoDescriptorsLeft)
{
    // The sanitizers look at each class of object once, by way of a pipe: at those of errors they
    // must have looked before.
    EXPECT_THROW(DescriptorSet().add(-1), std::system_error);
    rlimit before = {};
    ::getrlimit(RLIMIT_NOFILE, &before);
    rlimit none = before;
    none.rlim_cur = 0;
    ::setrlimit(RLIMIT_NOFILE, &none);
    EXPECT_THROW(WaitableFlag(), std::system_error);
    EXPECT_THROW(WallTimer(), std::system_error);
    EXPECT_THROW(DescriptorSet(), std::system_error);
    ::setrlimit(RLIMIT_NOFILE, &before);
}
