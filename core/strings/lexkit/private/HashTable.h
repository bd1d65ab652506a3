// The bucket table for one kind of key and entry, and the reading of its binary form.
#pragma once

#include "lexkit/private/HashTableGeneric.h"

namespace lexkit_private {

class DictionaryStream;

template <typename Key, typename Entry>
class HashTable : public HashTableGeneric {
public:
    void Insert(std::unique_ptr<Entry> entry) { HashTableGeneric::Insert(std::move(entry)); }
    Entry* Find(const Key& key) { return static_cast<Entry*>(HashTableGeneric::Find(key)); }
    std::unique_ptr<Entry> Remove(const Key& key)
    {
        return std::unique_ptr<Entry>(static_cast<Entry*>(HashTableGeneric::Remove(key).release()));
    }

    // Add the entries of a binary dictionary, from behind its id and version bytes. 0, or -1 when
    // something did not hold: what was read before stays. A version that is not known adds
    // nothing, gives the selector, and counts as success.
    int Read(const unsigned char* begin,
        const unsigned char* end,
        unsigned char major,
        unsigned char minor,
        bool copyKeys,
        unsigned char selector);
    int Read(
        DictionaryStream& stream, unsigned char major, unsigned char minor, unsigned char selector);
};

} // namespace lexkit_private
