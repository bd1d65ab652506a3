// Tries to lose pictures: many rounds, each with places, pictures and mishaps drawn from a seed.
// The environment may choose: HUNT_SEED, HUNT_ROUNDS, HUNT_ROUND for one alone, HUNT_FIRST for the
// number of the first. One thread.
#pragma once

#include <cstdint>

namespace e2e::hunt {

// Fails the running test for each round in which something is wrong, and prints figures. Skips
// where nothing can be mounted.
void hunt(std::uint64_t seed, std::uint64_t rounds);

} // namespace e2e::hunt
