#include "platform/common/PtSmartPointer.h"

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
        Pointer const second = first;
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
    Pointer const& same = pointer;
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

TEST(PtSmartPointerTest, CountsReferencesFromManyThreads)
{
    int alive = 0;
    {
        Pointer const shared(new Counted(alive));
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&shared] {
                for (int round = 0; round < 10000; ++round)
                    Pointer const copy = shared;
            });
        }
        for (std::thread& each : threads)
            each.join();
        EXPECT_EQ(alive, 1);
    }
    EXPECT_EQ(alive, 0);
}
