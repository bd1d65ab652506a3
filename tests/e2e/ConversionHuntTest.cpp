#include "e2e/ConversionHunt.h"

namespace e2e {

TEST_F(ConversionHunt, LosesNothingInAFewRounds)
{
    hunt(1, 4);
}

} // namespace e2e
