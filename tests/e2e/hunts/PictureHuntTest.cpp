// A few rounds of the hunt for lost pictures, in every run of the tests.

#include "e2e/hunts/PictureHunt.h"

#include <gtest/gtest.h>

namespace e2e::hunt {

TEST(PictureHuntTest, LosesNoPictureInAFewRounds)
{
    constexpr std::uint64_t kSeed = 20260504;
    constexpr std::uint64_t kRounds = 25;
    hunt(kSeed, kRounds);
}

} // namespace e2e::hunt
