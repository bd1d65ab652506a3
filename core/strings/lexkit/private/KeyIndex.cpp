#include "lexkit/private/KeyIndex.h"

#include <algorithm>
#include <utility>

namespace lexkit_private {

namespace {

constexpr std::size_t kFirstSize = 16;

// The share of slots that may be taken: 3 of 4.
constexpr bool isCrowded(std::size_t count, std::size_t slots)
{
    return count > slots - slots / 4;
}

} // namespace

KeyIndex::KeyIndex()
    : m_seed(reinterpret_cast<std::uintptr_t>(this))
{
}

// The slot of the key, or the free one where it belongs. Requires: there are slots.
std::size_t KeyIndex::slotOf(HashItem const& key, std::uint32_t hash) const
{
    std::size_t const mask = m_slots.size() - 1;
    for (std::size_t at = hash & mask;; at = (at + 1) & mask) {
        HashItem const* const item = m_slots[at];
        if (!item || item == &key || (item->m_indexHash == hash && *item == key))
            return at;
    }
}

HashItem* KeyIndex::Find(HashItem const& key) const
{
    return m_slots.empty() ? nullptr : m_slots[slotOf(key, key.IndexHash(m_seed))];
}

void KeyIndex::Reserve(std::size_t count)
{
    std::size_t size = std::max(m_slots.size(), kFirstSize);
    while (isCrowded(count, size))
        size *= 2;
    if (size == m_slots.size())
        return;
    std::vector<HashItem*> const old = std::exchange(m_slots, std::vector<HashItem*>(size));
    std::size_t const mask = size - 1;
    for (HashItem* const item : old) {
        if (!item)
            continue;
        std::size_t at = item->m_indexHash & mask;
        while (m_slots[at])
            at = (at + 1) & mask;
        m_slots[at] = item;
    }
}

HashItem*& KeyIndex::prepareSlot(HashItem* item)
{
    Reserve();
    item->m_indexHash = item->IndexHash(m_seed);
    return m_slots[slotOf(*item, item->m_indexHash)];
}

HashItem* KeyIndex::Put(HashItem* item)
{
    HashItem* const before = std::exchange(prepareSlot(item), item);
    m_count += before ? 0 : 1;
    return before;
}

bool KeyIndex::PutIfAbsent(HashItem* item)
{
    HashItem*& slot = prepareSlot(item);
    if (slot)
        return false;
    slot = item;
    ++m_count;
    return true;
}

// What was pushed on by the item, or by one that was, moves back: no slot is ever marked as used
// once.
void KeyIndex::Erase(HashItem const* item)
{
    std::size_t const mask = m_slots.size() - 1;
    std::size_t hole = slotOf(*item, item->m_indexHash);
    for (std::size_t at = (hole + 1) & mask; m_slots[at]; at = (at + 1) & mask) {
        std::size_t const home = m_slots[at]->m_indexHash & mask;
        if (((at - home) & mask) >= ((at - hole) & mask)) {
            m_slots[hole] = m_slots[at];
            hole = at;
        }
    }
    m_slots[hole] = nullptr;
    --m_count;
}

void KeyIndex::Clear()
{
    std::fill(m_slots.begin(), m_slots.end(), nullptr);
    m_count = 0;
}

} // namespace lexkit_private
