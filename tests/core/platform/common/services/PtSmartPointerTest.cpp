#include "platform/common/services/PtSmartPointer.h"

#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

class Counted : public Pt::SmartPointerBase {
public:
    explicit Counted(int& alive)
        : m_alive(alive)
    {
        ++m_alive;
    }
    ~Counted() override { --m_alive; }

    Pt::SmartPointer<Counted> next;

private:
    int& m_alive;
};

class FailsToEnd : public Pt::SmartPointerBase {
public:
    ~FailsToEnd() noexcept(false) override { throw std::runtime_error("cannot end"); }
};

using Pointer = Pt::SmartPointer<Counted>;

} // namespace

TEST(PtSmartPointerTest, KeepsTheObjectWhileAnotherReferenceIsThere)
{
    int alive = 0;
    auto* const object = new Counted(alive);
    object->incRefCount();
    object->incRefCount();
    object->decRefCount();
    EXPECT_EQ(alive, 1);
    object->decRefCount();
    EXPECT_EQ(alive, 0);
}

TEST(PtSmartPointerTest, DeletesTheObjectWithTheLastPointer)
{
    int alive = 0;
    {
        Pointer first(new Counted(alive));
        const Pointer second = first;
        first = 0;
        EXPECT_FALSE(first);
        EXPECT_EQ(alive, 1);
    }
    EXPECT_EQ(alive, 0);
}

TEST(PtSmartPointerTest, DropsWhatItHoldsWhenItTakesAnother)
{
    int alive = 0;
    Pointer pointer(new Counted(alive));
    auto* const other = new Counted(alive);
    pointer = other;
    EXPECT_EQ(alive, 1);
    EXPECT_EQ(pointer.get(), other);
    pointer = nullptr;
    EXPECT_EQ(alive, 0);
}

TEST(PtSmartPointerTest, KeepsTheObjectThatItIsGivenAgain)
{
    int alive = 0;
    Pointer pointer(new Counted(alive));
    pointer = pointer.get();
    EXPECT_EQ(alive, 1);
    const Pointer& same = pointer;
    pointer = same;
    EXPECT_EQ(alive, 1);
}

TEST(PtSmartPointerTest, TakesWhatOnlyTheHeldObjectKeepsAlive)
{
    int alive = 0;
    Pointer pointer(new Counted(alive));
    pointer->next = new Counted(alive);
    pointer = pointer->next.get();
    EXPECT_EQ(alive, 1);
    EXPECT_FALSE(pointer->next);
    pointer->next = new Counted(alive);
    pointer = std::move(pointer->next);
    EXPECT_EQ(alive, 1);
    EXPECT_TRUE(pointer);
}

TEST(PtSmartPointerTest, MovesWithoutCounting)
{
    int alive = 0;
    Pointer from(new Counted(alive));
    Pointer to(std::move(from));
    EXPECT_FALSE(from); // NOLINT(bugprone-use-after-move)
    from = std::move(to);
    EXPECT_TRUE(from);
    EXPECT_EQ(alive, 1);
}

TEST(PtSmartPointerTest, PassesOnWhatTheObjectsDestructorThrows)
{
    Pt::SmartPointer<FailsToEnd> pointer(new FailsToEnd);
    EXPECT_THROW(pointer = 0, std::runtime_error);
    EXPECT_FALSE(pointer);
}

TEST(PtSmartPointerTest, HoldsNothingAtFirst)
{
    const Pointer empty;
    const Pointer null(static_cast<Counted*>(nullptr));
    EXPECT_FALSE(empty);
    EXPECT_EQ(empty.get(), nullptr);
    EXPECT_TRUE(empty == null);
    Pointer dropped;
    dropped = 0;
    dropped = nullptr;
    EXPECT_FALSE(dropped);
}

TEST(PtSmartPointerTest, IsEqualToWhatHoldsTheSameObject)
{
    int alive = 0;
    const Pointer first(new Counted(alive));
    const Pointer second = first;
    const Pointer other(new Counted(alive));
    EXPECT_TRUE(first == second);
    EXPECT_FALSE(first == other);
    EXPECT_EQ(&*first, first.get());
}

TEST(PtSmartPointerTest, TakesAndDropsAsItsPolicySays)
{
    struct Borrowed {
        int references = 0;
    };
    struct Policy {
        static void take(Borrowed* object) { ++object->references; }
        static void drop(Borrowed* object) { --object->references; }
    };
    Borrowed object;
    {
        const Pt::SmartPointer<Borrowed, Policy> first(&object);
        const Pt::SmartPointer<Borrowed, Policy> second = first;
        EXPECT_EQ(object.references, 2);
    }
    EXPECT_EQ(object.references, 0);
}

TEST(PtSmartPointerTest, IsDeletedOnceWhenManyThreadsDropTheLastReferences)
{
    for (int round = 0; round < 200; ++round) {
        int alive = 0;
        auto* const object = new Counted(alive);
        constexpr int kThreads = 4;
        for (int i = 0; i < kThreads; ++i)
            object->incRefCount();
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i)
            threads.emplace_back([object] { object->decRefCount(); });
        for (std::thread& each : threads)
            each.join();
        ASSERT_EQ(alive, 0);
    }
}

TEST(PtSmartPointerTest, CountsReferencesFromManyThreads)
{
    int alive = 0;
    {
        const Pointer shared(new Counted(alive));
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&shared] {
                for (int round = 0; round < 10000; ++round)
                    const Pointer copy = shared;
            });
        }
        for (std::thread& each : threads)
            each.join();
        EXPECT_EQ(alive, 1);
    }
    EXPECT_EQ(alive, 0);
}
