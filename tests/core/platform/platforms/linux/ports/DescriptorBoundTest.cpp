#include "platform/platforms/linux/ports/DescriptorBound.h"

#include <gtest/gtest.h>

namespace {

class DescriptorBoundTest : public testing::Test {
protected:
    DescriptorBoundTest() { ::getrlimit(RLIMIT_NOFILE, &before); }
    ~DescriptorBoundTest() override { ::setrlimit(RLIMIT_NOFILE, &before); }

    // The lowest number that is among the last.
    int boundOf(rlim_t limit) const
    {
        rlimit changed = before;
        changed.rlim_cur = limit;
        EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &changed), 0) << limit;
        int number = 0;
        while (!Pt::isAmongLastDescriptors(number))
            ++number;
        return number;
    }

    rlimit before = {};
};

TEST_F(DescriptorBoundTest, LeavesAnEighthOfTheLimit)
{
    EXPECT_EQ(boundOf(1024), 896);
    EXPECT_EQ(boundOf(128), 112);
}

TEST_F(DescriptorBoundTest, LeavesEightOfALowLimit)
{
    EXPECT_EQ(boundOf(64), 56);
    EXPECT_EQ(boundOf(16), 8);
}

TEST_F(DescriptorBoundTest, LeavesAllOfALimitThatIsLower)
{
    EXPECT_EQ(boundOf(8), 0);
    EXPECT_EQ(boundOf(3), 0);
}

} // namespace
