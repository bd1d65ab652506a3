// The long hunt for lost pictures; another seed each week is a good one.

#include "e2e/hunts/PictureHunt.h"

#include <gtest/gtest.h>

namespace e2e::hunt {

TEST(PictureHuntSlowTest, LosesNoPictureInAThousandRounds)
{
    constexpr std::uint64_t kSeed = 1;
    constexpr std::uint64_t kRounds = 1000;
    hunt(kSeed, kRounds);
}

} // namespace e2e::hunt
