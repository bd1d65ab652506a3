#include "platform/common/ports/SecureRandom.h"

#include <bitset>
#include <set>

#include <gtest/gtest.h>

TEST(SecureRandomTest, NeverGivesTheSameTwice)
{
    constexpr std::size_t kTimes = 1000;
    std::set<std::array<unsigned char, 16>> seen;
    for (std::size_t i = 0; i < kTimes; ++i) {
        const auto bytes = Pt::secureRandom16();
        ASSERT_TRUE(bytes);
        seen.insert(*bytes);
    }
    EXPECT_EQ(seen.size(), kTimes);
}

// Each of the 128 bits is set in about half of the draws; more than 7 standard deviations off would
// be no chance.
TEST(SecureRandomTest, FillsEveryBit)
{
    constexpr int kTimes = 4096;
    constexpr int kTolerance = 7 * 32;
    std::array<int, 128> ones{};
    for (int i = 0; i < kTimes; ++i) {
        const auto bytes = Pt::secureRandom16();
        ASSERT_TRUE(bytes);
        for (std::size_t bit = 0; bit < ones.size(); ++bit)
            ones[bit] += std::bitset<8>((*bytes)[bit / 8])[bit % 8] ? 1 : 0;
    }
    for (const int count : ones)
        EXPECT_NEAR(count, kTimes / 2, kTolerance);
}
