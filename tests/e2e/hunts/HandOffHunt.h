// Tries to have a download end badly for its browser's sake: many rounds, each with browsers,
// downloads and mishaps drawn from a seed. The environment may choose: HUNT_SEED, HUNT_ROUNDS, and
// HUNT_ROUND for one alone. One thread.
#pragma once

#include <cstdint>

namespace e2e::hunt {

// Fails the running test for each round in which something is wrong, with its seed, and prints
// figures.
void huntHandOffs(std::uint64_t seed, std::uint64_t rounds);

} // namespace e2e::hunt
