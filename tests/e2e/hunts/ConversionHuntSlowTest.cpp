// The long hunt; another seed each week is a good one.
#include "e2e/hunts/ConversionHunt.h"

#include <cstdlib>

namespace e2e {

// Two kills a round.
TEST_F(ConversionHunt, LosesNothingInAHundredRounds)
{
    const char* const seed = std::getenv("HUNT_SEED");
    hunt(seed ? std::strtoull(seed, nullptr, 10) : 7, 100);
}

TEST_F(ConversionHunt, LosesNothingOfTwoCardsAtOnceInTwoHundredRounds)
{
    const char* const seed = std::getenv("HUNT_SEED");
    huntWithPairs(seed ? std::strtoull(seed, nullptr, 10) : 7, 200);
}

} // namespace e2e
