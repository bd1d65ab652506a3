// Kills downloads with conversions at moments that are drawn, or lets two of them with the same
// names run into one folder at once, and counts what is left: nothing may be lost, nothing half,
// and a run that comes to its end makes good for all.
#pragma once

#include "e2e/support/RealConversionFixture.h"
#include "support/NoiseSource.h"

#include <cstdint>
#include <string>
#include <vector>

namespace e2e {

class ConversionHunt : public RealConversionTest {
protected:
    // Each round with a card of its own. Prints seed and round of what failed.
    void hunt(std::uint64_t seed, int rounds);
    void huntWithPairs(std::uint64_t seed, int rounds);

private:
    void playRound(std::uint64_t seed, int round);
    void killOneRun(std::uint64_t moment);
    void expectNothingLost() const;

    void playPair(std::uint64_t seed, int round);
    void makeSecondCard(tests::NoiseSource& noise) const;
    std::vector<std::string> pairOf(const fs::path& folder) const;
    bool isKept(const Pt::ContentDigest& content) const;
    fs::path secondCard() const { return card().parent_path() / "second"; }
};

} // namespace e2e
