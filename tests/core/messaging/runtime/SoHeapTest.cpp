#include "messaging/SoHeap.h"

#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

// What the sanitizers otherwise take for a mistake of the caller is asked for here: more memory
// than there is.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options()
{
    return "allocator_may_return_null=1";
}
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options()
{
    return "allocator_may_return_null=1";
}

namespace {

using ScObjects::autoPtr;
using ScObjects::SoHeap;

class Counted final : public SoHeap {
public:
    explicit Counted(int& alive)
        : m_alive(alive)
    {
        ++m_alive;
    }
    ~Counted() override { --m_alive; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    int alive() const { return m_alive; }

private:
    int& m_alive;
};

} // namespace

TEST(SoHeapTest, HasNoData)
{
    EXPECT_EQ(sizeof(SoHeap), sizeof(void*));
}

TEST(SoHeapTest, DestroysWhatIsDeletedThroughIt)
{
    int alive = 0;
    SoHeap* const object = new Counted(alive);
    EXPECT_EQ(alive, 1);
    delete object;
    EXPECT_EQ(alive, 0);
}

TEST(SoHeapTest, DeletesNull)
{
    SoHeap::operator delete(nullptr);
    SoHeap::freeHeap(nullptr);
    SoHeap::freeThis<int>(nullptr);
}

TEST(SoHeapTest, GivesRoomForThatManyElements)
{
    auto* const numbers = SoHeap::mallocThis<std::uint64_t>(3);
    ASSERT_NE(numbers, nullptr);
    for (std::uint64_t i = 0; i < 3; ++i)
        numbers[i] = i; // out of bounds for a sanitizer if there is room for fewer
    EXPECT_EQ(numbers[2], 2U);
    SoHeap::freeThis(numbers);
}

TEST(SoHeapTest, GivesNullWhenThereIsNoRoom)
{
    // Not a constant, which compilers know to be too large.
    std::size_t const volatile tooLarge = std::numeric_limits<std::size_t>::max() / 4;
    EXPECT_EQ(SoHeap::mallocHeap(tooLarge), nullptr);
    EXPECT_EQ(SoHeap::operator new(tooLarge), nullptr);
}

TEST(SoHeapTest, DeletesAtTheEndOfABlock)
{
    int alive = 0;
    {
        const autoPtr<Counted> owner(new Counted(alive));
        EXPECT_EQ(owner->alive(), 1);
    }
    EXPECT_EQ(alive, 0);
}
