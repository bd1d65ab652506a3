// The prefix code of one component: how often each category of differences occurs in, the shortest
// lengths of at most 16 bits and their codes out. A category is the number of bits that a
// difference has, 0 to 16. The code of all ones is kept free, since decoders take it for padding.
//
// A value; any thread.
#pragma once

#include <array>
#include <cstdint>

namespace dng {

constexpr unsigned int kCategories = 17;

using CategoryCounts = std::array<std::uint32_t, kCategories>;

struct CodeTable {
    std::array<std::uint16_t, kCategories> codes{};
    std::array<std::uint8_t, kCategories> lengths{}; // bits; 0 for a category that does not occur

    // At least one category must occur.
    static CodeTable optimal(const CategoryCounts& counts);
};

} // namespace dng
