#include "lexkit/private/BinaryFormReader.h"

#include "lexkit/private/DictionaryEntry.h"
#include "lexkit/private/unicode/UnicodeChar.h"
#include "lexkit/private/unicode/UnicodeUtil.h"

#include <bit>
#include <cstring>

namespace lexkit_private {

namespace {

constexpr std::size_t kNumber = sizeof(std::uint32_t);
constexpr std::size_t kShort = sizeof(std::uint16_t);
// A row of version 1.0: the number of a bucket and a position.
constexpr std::size_t kRow10 = kShort + kNumber;
// Units for decoding a value; a longer value makes the buffer grow.
constexpr unsigned long kFirstCapacity = 256;

// Byte by byte: the tables lie at any address, and the byte order of the machine does not matter.
std::uint32_t bigNumber(const unsigned char* at)
{
    return std::uint32_t{at[0]} << 24 | std::uint32_t{at[1]} << 16 | std::uint32_t{at[2]} << 8
        | at[3];
}

std::uint16_t bigShort(const unsigned char* at)
{
    return static_cast<std::uint16_t>(at[0] << 8 | at[1]);
}

template <typename T>
// Copied, because a number in a file is not aligned.
T hostNumber(const unsigned char* at)
{
    T number = 0;
    std::memcpy(&number, at, sizeof number);
    return number;
}

constexpr bool kIsHostBig = std::endian::native == std::endian::big;

// UTF-16 of another program: big-endian, unless a mark says otherwise. The mark is no part of the
// text, the length is kept all the same, and zeros fill it up; so they do for half a unit.
UnicodeRun externalUnits(const unsigned char* bytes, std::uint32_t length)
{
    if (length == 0)
        return {};
    unsigned short* units = nullptr;
    UnicodeRun run = UnicodeRun::Unfilled(length, units);
    const std::uint32_t count = length / 2;
    const std::uint16_t first = count > 0 ? bigShort(bytes) : 0;
    const bool hasMark = first == 0xFEFF || first == 0xFFFE;
    const bool isBig = first != 0xFFFE;
    const std::uint32_t skipped = hasMark ? 1 : 0;
    std::memcpy(units, bytes + skipped * kShort, (count - skipped) * kShort);
    if (isBig != kIsHostBig)
        for (std::uint32_t at = 0; at < count - skipped; ++at)
            units[at] = UnicodeChar::ByteSwap(units[at]);
    if (hasMark)
        units[count - 1] = 0;
    if (length % 2 != 0)
        reinterpret_cast<unsigned char*>(units)[length - 1] = 0;
    return run;
}

} // namespace

BinaryFormReader::BinaryFormReader(
    HashTableGeneric& table, ByteSource& source, unsigned char selector, bool copyKeys)
    : m_table(table)
    , m_source(source)
    , m_selector(selector)
    , m_copyKeys(copyKeys)
    , m_units(kFirstCapacity)
{
}

UnicodeRun BinaryFormReader::decoded(const unsigned char* bytes, std::uint32_t length)
{
    if (length == 0)
        return {};
    // The selector comes from the file and is not checked: UnicodeConversion knows what to do with
    // an unknown one.
    const lexkit::EncodingInfo encoding(m_selector);
    UnicodeUtil::StringToUnicode(bytes, length, m_units, &encoding);
    return {m_units.GetData(), m_units.GetCount()};
}

void BinaryFormReader::add(
    Chain& chain, const unsigned char* key, std::uint32_t keyLength, UnicodeRun value)
{
    // The entry copies the key into its own block in any case; the flag only decides about this
    // temporary key.
    const ByteRunKey temporary(key, keyLength, m_copyKeys);
    chain.Add(DictionaryEntry::Make(temporary, std::move(value)));
}

bool BinaryFormReader::ReadVersion15()
{
    const unsigned char* const count = m_source.Keep(kNumber);
    if (!count)
        return false;
    // Counts have 32 bits, so the products below fit into a size_t. A count that lies makes Keep
    // fail when the bytes run out.
    const std::size_t buckets = bigNumber(count);
    if (buckets == 0)
        return true;
    const unsigned char* const ends = m_source.Keep(buckets * kNumber);
    if (!ends)
        return false;
    // Ends are running totals, so the last one is the size of the table of lengths.
    const std::size_t lengthCount = bigNumber(ends + (buckets - 1) * kNumber);
    const unsigned char* const lengths = m_source.Keep(lengthCount * kNumber);
    const unsigned char* const numbers = lengths ? m_source.Keep(buckets * kShort) : nullptr;
    if (!numbers)
        return false;
    std::size_t at = 0; // in the table of lengths
    for (std::size_t bucket = 0; bucket < buckets; ++bucket) {
        const std::uint16_t number = bigShort(numbers + bucket * kShort);
        if (number >= HashTableGeneric::kBuckets)
            return false;
        Chain chain(m_table, number);
        const std::size_t end = bigNumber(ends + bucket * kNumber);
        // An end below the one before it gives an empty bucket. An end beyond the table, or an odd
        // one at its end, is where the reading stops.
        for (; at < end; at += 2)
            if (at + 2 > lengthCount || !readItem15(chain, lengths + at * kNumber))
                return false;
    }
    return true;
}

bool BinaryFormReader::readItem15(Chain& chain, const unsigned char* lengths)
{
    const std::uint32_t keyLength = bigNumber(lengths);
    const std::uint32_t valueLength = bigNumber(lengths + kNumber);
    if (keyLength > ByteRunKey::kMaxLength)
        return false;
    // Key and value in one piece: the next Take would invalidate the key. The sum is computed in 64
    // bits and cannot wrap around.
    const unsigned char* const key = m_source.Take(std::size_t{keyLength} + valueLength);
    if (!key)
        return false;
    const unsigned char* const value = key + keyLength;
    add(chain,
        key,
        keyLength,
        m_selector == 0 ? externalUnits(value, valueLength) : decoded(value, valueLength));
    return true;
}

// Each row but the last, which is an end mark, holds the items up to the offset of the next one.
bool BinaryFormReader::ReadVersion10()
{
    const unsigned char* const count = m_source.Keep(kShort);
    if (!count)
        return false;
    const std::size_t rowCount = hostNumber<std::uint16_t>(count);
    const unsigned char* const rows = m_source.Keep(rowCount * kRow10);
    if (!rows)
        return false;
    if (rowCount == 0)
        return true;
    // Positions are only compared with each other: the items follow the table, wherever the first
    // row says that they begin. 64 bits, so that adding a length cannot wrap around.
    std::uint64_t position = hostNumber<std::uint32_t>(rows + kShort);
    for (std::size_t row = 0; row + 1 < rowCount; ++row) {
        const auto number = hostNumber<std::uint16_t>(rows + row * kRow10);
        if (number >= HashTableGeneric::kBuckets)
            return false;
        Chain chain(m_table, number);
        const std::uint64_t end = hostNumber<std::uint32_t>(rows + (row + 1) * kRow10 + kShort);
        while (position < end)
            if (!readItem10(chain, position))
                return false;
    }
    return true;
}

bool BinaryFormReader::readItem10(Chain& chain, std::uint64_t& position)
{
    const unsigned char* bytes = m_source.Take(kNumber);
    const std::uint32_t keyLength = bytes ? hostNumber<std::uint32_t>(bytes) : 0;
    if (!bytes || keyLength > ByteRunKey::kMaxLength)
        return false;
    // The key and the length of the value at once: what a stream gave is gone with the next piece.
    bytes = m_source.Take(std::size_t{keyLength} + kNumber);
    if (!bytes)
        return false;
    const ByteRunKey key(bytes, keyLength, true);
    const auto valueLength = hostNumber<std::uint32_t>(bytes + keyLength);
    const unsigned char* const value = m_source.Take(valueLength);
    if (!value)
        return false;
    add(chain,
        key.GetData(),
        keyLength,
        m_selector == 0 ? UnicodeRun(value, valueLength) : decoded(value, valueLength));
    position += 2 * kNumber + keyLength + valueLength;
    return true;
}

} // namespace lexkit_private
