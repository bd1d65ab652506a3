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
    HashItem* Find(HashItem const& key) const;

    // Makes room for one more, so that the next Put or PutIfAbsent does not throw.
    void Reserve() { Reserve(m_count + 1); }
    void Reserve(std::size_t count);

    // The item that had the key before, or null.
    HashItem* Put(HashItem* item);
    // False, with no change, when the key is there.
    bool PutIfAbsent(HashItem* item);

    // Requires: Find of its key gives the item.
    void Erase(HashItem const* item);
    void Clear();

private:
    std::size_t slotOf(HashItem const& key, std::uint32_t hash) const;
    HashItem*& prepareSlot(HashItem* item);

    std::uint64_t const m_seed;
    std::vector<HashItem*> m_slots; // a power of two, never full
    std::size_t m_count = 0;
};

} // namespace lexkit_private
