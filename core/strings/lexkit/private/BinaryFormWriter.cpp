#include "lexkit/private/BinaryFormWriter.h"

#include "lexkit/private/HashTableGeneric.h"

#include <algorithm>
#include <bit>
#include <ostream>

namespace lexkit_private {

namespace {

template <typename T>
void append(std::string& to, T number, bool isSwapped)
{
    char bytes[sizeof number];
    std::copy_n(reinterpret_cast<const char*>(&number), sizeof number, bytes);
    if (isSwapped)
        std::reverse(std::begin(bytes), std::end(bytes));
    to.append(bytes, sizeof bytes);
}

} // namespace

BinaryFormWriter::BinaryFormWriter(
    std::ostream& stream, const lexkit::EncodingInfo* encoding, Order order)
    : m_stream(stream)
    , m_encoding(encoding)
    , m_isSwapped(order == Order::kBig && std::endian::native != std::endian::big)
{
}

void BinaryFormWriter::addNumber(std::string& to, unsigned long number) const
{
    append(to, static_cast<std::uint32_t>(number), m_isSwapped);
}

void BinaryFormWriter::addShort(std::string& to, unsigned long number) const
{
    append(to, static_cast<std::uint16_t>(number), m_isSwapped);
}

void BinaryFormWriter::addItem(const HashItem& item)
{
    addNumber(m_lengths, item.SerializeKey(m_payload, true, m_encoding));
    std::ostringstream value;
    const unsigned long length = item.SerializeValue(value, true, m_encoding);
    addNumber(m_lengths, length);
    std::string bytes = std::move(value).str();
    // Runs write their units in the order of the machine. UTF-8 has no order.
    if (m_isSwapped && !m_encoding)
        for (std::size_t at = 0; at + 1 < bytes.size(); at += 2)
            std::swap(bytes[at], bytes[at + 1]);
    m_payload << bytes;
    m_lengthCount += 2;
}

unsigned long BinaryFormWriter::Write(const HashTableGeneric& table)
{
    for (std::uint32_t bucket = 0; bucket < HashTableGeneric::kBuckets; ++bucket) {
        // Readers search a chain from its start, so the order within a bucket decides which of two
        // equal keys is found, and has to be kept.
        const HashItem* item = table.Head(bucket);
        if (!item)
            continue;
        for (; item; item = item->Next())
            addItem(*item);
        addNumber(m_ends, m_lengthCount);
        addShort(m_buckets, bucket);
        ++m_bucketCount;
    }
    std::string count;
    addNumber(count, m_bucketCount);
    const std::string payload = std::move(m_payload).str();
    m_stream << count << m_ends << m_lengths << m_buckets << payload;
    // The other tables are not counted, on purpose: that is what callers of Serialize are told.
    return count.size() + payload.size();
}

} // namespace lexkit_private
