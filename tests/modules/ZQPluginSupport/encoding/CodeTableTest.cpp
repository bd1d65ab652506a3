#include "ZQPluginSupport/encoding/CodeTable.h"

#include "support/NoiseSource.h"

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

namespace {

using dng::CategoryCounts;
using dng::CodeTable;

// Every code of at most 16 bits, none the beginning of another, none of ones alone.
void expectValid(const CodeTable& table, const CategoryCounts& counts)
{
    unsigned int taken = 0; // in codes of 16 bits
    for (std::size_t i = 0; i < dng::kCategories; ++i) {
        const unsigned int length = table.lengths[i];
        ASSERT_EQ(length != 0, counts[i] != 0) << "category " << i;
        if (length == 0)
            continue;
        ASSERT_LE(length, 16U);
        taken += 1U << (16 - length);
        EXPECT_LT(table.codes[i], (1U << length) - 1) << "a code of ones";
        for (std::size_t k = 0; k < dng::kCategories; ++k) {
            const unsigned int other = table.lengths[k];
            if (k != i && other >= length) {
                EXPECT_NE(table.codes[k] >> (other - length), table.codes[i]);
            }
        }
    }
    EXPECT_LT(taken, 65536U) << "nothing is kept free";
}

double bitsOf(const CodeTable& table, const CategoryCounts& counts)
{
    double bits = 0;
    for (std::size_t i = 0; i < dng::kCategories; ++i)
        bits += double{1} * counts[i] * table.lengths[i];
    return bits;
}

double entropyOf(const CategoryCounts& counts)
{
    double total = 0;
    double bits = 0;
    for (const auto count : counts)
        total += count;
    for (const auto count : counts)
        bits += count == 0 ? 0 : count * std::log2(total / count);
    return bits;
}

} // namespace

TEST(CodeTableTest, GivesOneCategoryOneBit)
{
    CategoryCounts counts{};
    counts[16] = 7;
    const CodeTable table = CodeTable::optimal(counts);
    expectValid(table, counts);
    EXPECT_EQ(table.lengths[16], 1);
    EXPECT_EQ(table.codes[16], 0);
}

TEST(CodeTableTest, GivesMoreFrequentCategoriesShorterCodes)
{
    const CategoryCounts counts{100, 50, 25, 12, 6, 3, 1};
    const CodeTable table = CodeTable::optimal(counts);
    expectValid(table, counts);
    EXPECT_EQ(table.lengths, (decltype(table.lengths){1, 2, 3, 4, 5, 6, 7}));
}

TEST(CodeTableTest, LimitsTheLengthToSixteenBitsAtTheLeastCost)
{
    CategoryCounts counts{};
    for (std::uint32_t i = 0, count = 1; i < dng::kCategories; ++i, count *= 3)
        counts[i] = count;
    const CodeTable table = CodeTable::optimal(counts);
    expectValid(table, counts);
    EXPECT_EQ(*std::max_element(table.lengths.begin(), table.lengths.end()), 16);
    // Without a limit the lengths are 17 (with the free code), 16, 15 ... 1: two codes move.
    EXPECT_EQ(table.lengths[16], 1);
    EXPECT_EQ(table.lengths[4], 13);
}

TEST(CodeTableTest, ComesNearTheEntropyForAnyCounts)
{
    tests::NoiseSource noise(1);
    for (int round = 0; round < 500; ++round) {
        CategoryCounts counts{};
        for (auto& count : counts)
            count = static_cast<std::uint32_t>(
                noise.next() % 3 * (noise.next() >> (32 + noise.next() % 32)) >> 5U);
        counts[noise.next() % dng::kCategories] += 1;
        const CodeTable table = CodeTable::optimal(counts);
        expectValid(table, counts);
        double total = 0;
        for (const auto count : counts)
            total += count;
        // A bit a symbol at most; the free code takes part of the rest.
        EXPECT_LE(bitsOf(table, counts), entropyOf(counts) + 1.01 * total);
    }
}
