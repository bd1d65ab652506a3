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
    BinaryFormWriter(std::ostream& stream, lexkit::EncodingInfo const* encoding, Order order);

    // The bytes written, without the tables.
    unsigned long Write(HashTableGeneric const& table);

private:
    void addItem(HashItem const& item);
    void addNumber(std::string& to, unsigned long number) const;
    void addShort(std::string& to, unsigned long number) const;

    std::ostream& m_stream;
    lexkit::EncodingInfo const* const m_encoding;
    bool const m_isSwapped;
    std::string m_ends;
    std::string m_lengths;
    std::string m_buckets;
    unsigned long m_bucketCount = 0;
    unsigned long m_lengthCount = 0;
    std::ostringstream m_payload;
};

} // namespace lexkit_private
