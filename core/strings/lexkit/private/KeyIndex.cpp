#include "lexkit/private/KeyIndex.h"

#include <algorithm>
#include <utility>

namespace lexkit_private {

namespace {

constexpr std::size_t kFirstSize = 16;
// Marks a free slot. No key has this hash: hashOf avoids it.
constexpr std::uint32_t kFree = 0;

// The share of slots that may be taken: 3 of 4.
constexpr bool isCrowded(std::size_t count, std::size_t slots)
{
    // Linear probing gets slow beyond that, and never ends in a full table.
    return count > slots - slots / 4;
}

} // namespace

KeyIndex::KeyIndex()
    : m_seed(reinterpret_cast<std::uintptr_t>(this))
{
}

std::uint32_t KeyIndex::hashOf(const HashItem& key) const
{
    // Zero marks a free slot, so such a key shares the hash 1 with others.
    const std::uint32_t hash = key.IndexHash(m_seed);
    return hash != kFree ? hash : 1;
}

// The slot of the key, or the free one where it belongs. Requires: there are slots.
std::size_t KeyIndex::slotOf(const HashItem& key, std::uint32_t hash) const
{
    const std::size_t mask = m_hashes.size() - 1;
    // Ends, because a quarter of the slots is free. Items are only touched when all 32 bits agree.
    for (std::size_t at = hash & mask;; at = (at + 1) & mask)
        if (m_hashes[at] == kFree || (m_hashes[at] == hash && *m_items[at] == key))
            return at;
}

HashItem* KeyIndex::Find(const HashItem& key) const
{
    return m_count > 0 ? m_items[slotOf(key, hashOf(key))] : nullptr;
}

void KeyIndex::Reserve(std::size_t count)
{
    std::size_t size = std::max(m_hashes.size(), kFirstSize);
    while (isCrowded(count, size))
        size *= 2;
    if (size != m_hashes.size())
        rehash(size);
}

void KeyIndex::rehash(std::size_t size)
{
    // Beside the old tables, so that nothing is lost if memory runs out. No keys are compared: all
    // of them are different.
    std::vector<std::uint32_t> hashes(size, kFree);
    std::vector<HashItem*> items(size);
    const std::size_t mask = size - 1;
    for (std::size_t slot = 0; slot < m_hashes.size(); ++slot) {
        if (m_hashes[slot] == kFree)
            continue;
        std::size_t at = m_hashes[slot] & mask;
        while (hashes[at] != kFree)
            at = (at + 1) & mask;
        hashes[at] = m_hashes[slot];
        items[at] = m_items[slot];
    }
    m_hashes.swap(hashes);
    m_items.swap(items);
}

HashItem* KeyIndex::Put(HashItem* item)
{
    Reserve(m_count + 1);
    // Before the slot is looked for: growing moves every slot.
    const std::uint32_t hash = hashOf(*item);
    const std::size_t slot = slotOf(*item, hash);
    HashItem* const before = std::exchange(m_items[slot], item);
    m_hashes[slot] = hash;
    m_count += before ? 0 : 1;
    return before;
}

bool KeyIndex::PutIfAbsent(HashItem* item)
{
    Reserve(m_count + 1);
    const std::uint32_t hash = hashOf(*item);
    const std::size_t slot = slotOf(*item, hash);
    if (m_items[slot])
        return false;
    m_items[slot] = item;
    m_hashes[slot] = hash;
    ++m_count;
    return true;
}

// What was pushed on by the item, or by one that was, moves back: no slot is ever marked as used
// once.
void KeyIndex::Erase(const HashItem* item)
{
    const std::size_t mask = m_hashes.size() - 1;
    std::size_t hole = slotOf(*item, hashOf(*item));
    for (std::size_t at = (hole + 1) & mask; m_hashes[at] != kFree; at = (at + 1) & mask) {
        const std::size_t home = m_hashes[at] & mask;
        // An item may move into the hole unless that would put it before its home slot, where no
        // search begins. The mask makes the distances right across the end of the table.
        if (((at - home) & mask) >= ((at - hole) & mask)) {
            m_hashes[hole] = m_hashes[at];
            m_items[hole] = m_items[at];
            hole = at;
        }
    }
    m_hashes[hole] = kFree;
    m_items[hole] = nullptr;
    --m_count;
}

void KeyIndex::Clear()
{
    std::fill(m_hashes.begin(), m_hashes.end(), kFree);
    std::fill(m_items.begin(), m_items.end(), nullptr);
    m_count = 0;
}

} // namespace lexkit_private
