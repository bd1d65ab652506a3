#include "lexkit/private/HashTableGeneric.h"

#include "lexkit/private/BinaryFormWriter.h"

#include <utility>

namespace lexkit_private {

HashTableGeneric::~HashTableGeneric()
{
    for (HashItem* item : m_buckets)
        while (item)
            delete std::exchange(item, item->m_next);
}

void HashTableGeneric::link(std::uint32_t bucket, HashItem* predecessor, HashItem* item)
{
    HashItem*& place = predecessor ? predecessor->m_next : m_buckets[bucket];
    item->m_previous = predecessor;
    item->m_next = place;
    if (place)
        place->m_previous = item;
    place = item;
}

void HashTableGeneric::Insert(std::unique_ptr<HashItem> item)
{
    RefreshIndex();
    // The index takes the item first: if it runs out of memory, the item is still owned and the
    // chains are as they were.
    if (m_index.Put(item.get()))
        m_hasHidden = true;
    const std::uint32_t bucket = item->Hash(kBuckets);
    link(bucket, nullptr, item.release());
}

HashItem* HashTableGeneric::Find(const HashItem& key)
{
    RefreshIndex();
    return m_index.Find(key);
}

std::unique_ptr<HashItem> HashTableGeneric::Remove(const HashItem& key)
{
    HashItem* const item = Find(key);
    if (!item)
        return nullptr;
    m_index.Erase(item);
    // Unlinking clears the pointer, and a hidden item with the same key can only be further along
    // the chain.
    HashItem* const behind = item->m_next;
    unlink(item);
    std::unique_ptr<HashItem> removed(item);
    if (m_hasHidden)
        uncoverHidden(behind, *removed);
    return removed;
}

void HashTableGeneric::unlink(HashItem* item)
{
    // Find only sees items in the bucket that their key belongs to, so this bucket is the item's
    // own.
    HashItem*& place =
        item->m_previous ? item->m_previous->m_next : m_buckets[item->Hash(kBuckets)];
    place = item->m_next;
    if (item->m_next)
        item->m_next->m_previous = item->m_previous;
    item->m_next = nullptr;
    item->m_previous = nullptr;
    // An iteration that stands on the item has lost its place.
    if (m_current == item) {
        m_current = nullptr;
        m_restart = true;
    }
}

void HashTableGeneric::uncoverHidden(HashItem* chain, const HashItem& key)
{
    for (HashItem* item = chain; item; item = item->m_next) {
        if (*item == key) {
            m_index.Put(item);
            return;
        }
    }
}

void HashTableGeneric::RefreshIndex()
{
    if (!m_isIndexStale)
        return;
    m_index.Clear();
    m_index.Reserve(NumItems());
    for (std::uint32_t bucket = 0; bucket < kBuckets; ++bucket) {
        for (HashItem* item = m_buckets[bucket]; item; item = item->m_next) {
            // A key in a foreign bucket is not found, as walking its own chain would not find it.
            if (item->Hash(kBuckets) == bucket && !m_index.PutIfAbsent(item))
                m_hasHidden = true;
        }
    }
    m_isIndexStale = false;
}

void HashTableGeneric::ChainBuilder::Add(std::unique_ptr<HashItem> item)
{
    // Rebuilt once the chains are complete. Adding one by one would let the last of two equal keys
    // win, and the first has to.
    m_table.m_isIndexStale = true;
    // Nothing below throws, and from here on the chain owns the item.
    HashItem* const added = item.release();
    m_table.link(m_bucket, m_predecessor, added);
    m_predecessor = added;
}

unsigned long HashTableGeneric::NumItems() const
{
    unsigned long count = 0;
    for (const HashItem* item : m_buckets)
        for (; item; item = item->m_next)
            ++count;
    return count;
}

HashItem* HashTableGeneric::enterFilledBucket(std::uint32_t first)
{
    m_currentBucket = first;
    while (m_currentBucket < kBuckets && !m_buckets[m_currentBucket])
        ++m_currentBucket;
    return m_currentBucket < kBuckets ? m_buckets[m_currentBucket] : nullptr;
}

bool HashTableGeneric::HasMoreItem()
{
    HashItem* item = m_restart || !m_current ? nullptr : m_current->m_next;
    if (!item)
        item = enterFilledBucket(m_restart ? 0 : m_currentBucket + 1);
    m_current = item;
    // After the end the next call begins again, as callers loop until false and may loop once more.
    m_restart = !item;
    return item;
}

unsigned long HashTableGeneric::Serialize(
    std::ostream& stream, bool binary, const lexkit::EncodingInfo* encoding) const
{
    // In the order of the machine, as Serialize promises. Compile writes what readers take.
    if (binary)
        return BinaryFormWriter(stream, encoding, BinaryFormWriter::Order::kHost).Write(*this);
    unsigned long count = 0;
    for (const HashItem* item : m_buckets)
        for (; item; item = item->m_next)
            count += item->Serialize(stream, false, encoding);
    return count;
}

} // namespace lexkit_private
