#include "platform/common/threads/PtMutex.h"

#include "core/platform/support/PeerProcess.h"
#include "core/platform/support/ThreadState.h"
#include "platform/common/services/PtExSystem.h"

#include <cerrno>
#include <functional>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

#if defined(__has_feature)
constexpr bool kIsThreadChecked = __has_feature(thread_sanitizer);
#else
constexpr bool kIsThreadChecked = false;
#endif

} // namespace

TEST(PtMutexTest, LetsOneThreadInAtATime)
{
    Pt::Mutex mutex;
    int counted = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 5000; ++round) {
                const Pt::MutexHeld held(mutex);
                ++counted;
            }
        });
    }
    for (std::thread& each : threads)
        each.join();
    EXPECT_EQ(counted, 20000);
}

TEST(PtMutexTest, IsFreeAgainWhenTheBlockIsLeftByAnException)
{
    Pt::Mutex mutex;
    try {
        const Pt::MutexHeld held(mutex);
        throw 1;
    } catch (int) {
    }
    mutex.lock();
    mutex.unlock();
}

// In a process of its own, which never goes on.
TEST(PtMutexTest, BlocksTheThreadThatTakesItTwice)
{
    test::PeerProcess peer({"/usr/bin/env",
        "TSAN_OPTIONS=report_mutex_bugs=0:detect_deadlocks=0",
        PLATFORM_PEER,
        "lock-twice"});
    ASSERT_EQ(peer.line(), "locked");
    EXPECT_TRUE(test::isAsleepBefore(peer.id(), std::chrono::seconds(60)));
    EXPECT_FALSE(peer.saysSomething(std::chrono::milliseconds(100)));
}

TEST(PtMutexTest, TellsThatItGoesWhileItIsLocked)
{
    if (kIsThreadChecked) {
        GTEST_SKIP() << "the thread checker ends the process for it";
    }
    auto* const mutex = new Pt::Mutex;
    std::mem_fn (&Pt::Mutex::lock)(mutex); // unseen by the compiler, which knows better
    try {
        delete mutex;
        FAIL() << "went quietly";
    } catch (const Pt::ExSystem& failure) {
        EXPECT_EQ(failure.errorCode(), EBUSY);
    }
}
