#include "e2e/hunts/HandOffHunt.h"

#include "e2e/hunts/HandOffHuntRound.h"

#include <cstdlib>
#include <iostream>
#include <map>

#include <gtest/gtest.h>

namespace e2e::hunt {

namespace {

std::uint64_t chosen(const char* variable, std::uint64_t otherwise)
{
    const char* const value = std::getenv(variable);
    return value ? std::strtoull(value, nullptr, 10) : otherwise;
}

void playOne(std::uint64_t seed, std::uint64_t number, std::map<std::string, int>& figures)
{
    HandOffRound round(seed, number);
    ++figures[nameOf(round.state())];
    if (const std::string complaints = round.play(); !complaints.empty())
        ADD_FAILURE() << "HUNT_SEED=" << seed << " HUNT_ROUND=" << number << ", browser "
                      << nameOf(round.state()) << ":\n"
                      << complaints;
}

} // namespace

void huntHandOffs(std::uint64_t seed, std::uint64_t rounds)
{
    seed = chosen("HUNT_SEED", seed);
    rounds = chosen("HUNT_ROUNDS", rounds);
    std::map<std::string, int> figures;
    if (std::getenv("HUNT_ROUND"))
        playOne(seed, chosen("HUNT_ROUND", 0), figures);
    else
        for (std::uint64_t number = 0; number < rounds; ++number)
            playOne(seed, number, figures);
    for (const auto& [state, count] : figures)
        std::cout << "  browser " << state << ": " << count << '\n';
}

} // namespace e2e::hunt
