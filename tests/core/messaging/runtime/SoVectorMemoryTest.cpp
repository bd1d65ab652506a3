#include "core/messaging/support/FailingHeap.h"
#include "messaging/SoVector.h"

#include <gtest/gtest.h>

namespace {

using ScObjects::SoVector;
using test::FailingHeap;

} // namespace

TEST(SoVectorMemoryTest, RefusesTheFirstElementWithoutMemory)
{
    SoVector<int> vector;
    int number = 0;
    {
        const FailingHeap heap(0);
        EXPECT_FALSE(vector.append(&number));
    }
    EXPECT_EQ(vector.length(), 0);
    EXPECT_EQ(vector.capacity(), 32);
    EXPECT_TRUE(vector.append(&number));
    EXPECT_EQ(vector[0], &number);
}

TEST(SoVectorMemoryTest, KeepsWhatItHasWhenItCannotGrow)
{
    SoVector<int> vector;
    int numbers[33] = {};
    for (int i = 0; i < 32; ++i)
        vector.append(&numbers[i]);
    {
        const FailingHeap heap(0);
        EXPECT_FALSE(vector.append(&numbers[32]));
        EXPECT_FALSE(vector.reserve(33));
    }
    EXPECT_EQ(vector.length(), 32);
    EXPECT_EQ(vector.capacity(), 32);
    EXPECT_EQ(vector[31], &numbers[31]);
    EXPECT_TRUE(vector.append(&numbers[32]));
    EXPECT_EQ(vector.length(), 33);
}
