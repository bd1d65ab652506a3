#include "e2e/hunts/ConversionHunt.h"

namespace e2e {

TEST_F(ConversionHunt, LosesNothingInAFewRounds)
{
    hunt(1, 4);
}

TEST_F(ConversionHunt, LosesNothingOfTwoCardsAtOnce)
{
    huntWithPairs(1, 4);
}

} // namespace e2e
