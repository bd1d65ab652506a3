#include "platform/common/services/PtSmartPointerBaseTwo.h"

#include "platform/common/threads/PtMutexPool.h"

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

struct Life {
    std::atomic<int> cleanUps{0};
    std::atomic<int> deletions{0};
};

class Tracked : public Pt::SmartPointerBaseTwo {
public:
    explicit Tracked(Life& life)
        : m_life(life)
    {
    }

    SmartPointerBaseTwo* droppedInCleanUp = nullptr;
    SmartPointerBaseTwo* droppedAtTheEnd = nullptr;

protected:
    ~Tracked() override
    {
        ++m_life.deletions;
        if (droppedAtTheEnd)
            droppedAtTheEnd->decRefCount();
    }
    void cleanUp() noexcept override
    {
        ++m_life.cleanUps;
        EXPECT_TRUE(isDead());
        if (droppedInCleanUp)
            droppedInCleanUp->decRefCount();
    }

private:
    Life& m_life;
};

// Whose clean-up uses itself once more.
class Lingering final : public Tracked {
public:
    using Tracked::Tracked;

private:
    void cleanUp() noexcept override
    {
        incRefCount();
        decRefCount();
        Tracked::cleanUp();
    }
};

class PtSmartPointerBaseTwoTest : public testing::Test {
protected:
    Life m_life;
};

} // namespace

TEST_F(PtSmartPointerBaseTwoTest, KeepsTheObjectWhileAStrongReferenceIsThere)
{
    auto* const object = new Tracked(m_life);
    object->incRefCount();
    object->incRefCount();
    object->decRefCount();
    EXPECT_EQ(m_life.cleanUps, 0);
    EXPECT_FALSE(object->isDead());
    object->decRefCount();
    EXPECT_EQ(m_life.cleanUps, 1);
    EXPECT_EQ(m_life.deletions, 1);
}

TEST_F(PtSmartPointerBaseTwoTest, KeepsADeadObjectForItsSoftReferences)
{
    auto* const object = new Tracked(m_life);
    object->incRefCount();
    object->incSoftRef();
    object->incSoftRef();
    object->decRefCount();
    EXPECT_EQ(m_life.cleanUps, 1);
    EXPECT_TRUE(object->isDead());
    object->decSoftRef();
    EXPECT_EQ(m_life.deletions, 0);
    object->decSoftRef();
    EXPECT_EQ(m_life.deletions, 1);
    EXPECT_EQ(m_life.cleanUps, 1);
}

TEST_F(PtSmartPointerBaseTwoTest, KeepsAnObjectInUseWhenItsLastSoftReferenceGoes)
{
    auto* const object = new Tracked(m_life);
    object->incRefCount();
    object->incSoftRef();
    object->decSoftRef();
    EXPECT_EQ(m_life.deletions, 0);
    object->decRefCount();
    EXPECT_EQ(m_life.deletions, 1);
}

TEST_F(PtSmartPointerBaseTwoTest, DiesOnceThoughItsCleanUpUsesIt)
{
    auto* const object = new Lingering(m_life);
    object->incRefCount();
    object->decRefCount();
    EXPECT_EQ(m_life.cleanUps, 1);
    EXPECT_EQ(m_life.deletions, 1);
}

// Thirty objects share three mutexes: one held over a clean-up or a deletion would block the next.
TEST_F(PtSmartPointerBaseTwoTest, HoldsNoMutexWhileItCleansUpAndIsDeleted)
{
    std::vector<Tracked*> objects;
    for (int i = 0; i < 30; ++i) {
        objects.push_back(new Tracked(m_life));
        objects.back()->incRefCount();
    }
    for (std::size_t i = 0; i + 1 < objects.size(); ++i)
        (i % 2 == 0 ? objects[i]->droppedInCleanUp : objects[i]->droppedAtTheEnd) = objects[i + 1];
    objects.front()->decRefCount();
    EXPECT_EQ(m_life.cleanUps, 30);
    EXPECT_EQ(m_life.deletions, 30);
}

TEST_F(PtSmartPointerBaseTwoTest, CountsReferencesOfManyThreads)
{
    constexpr int kObjects = 20;
    constexpr int kThreads = 4;
    std::vector<Tracked*> objects;
    for (int i = 0; i < kObjects; ++i) {
        objects.push_back(new Tracked(m_life));
        for (int each = 0; each < kThreads; ++each) {
            objects.back()->incRefCount();
            objects.back()->incSoftRef();
        }
    }
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&objects] {
            for (Tracked* const each : objects) {
                each->incRefCount();
                each->decRefCount();
                each->decRefCount();
                each->decSoftRef();
            }
        });
    }
    for (std::thread& each : threads)
        each.join();
    EXPECT_EQ(m_life.cleanUps, kObjects);
    EXPECT_EQ(m_life.deletions, kObjects);
}
