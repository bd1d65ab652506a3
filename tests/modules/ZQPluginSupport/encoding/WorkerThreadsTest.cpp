#include "ZQPluginSupport/encoding/WorkerThreads.h"

#include <atomic>
#include <latch>
#include <set>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

namespace {

using dng::WorkerThreads;

} // namespace

TEST(WorkerThreadsTest, CallsTheWorkOnceForEachIndex)
{
    for (const unsigned int threads : {1U, 2U, 3U, 8U}) {
        WorkerThreads workers(threads);
        EXPECT_EQ(workers.count(), threads);
        for (const std::size_t count : {0U, 1U, 2U, 7U, 1000U}) {
            std::vector<std::atomic<int>> calls(count);
            workers.run(count, [&](std::size_t index) { ++calls[index]; });
            for (const auto& each : calls)
                ASSERT_EQ(each, 1);
        }
    }
}

TEST(WorkerThreadsTest, HasAThreadForEachProcessorUnlessTold)
{
    EXPECT_EQ(WorkerThreads().count(), std::max(1U, std::thread::hardware_concurrency()));
}

TEST(WorkerThreadsTest, WorksOnAllThreadsAtOnce)
{
    WorkerThreads workers(4);
    std::latch allAreThere(4); // nobody passes unless four threads have come
    workers.run(4, [&](std::size_t) { allAreThere.arrive_and_wait(); });
    EXPECT_TRUE(allAreThere.try_wait());
}

TEST(WorkerThreadsTest, WorksInTheCallingThreadAlone)
{
    WorkerThreads workers(1);
    std::set<std::thread::id> seen;
    workers.run(10, [&](std::size_t) { seen.insert(std::this_thread::get_id()); });
    EXPECT_EQ(seen, std::set{std::this_thread::get_id()});
}

TEST(WorkerThreadsTest, CarriesAnExceptionToTheCaller)
{
    for (const unsigned int threads : {1U, 2U, 4U}) {
        WorkerThreads workers(threads);
        std::atomic<std::size_t> calls = 0;
        const auto work = [&](std::size_t index) {
            ++calls;
            if (index == 3)
                throw std::runtime_error("three");
        };
        EXPECT_THROW(workers.run(1'000'000, work), std::runtime_error);
        EXPECT_LT(calls, 1'000'000U) << "what nobody had begun is left out";
        calls = 0;
        workers.run(3, work);
        EXPECT_EQ(calls, 3U) << "the exception is gone";
    }
}

TEST(WorkerThreadsTest, CarriesTheFirstOfManyExceptions)
{
    WorkerThreads workers(4);
    for (int round = 0; round < 100; ++round)
        EXPECT_THROW(workers.run(100, [](std::size_t) { throw std::runtime_error("all"); }),
            std::runtime_error);
}

TEST(WorkerThreadsTest, ReturnsOnlyWhenNobodyWorksAnyMore)
{
    WorkerThreads workers(4);
    for (int round = 0; round < 500; ++round) {
        std::atomic<int> inside = 0;
        workers.run(16, [&](std::size_t) {
            ++inside;
            std::this_thread::yield();
            --inside;
        });
        ASSERT_EQ(inside, 0);
    }
}
