#include "lexkit/private/HashTableGeneric.h"

#include "lexkit/private/DictionaryEntry.h"

#include <map>
#include <random>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace lexkit_private;
using testing::ElementsAre;

ByteRunKey keyOf(const std::string& text)
{
    return {text.data(), text.size(), true};
}

std::unique_ptr<DictionaryEntry> entryOf(const std::string& key, unsigned short value)
{
    return DictionaryEntry::Make(keyOf(key), UnicodeRun(&value, 1));
}

// Three keys of one bucket: only sampled bytes count, and the second is none.
std::string sharingKey(int number)
{
    std::string key = "a0c1e1g1i1";
    key[1] = static_cast<char>('0' + number);
    return key;
}

class HashTableGenericTest : public testing::Test {
protected:
    void insert(const std::string& key, unsigned short value)
    {
        m_table.Insert(entryOf(key, value));
    }
    // 0 for none.
    int find(const std::string& key)
    {
        const auto* const found = static_cast<DictionaryEntry*>(m_table.Find(keyOf(key)));
        return found ? *found->GetValue().GetUnits() : 0;
    }
    bool remove(const std::string& key) { return m_table.Remove(keyOf(key)) != nullptr; }

    std::vector<int> valuesInOrder()
    {
        std::vector<int> values;
        while (m_table.HasMoreItem())
            values.push_back(
                *static_cast<DictionaryEntry*>(m_table.NextItem())->GetValue().GetUnits());
        return values;
    }

    HashTableGeneric m_table;
};

TEST_F(HashTableGenericTest, PutsNewItemsAtTheHeadOfTheirChain)
{
    insert("a1c1e1g1i1", 1);
    insert("a2c1e1g1i1", 2);
    insert("a3c1e1g1i1", 3);
    EXPECT_THAT(valuesInOrder(), ElementsAre(3, 2, 1));
    EXPECT_EQ(m_table.Head(keyOf("a1c1e1g1i1").Hash(1021))->Next()->Next()->Next(), nullptr);
}

TEST_F(HashTableGenericTest, GoesThroughTheBucketsFromTheFirstToTheLast)
{
    insert("c", 3);
    insert("a", 1);
    insert("b", 2);
    insert("", 9);
    EXPECT_THAT(valuesInOrder(), ElementsAre(9, 1, 2, 3));
}

TEST_F(HashTableGenericTest, HidesAnItemBehindALaterOneWithItsKey)
{
    insert("k", 1);
    insert("k", 2);
    EXPECT_EQ(find("k"), 2);
    EXPECT_EQ(m_table.NumItems(), 2u);
    EXPECT_TRUE(remove("k"));
    EXPECT_EQ(find("k"), 1);
    EXPECT_TRUE(remove("k"));
    EXPECT_FALSE(remove("k"));
    EXPECT_EQ(m_table.NumItems(), 0u);
}

TEST_F(HashTableGenericTest, TakesItemsOutOfTheHeadTheMiddleAndTheEndOfAChain)
{
    for (const std::string key : {"a2c1e1g1i1", "a1c1e1g1i1", "a3c1e1g1i1"}) {
        HashTableGeneric table;
        for (unsigned short number = 1; number <= 3; ++number)
            table.Insert(entryOf(sharingKey(number), number));
        ASSERT_TRUE(table.Remove(keyOf(key)));
        EXPECT_EQ(table.Find(keyOf(key)), nullptr);
        EXPECT_EQ(table.NumItems(), 2u);
        for (unsigned short number = 1; number <= 3; ++number) {
            const std::string other = sharingKey(number);
            EXPECT_EQ(table.Find(keyOf(other)) != nullptr, other != key) << other;
        }
    }
}

TEST_F(HashTableGenericTest, TakesItemsOutOfAChainThatWasBuilt)
{
    for (unsigned short taken = 1; taken <= 3; ++taken) {
        HashTableGeneric table;
        HashTableGeneric::ChainBuilder chain(table, keyOf(sharingKey(1)).Hash(1021));
        for (unsigned short number = 1; number <= 3; ++number)
            chain.Add(entryOf(sharingKey(number), number));
        ASSERT_TRUE(table.Remove(keyOf(sharingKey(taken))));
        EXPECT_EQ(table.NumItems(), 2u);
        for (unsigned short number = 1; number <= 3; ++number)
            EXPECT_EQ(table.Find(keyOf(sharingKey(number))) != nullptr, number != taken);
    }
}

TEST_F(HashTableGenericTest, StartsOverWhenTheItemItStandsOnIsTakenOut)
{
    insert("a", 1);
    insert("b", 2);
    insert("c", 3);
    ASSERT_TRUE(m_table.HasMoreItem());
    ASSERT_TRUE(m_table.HasMoreItem());
    ASSERT_TRUE(remove("b"));
    EXPECT_EQ(m_table.NextItem(), nullptr);
    EXPECT_THAT(valuesInOrder(), ElementsAre(1, 3));
}

TEST_F(HashTableGenericTest, GoesOnWhenAnotherItemIsTakenOut)
{
    insert("a", 1);
    insert("b", 2);
    insert("c", 3);
    ASSERT_TRUE(m_table.HasMoreItem());
    ASSERT_TRUE(m_table.HasMoreItem());
    ASSERT_TRUE(remove("a"));
    EXPECT_THAT(valuesInOrder(), ElementsAre(3));
}

TEST_F(HashTableGenericTest, BuildsAChainInFrontOfWhatIsThere)
{
    insert("k", 1);
    HashTableGeneric::ChainBuilder chain(m_table, keyOf("k").Hash(1021));
    chain.Add(entryOf("k", 2));
    chain.Add(entryOf("k", 3));
    EXPECT_EQ(find("k"), 2);
    EXPECT_THAT(valuesInOrder(), ElementsAre(2, 3, 1));
    EXPECT_TRUE(remove("k"));
    EXPECT_EQ(find("k"), 3);
}

TEST_F(HashTableGenericTest, DoesNotFindAKeyInAForeignBucket)
{
    HashTableGeneric::ChainBuilder chain(m_table, 5);
    chain.Add(entryOf("k", 1));
    EXPECT_EQ(find("k"), 0);
    EXPECT_THAT(valuesInOrder(), ElementsAre(1));
    insert("k", 2);
    EXPECT_EQ(find("k"), 2);
    EXPECT_TRUE(remove("k"));
    EXPECT_EQ(find("k"), 0);
    EXPECT_THAT(valuesInOrder(), ElementsAre(1));
}

// Held against a map, with keys that share their buckets.
TEST_F(HashTableGenericTest, FindsWhatAMapFinds)
{
    std::mt19937 random(1);
    std::map<std::string, std::vector<unsigned short>> expected;
    for (int step = 0; step < 20000; ++step) {
        const std::string key = "key" + std::to_string(random() % 300);
        const auto value = static_cast<unsigned short>(step % 60000 + 1);
        if (random() % 3 != 0) {
            insert(key, value);
            expected[key].push_back(value);
        } else {
            ASSERT_EQ(remove(key), !expected[key].empty()) << step;
            if (!expected[key].empty())
                expected[key].pop_back();
        }
        const std::string other = "key" + std::to_string(random() % 300);
        ASSERT_EQ(find(other), expected[other].empty() ? 0 : expected[other].back()) << step;
    }
}

} // namespace
