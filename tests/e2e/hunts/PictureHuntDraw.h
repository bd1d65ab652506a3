// What a round of the hunt draws: the same numbers for the same seed and round, on every machine.
#pragma once

#include "support/NoiseSource.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace e2e::hunt {

class Draw {
public:
    Draw(std::uint64_t seed, std::uint64_t round)
        : m_noise(seed, "round " + std::to_string(round))
    {
    }

    // From 0 to one below the limit, which is not 0.
    std::size_t below(std::size_t limit)
    {
        return static_cast<std::size_t>(m_noise.next() % limit);
    }

    // Of a hundred.
    bool chance(std::size_t percent) { return below(100) < percent; }

    template <typename Value>
    Value oneOf(const std::vector<Value>& values)
    {
        return values[below(values.size())];
    }

    std::string bytes(std::size_t count) { return m_noise.bytes(count); }

private:
    tests::NoiseSource m_noise;
};

} // namespace e2e::hunt
