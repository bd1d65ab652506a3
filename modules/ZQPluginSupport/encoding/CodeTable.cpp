#include "ZQPluginSupport/encoding/CodeTable.h"

#include <algorithm>
#include <bitset>
#include <cstddef>
#include <vector>

namespace dng {

namespace {

constexpr unsigned int kMaxCode = 16; // bits
constexpr std::size_t kFreeSymbol = kCategories; // takes the code of all ones

// A symbol, or several taken together.
struct Package {
    std::uint64_t weight = 0;
    std::bitset<(kCategories + 1) * kMaxCode> members; // one bit for each bit of each length
};

using Packages = std::vector<Package>;

bool isLighter(const Package& a, const Package& b)
{
    return a.weight < b.weight;
}

// The symbols that occur, and the free one without weight, the lightest first.
Packages symbolsAt(unsigned int level, const CategoryCounts& counts)
{
    Packages symbols;
    for (std::size_t symbol = 0; symbol <= kCategories; ++symbol) {
        const std::uint64_t weight = symbol == kFreeSymbol ? 0 : counts[symbol];
        if (weight == 0 && symbol != kFreeSymbol)
            continue;
        symbols.push_back({weight, {}});
        symbols.back().members.set(symbol * kMaxCode + level);
    }
    std::stable_sort(symbols.begin(), symbols.end(), isLighter);
    return symbols;
}

// Two by two; an odd one, the heaviest, is left out.
Packages pairsOf(const Packages& packages)
{
    Packages pairs;
    for (std::size_t i = 0; i + 1 < packages.size(); i += 2)
        pairs.push_back({packages[i].weight + packages[i + 1].weight,
            packages[i].members | packages[i + 1].members});
    return pairs;
}

// The lengths that make the whole shortest, by package-merge: a code of length n is n coins, and
// the cheapest 2(symbols - 1) packages pay for a complete code.
std::array<std::uint8_t, kCategories + 1> shortestLengths(const CategoryCounts& counts)
{
    Packages packages;
    for (unsigned int level = 0; level < kMaxCode; ++level) {
        const Packages pairs = pairsOf(packages);
        const Packages symbols = symbolsAt(level, counts);
        packages.resize(pairs.size() + symbols.size());
        std::merge(symbols.begin(),
            symbols.end(),
            pairs.begin(),
            pairs.end(),
            packages.begin(),
            isLighter);
    }
    const std::size_t needed = 2 * (symbolsAt(0, counts).size() - 1);
    std::array<std::uint8_t, kCategories + 1> lengths{};
    for (std::size_t i = 0; i < needed; ++i)
        for (std::size_t bit = 0; bit < packages[i].members.size(); ++bit)
            if (packages[i].members[bit])
                ++lengths[bit / kMaxCode];
    return lengths;
}

} // namespace

CodeTable CodeTable::optimal(const CategoryCounts& counts)
{
    const auto lengths = shortestLengths(counts);
    CodeTable table;
    unsigned int code = 0;
    for (unsigned int length = 1; length <= kMaxCode; ++length) {
        code <<= 1U;
        for (std::size_t symbol = 0; symbol < kCategories; ++symbol) {
            if (lengths[symbol] != length)
                continue;
            table.codes[symbol] = static_cast<std::uint16_t>(code++);
            table.lengths[symbol] = static_cast<std::uint8_t>(length);
        }
    }
    return table;
}

} // namespace dng
