// Finds the item of a key without walking a chain: the buckets are chosen by a few bytes of a key,
// so that keys with a common shape crowd in few of them. Holds one item for each key and owns
// none. Its hash is seeded by its place in memory, so that no file can make all keys collide.
#pragma once

#include "lexkit/private/HashItem.h"

#include <cstddef>
#include <vector>

namespace lexkit_private {

class KeyIndex {
public:
    KeyIndex();

    // Null when no item has that key.
    HashItem* Find(const HashItem& key) const;

    // Makes room for that many.
    void Reserve(std::size_t count);

    // The item that had the key before, or null.
    HashItem* Put(HashItem* item);
    // False, with no change, when the key is there.
    bool PutIfAbsent(HashItem* item);

    // Requires: Find of its key gives the item.
    void Erase(const HashItem* item);
    void Clear();

private:
    std::uint32_t hashOf(const HashItem& key) const;
    std::size_t slotOf(const HashItem& key, std::uint32_t hash) const;
    void rehash(std::size_t size);

    const std::uint64_t m_seed;
    // One slot for each hash and its item; a power of two, never full. The hashes lie by
    // themselves, so that a key that is not there costs no look at any item.
    std::vector<std::uint32_t> m_hashes; // kFree, or never kFree
    std::vector<HashItem*> m_items;
    std::size_t m_count = 0;
};

} // namespace lexkit_private
