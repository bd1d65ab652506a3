#include "platform/common/threads/PtMutexPool.h"

#include <set>
#include <thread>

#include <gtest/gtest.h>

TEST(PtMutexPoolTest, FindsTheRowByTheAddress)
{
    using Pool = Pt::MutexPool<3>;
    struct {
        std::uintptr_t address;
        std::size_t row;
    } const rows[] = {{0, 0},
        {127, 0},
        {128, 1},
        {255, 1},
        {256, 2},
        {384, 0},
        {0x7F80, 0},
        {0x8000, 1},
        {~std::uintptr_t(0), ((~std::uintptr_t(0)) >> 7U) % 3}};
    for (const auto& each : rows)
        EXPECT_EQ(Pool::rowOf(each.address), each.row) << each.address;
}

TEST(PtMutexPoolTest, GivesAnObjectTheSameMutexEachTime)
{
    Pt::MutexPool<3> pool;
    char objects[128 * 6] = {};
    std::set<Pt::Mutex*> seen;
    for (char& each : objects) {
        EXPECT_EQ(&pool.of(&each), &pool.of(&each));
        seen.insert(&pool.of(&each));
    }
    EXPECT_EQ(seen.size(), 3U);
}

TEST(PtMutexPoolTest, LocksItsRowsApart)
{
    Pt::MutexPool<3> pool;
    const Pt::MutexHeld held(pool.row(0));
    for (std::size_t other : {1U, 2U})
        std::thread([&pool, other] { const Pt::MutexHeld there(pool.row(other)); }).join();
}
