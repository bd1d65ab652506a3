#include "support/cards/ShotTime.h"

#include <gtest/gtest.h>

namespace tests {

namespace {

TEST(ShotTimeTest, FillsEachPartOfADateUpWithZeros)
{
    const auto day = std::chrono::sys_days(std::chrono::year(987) / 6 / 5);
    const ShotTime time{day + std::chrono::seconds(3661), 7};
    EXPECT_EQ(exifDate(time), "0987:06:05 01:01:01");
    EXPECT_EQ(exifSubSeconds(time), "07");
}

TEST(ShotTimeTest, WritesOffsetsOnBothSidesOfUTC)
{
    EXPECT_EQ(exifOffset({{}, 0, std::chrono::minutes(345)}), "+05:45");
    EXPECT_EQ(exifOffset({{}, 0, std::chrono::minutes(-210)}), "-03:30");
}

} // namespace

} // namespace tests
