// The bucket table of a dictionary: 1021 chains, never more. Owns its items. The order of the
// chains is part of the file formats, so it is kept as told: new items go to the head of their
// chain. An index beside the buckets does the finding and changes no result.
#pragma once

#include "lexkit/private/HashItem.h"
#include "lexkit/private/KeyIndex.h"

#include <array>
#include <memory>

namespace lexkit_private {

class HashTableGeneric {
public:
    static constexpr std::uint32_t kBuckets = 1021;

    HashTableGeneric() = default;
    HashTableGeneric(const HashTableGeneric&) = delete;
    HashTableGeneric& operator=(const HashTableGeneric&) = delete;
    ~HashTableGeneric();

    // Puts the item at the head of its chain. An item with the same key stays, hidden.
    void Insert(std::unique_ptr<HashItem> item);
    // The first item with that key in the chain that the key belongs to; null for none.
    HashItem* Find(const HashItem& key);
    // Takes what Find finds out of the table.
    std::unique_ptr<HashItem> Remove(const HashItem& key);

    unsigned long NumItems() const; // walks all chains
    // Null for an empty bucket. Requires: bucket < kBuckets.
    HashItem* Head(std::uint32_t bucket) const { return m_buckets[bucket]; }

    // Moves to the next item in table order; at the end false, and the next pass starts over.
    bool HasMoreItem();
    // The item that HasMoreItem moved to; null when there is none.
    HashItem* NextItem() const { return m_current; }

    // Text form without its mark, or binary form without its id. The bytes written, of the binary
    // form without its tables.
    unsigned long Serialize(
        std::ostream& stream, bool binary, const lexkit::EncodingInfo* encoding) const;

    // Puts the items of one bucket of a binary dictionary in front of the chain that is there, in
    // their own order. Items need not belong to that bucket: Find then does not see them.
    class ChainBuilder {
    public:
        // Requires: bucket < kBuckets.
        ChainBuilder(HashTableGeneric& table, std::uint32_t bucket)
            : m_table(table)
            , m_bucket(bucket)
        {
        }
        void Add(std::unique_ptr<HashItem> item);

    private:
        HashTableGeneric& m_table;
        std::uint32_t m_bucket;
        HashItem* m_predecessor = nullptr;
    };

    // Brings the index up to date after a ChainBuilder; Find does so otherwise.
    void RefreshIndex();

private:
    void link(std::uint32_t bucket, HashItem* predecessor, HashItem* item);
    void unlink(HashItem* item);
    void uncoverHidden(HashItem* chain, const HashItem& key);
    // Moves to the first bucket from that one on that is not empty; its first item, null for none.
    HashItem* enterFilledBucket(std::uint32_t first);

    std::array<HashItem*, kBuckets> m_buckets{};

    KeyIndex m_index;
    bool m_isIndexStale = false;
    bool m_hasHidden = false; // some chain may hold a key twice

    bool m_restart = true;
    std::uint32_t m_currentBucket = 0;
    HashItem* m_current = nullptr;
};

} // namespace lexkit_private
