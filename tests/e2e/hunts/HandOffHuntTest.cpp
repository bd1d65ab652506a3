// A few rounds of the hunt for downloads that end badly for their browser's sake, in every run of
// the tests.

#include "e2e/hunts/HandOffHunt.h"

#include <gtest/gtest.h>

namespace e2e::hunt {

TEST(HandOffHuntTest, EndsWellInAFewRounds)
{
    constexpr std::uint64_t kSeed = 20261123;
    constexpr std::uint64_t kRounds = 8;
    huntHandOffs(kSeed, kRounds);
}

} // namespace e2e::hunt
