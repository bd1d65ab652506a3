#include "pictures/scheduling/Workers.h"

#include <atomic>
#include <chrono>

#include <gtest/gtest.h>

namespace pictures {

namespace {

// Jobs that a test hands out one by one.
class WorkersTest : public testing::Test {
protected:
    bool waitFor(int count)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (m_done < count && std::chrono::steady_clock::now() < deadline)
            std::this_thread::yield();
        return m_done == count;
    }

    int m_left = 0; // guarded by the workers' lock
    std::atomic<int> m_done = 0;
};

TEST_F(WorkersTest, TakeJobsUntilThereAreNone)
{
    m_left = 100;
    Workers workers(3, [this]() -> Workers::Job {
        if (m_left == 0)
            return {};
        --m_left;
        return [this] { ++m_done; };
    });
    EXPECT_TRUE(waitFor(100));
    {
        const std::lock_guard guard(workers.lock());
        m_left = 5;
    }
    workers.wake();
    EXPECT_TRUE(waitFor(105));
}

TEST_F(WorkersTest, RunJobsWithoutTheLock)
{
    Workers* workers = nullptr;
    const auto job = [&] {
        const std::lock_guard guard(workers->lock());
        ++m_done;
    };
    Workers all(
        2, [&]() -> Workers::Job { return m_left-- > 0 ? Workers::Job(job) : Workers::Job(); });
    {
        const std::lock_guard guard(all.lock());
        workers = &all;
        m_left = 10;
    }
    all.wake();
    EXPECT_TRUE(waitFor(10));
}

TEST_F(WorkersTest, EndWithTheJobThatRuns)
{
    std::atomic<bool> isRunning = false;
    m_left = 1000000;
    {
        Workers workers(2, [&]() -> Workers::Job {
            --m_left;
            return [&] {
                isRunning = true;
                ++m_done;
            };
        });
        while (!isRunning)
            std::this_thread::yield();
    }
    const int done = m_done;
    std::this_thread::yield();
    EXPECT_EQ(m_done, done);
    EXPECT_LT(done, 1000000);
}

} // namespace

} // namespace pictures
