#include "ZQPluginSupport/decoding/SensorFacts.h"

#include <gtest/gtest.h>

namespace dng {
namespace {

using Pattern = RepeatedPattern<int>;

TEST(SensorFactsTest, PatternsAreSaidInAsFewRowsAndColumnsAsTheyCan)
{
    EXPECT_EQ(shortest(Pattern{2, 2, {5, 5, 5, 5}}), (Pattern{1, 1, {5}}));
    EXPECT_EQ(shortest(Pattern{4, 4, {0, 1, 0, 1, 1, 2, 1, 2, 0, 1, 0, 1, 1, 2, 1, 2}}),
        (Pattern{2, 2, {0, 1, 1, 2}}));
    EXPECT_EQ(shortest(Pattern{2, 4, {1, 2, 3, 4, 1, 2, 3, 4}}), (Pattern{1, 4, {1, 2, 3, 4}}));
}

TEST(SensorFactsTest, PatternsThatDoNotRepeatStay)
{
    const Pattern whole{3, 2, {1, 2, 3, 4, 5, 6}};
    EXPECT_EQ(shortest(whole), whole);
    const Pattern nearly{4, 1, {1, 2, 1, 3}};
    EXPECT_EQ(shortest(nearly), nearly);
}

} // namespace
} // namespace dng
