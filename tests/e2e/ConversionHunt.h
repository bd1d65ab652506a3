// Kills downloads with conversions at moments that are drawn, and counts what is left: nothing may
// be lost, nothing half, and a run that comes to its end makes good for all.
#pragma once

#include "e2e/RealConversionFixture.h"

#include <cstdint>

namespace e2e {

class ConversionHunt : public RealConversionTest {
protected:
    // Each round with a card of its own. Prints seed and round of what failed.
    void hunt(std::uint64_t seed, int rounds);

private:
    void playRound(std::uint64_t seed, int round);
    void killOneRun(std::uint64_t moment);
    void expectNothingLost() const;
};

} // namespace e2e
