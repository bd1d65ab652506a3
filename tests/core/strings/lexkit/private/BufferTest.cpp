#include "lexkit/private/Buffer.h"

#include <gtest/gtest.h>

namespace {

using lexkit_private::Buffer;

TEST(BufferTest, GrowsByHalfAsOftenAsItTakesAndKeepsWhatItHolds)
{
    Buffer<unsigned short> buffer(256);
    for (unsigned short value = 0; value < 257; ++value)
        buffer.Append(value);
    EXPECT_EQ(buffer.GetCapacity(), 384u);
    EXPECT_EQ(buffer.GetCount(), 257u);
    EXPECT_EQ(buffer.GetData()[256], 256);
    EXPECT_EQ(buffer.GetData()[0], 0);
    buffer.Grow(1000);
    EXPECT_EQ(buffer.GetCapacity(), 1296u); // 384, 576, 864, 1296
}

TEST(BufferTest, DoesNotShrink)
{
    Buffer<int> buffer(4);
    buffer.Grow(2);
    buffer.Append(1);
    buffer.Clear();
    EXPECT_EQ(buffer.GetCapacity(), 4u);
    EXPECT_EQ(buffer.GetCount(), 0u);
}

TEST(BufferTest, GrowsFromNothing)
{
    Buffer<int> buffer(0);
    for (int value = 0; value < 5; ++value)
        buffer.Append(value);
    EXPECT_EQ(buffer.GetCount(), 5u);
    EXPECT_EQ(buffer.GetData()[4], 4);
}

} // namespace
