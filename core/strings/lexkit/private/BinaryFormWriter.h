// Writes the tables and the payload of a binary dictionary, version 1.5, behind its head. The
// tables stand in front of what they count, so the payload is made in memory first; the stream
// need not seek.
#pragma once

#include "lexkit/EncodingInfo.h"

#include <iosfwd>
#include <sstream>
#include <string>

namespace lexkit_private {

class HashItem;
class HashTableGeneric;

class BinaryFormWriter {
public:
    enum class Order {
        kHost, // as the machine has it
        kBig, // as readers expect it
    };

    // Values in UTF-16 for a null encoding, else in that encoding.
    BinaryFormWriter(std::ostream& stream, const lexkit::EncodingInfo* encoding, Order order);

    // The bytes written, without the tables.
    unsigned long Write(const HashTableGeneric& table);

private:
    void addItem(const HashItem& item);
    void addNumber(std::string& to, unsigned long number) const;
    void addShort(std::string& to, unsigned long number) const;

    std::ostream& m_stream;
    const lexkit::EncodingInfo* const m_encoding;
    const bool m_isSwapped;
    std::string m_ends;
    std::string m_lengths;
    std::string m_buckets;
    unsigned long m_bucketCount = 0;
    unsigned long m_lengthCount = 0;
    std::ostringstream m_payload;
};

} // namespace lexkit_private
