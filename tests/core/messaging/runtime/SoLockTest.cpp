#include "messaging/SoLock.h"

#include <atomic>
#include <chrono>
#include <optional>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

using ScObjects::ObjectLock;
using ScObjects::SoLock;
using ScObjects::SoLockable;

// Another thread that wants what the test holds, and knows whether the test had let it go by then.
class Rival {
public:
    template <typename Take>
    explicit Rival(Take take)
        : m_thread([this, take] {
            m_isTrying = true;
            take([this] { m_cameAfterwards = m_isLetGo.load(); });
        })
    {
        while (!m_isTrying)
            std::this_thread::yield();
    }
    Rival(const Rival&) = delete;
    Rival& operator=(const Rival&) = delete;

    // Time for a rival that nothing stops; a lock that works needs none of it.
    void giveAChance() const { std::this_thread::sleep_for(std::chrono::milliseconds(20)); }
    void announceLettingGo() { m_isLetGo = true; }
    bool cameAfterwards()
    {
        m_thread.join();
        return m_cameAfterwards;
    }

private:
    std::atomic<bool> m_isTrying{false};
    std::atomic<bool> m_isLetGo{false};
    bool m_cameAfterwards = false;
    std::thread m_thread;
};

// Guarded operations that call one another.
class Counter : public SoLockable {
public:
    void add()
    {
        const ObjectLock lock(*this);
        ++m_count;
    }
    void addTwo()
    {
        const ObjectLock lock(*this);
        add();
        add();
    }
    long count() const
    {
        const ObjectLock lock(*this);
        return m_count;
    }

private:
    long m_count = 0;
};

bool canBeLocked(const SoLockable& object)
{
    bool isDone = false;
    std::thread([&] {
        const ObjectLock lock(object);
        isDone = true;
    }).join();
    return isDone;
}

} // namespace

TEST(SoLockTest, KeepsOtherThreadsOutUntilItIsReleased)
{
    SoLock lock;
    lock.acquire();
    Rival rival([&](auto inside) {
        lock.acquire();
        inside();
        lock.release();
    });
    rival.giveAChance();
    rival.announceLettingGo();
    lock.release();
    EXPECT_TRUE(rival.cameAfterwards());
}

// Clang's analysis knows a lock as held or not; how often is beyond it.
void acquireAgain(SoLock& lock) TEVOROTALK_THREAD_ATTRIBUTE(no_thread_safety_analysis)
{
    lock.acquire();
}

void releaseOnce(SoLock& lock) TEVOROTALK_THREAD_ATTRIBUTE(no_thread_safety_analysis)
{
    lock.release();
}

TEST(SoLockTest, IsReleasedAsOftenAsItWasAcquired)
{
    SoLock lock;
    lock.acquire();
    acquireAgain(lock);
    Rival rival([&](auto inside) {
        lock.acquire();
        inside();
        lock.release();
    });
    releaseOnce(lock);
    rival.giveAChance();
    rival.announceLettingGo();
    lock.release();
    EXPECT_TRUE(rival.cameAfterwards());
}

TEST(SoLockTest, LocksAConstantObjectForTheLengthOfABlock)
{
    const Counter counter;
    std::optional<ObjectLock> lock(counter);
    Rival rival([&](auto inside) {
        const ObjectLock theirs(counter);
        inside();
    });
    rival.giveAChance();
    rival.announceLettingGo();
    lock.reset();
    EXPECT_TRUE(rival.cameAfterwards());
}

TEST(SoLockTest, LetsGuardedOperationsCallOneAnother)
{
    Counter counter;
    counter.addTwo();
    EXPECT_EQ(counter.count(), 2);
    EXPECT_TRUE(canBeLocked(counter));
}

TEST(SoLockTest, LosesNothingOfWhatManyThreadsDo)
{
    constexpr long kRounds = 2000;
    Counter counter;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (long round = 0; round < kRounds; ++round)
                counter.addTwo();
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(counter.count(), 4 * kRounds * 2);
}

TEST(SoLockTest, CopiesHaveLocksOfTheirOwn)
{
    Counter original;
    original.add();
    const ObjectLock lock(original);
    const Counter copy(original);
    EXPECT_EQ(copy.count(), 1);
    EXPECT_TRUE(canBeLocked(copy));
    Counter assigned;
    assigned = original;
    EXPECT_EQ(assigned.count(), 1);
    EXPECT_TRUE(canBeLocked(assigned));
}
