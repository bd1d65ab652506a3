// Element of a chain of the bucket table: a key, and what it stands for. The order of the virtual
// operations is fixed; further ones come at the end.
#pragma once

#include "lexkit/EncodingInfo.h"

#include <cstdint>
#include <iosfwd>

namespace lexkit_private {

class HashItem {
public:
    HashItem() = default;
    HashItem(const HashItem&) = delete;
    HashItem& operator=(const HashItem&) = delete;

    // Each writes its part of the text form or of the binary form; the bytes written.
    virtual unsigned long Serialize(
        std::ostream& stream, bool binary, const lexkit::EncodingInfo* encoding) const = 0;
    virtual unsigned long SerializeKey(
        std::ostream& stream, bool binary, const lexkit::EncodingInfo* encoding) const = 0;
    virtual unsigned long SerializeValue(
        std::ostream& stream, bool binary, const lexkit::EncodingInfo* encoding) const = 0;

    virtual ~HashItem();

    // The bucket among `size` buckets.
    virtual std::uint32_t Hash(unsigned long size) const = 0;
    // Whether the keys are alike. Requires: items of one table are of one kind.
    virtual bool operator==(const HashItem& other) const = 0;

    // A hash over the whole key, for the index beside the buckets.
    virtual std::uint32_t IndexHash(std::uint64_t seed) const = 0;

    HashItem* Next() const { return m_next; }

private:
    friend class HashTableGeneric;

    // Kept by the table that the item is in.
    HashItem* m_next = nullptr;
    HashItem* m_previous = nullptr;
};

} // namespace lexkit_private
