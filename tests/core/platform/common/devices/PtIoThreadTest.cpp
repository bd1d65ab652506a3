#include "platform/common/devices/PtIoThread.h"

#include "support/TestFolder.h"

#include <thread>
#include <vector>

#include <gtest/gtest.h>

TEST(PtIoThreadTest, StartsAsManyWorkersAsAskedForAndAtMostEight)
{
    struct {
        int asked;
        int started;
    } const rows[] = {{-1, 0}, {0, 0}, {1, 1}, {8, 8}, {9, 8}, {1000, 8}};
    for (const auto& row : rows) {
        Pt::IoFileInit(row.asked);
        EXPECT_EQ(Pt::IoFileWorkerCount(), row.started) << row.asked;
        Pt::IoFileUninit();
        EXPECT_EQ(Pt::IoFileWorkerCount(), 0);
    }
}

TEST(PtIoThreadTest, EndsItsWorkers)
{
    Pt::IoFileInit(3);
    EXPECT_FALSE(Pt::Thread::IsThreadCountZero());
    Pt::IoFileUninit();
    EXPECT_TRUE(Pt::Thread::IsThreadCountZero());
}

TEST(PtIoThreadTest, KeepsTheWorkersThatAreThere)
{
    Pt::IoFileInit(2);
    Pt::IoFileInit(5);
    EXPECT_EQ(Pt::IoFileWorkerCount(), 2);
    Pt::IoFileUninit();
    Pt::IoFileUninit();
    EXPECT_EQ(Pt::IoFileWorkerCount(), 0);
}

TEST(PtIoThreadTest, IsStartedAndStoppedFromManyThreads)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int round = 0; round < 20; ++round) {
                Pt::IoFileInit(2);
                Pt::IoFileUninit();
            }
        });
    }
    for (std::thread& each : threads)
        each.join();
    EXPECT_EQ(Pt::IoFileWorkerCount(), 0);
    EXPECT_TRUE(Pt::Thread::IsThreadCountZero());
}

TEST(PtIoThreadTest, NeedsNothingForSockets)
{
    const std::ptrdiff_t before = test::openDescriptors();
    Pt::IoSocketInit(4);
    EXPECT_TRUE(Pt::Thread::IsThreadCountZero());
    EXPECT_EQ(test::openDescriptors(), before);
    Pt::IoSocketUninit();
}
