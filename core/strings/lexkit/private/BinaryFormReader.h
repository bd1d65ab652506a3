// Reads the entries of a binary dictionary, version 1.0 or 1.5, into a table. All counts, lengths
// and bucket numbers are checked: what does not hold ends the reading, and what was read before
// stays in the table. One object reads one dictionary.
#pragma once

#include "lexkit/private/Buffer.h"
#include "lexkit/private/ByteSource.h"
#include "lexkit/private/HashTableGeneric.h"
#include "lexkit/private/unicode/UnicodeRun.h"

namespace lexkit_private {

class BinaryFormReader {
public:
    // The source stands behind the head. Refers to table and source, which outlive it.
    BinaryFormReader(
        HashTableGeneric& table, ByteSource& source, unsigned char selector, bool copyKeys);

    // Numbers in host order. False when something did not hold.
    bool ReadVersion10();
    // Numbers and UTF-16 values big-endian.
    bool ReadVersion15();

private:
    using Chain = HashTableGeneric::ChainBuilder;

    bool readItem10(Chain& chain, std::uint64_t& position);
    bool readItem15(Chain& chain, const unsigned char* lengths);
    void add(Chain& chain, const unsigned char* key, std::uint32_t keyLength, UnicodeRun value);
    UnicodeRun decoded(const unsigned char* bytes, std::uint32_t length);

    HashTableGeneric& m_table;
    ByteSource& m_source;
    const unsigned char m_selector;
    const bool m_copyKeys;
    Buffer<unsigned short> m_units;
};

} // namespace lexkit_private
