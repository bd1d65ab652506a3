#include "lexkit/private/ByteRunKey.h"

#include "lexkit/LXErrException.h"

#include <algorithm>
#include <cstring>
#include <ostream>
#include <vector>

namespace lexkit_private {

namespace {

// The step is a fifth of the length. A length of nine still has a step of one, so a key has up to
// nine samples. The file format depends on this number.
constexpr std::uint32_t kSamples = 5;

// The top bit of the word that holds the length says who owns the bytes.
std::uint32_t checkedLength(unsigned long length)
{
    if (length > ByteRunKey::kMaxLength)
        throw LXErrException(LXErrException::kBadParameter);
    return static_cast<std::uint32_t>(length);
}

const unsigned char* copyOf(const void* data, std::uint32_t length)
{
    auto* const copy = new unsigned char[length];
    std::memcpy(copy, data, length);
    return copy;
}

// Not the hash of the file format: this one spreads all bytes of a key, and is never stored.
std::uint64_t mixed(std::uint64_t hash, std::uint64_t word)
{
    constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15; // 2^64 over the golden ratio, odd
    hash = (hash ^ word) * kFactor;
    return hash ^ (hash >> 32);
}

} // namespace

ByteRunKey::ByteRunKey(const void* data, unsigned long length, bool copy)
    // The mask changes nothing: it shows the compiler that the length fits into its 31 bits.
    : m_length(checkedLength(length) & kMaxLength)
    , m_ownsData(copy && length > 0)
    , m_data(nullptr)
{
    if (length > 0)
        m_data = copy ? copyOf(data, m_length) : static_cast<const unsigned char*>(data);
}

ByteRunKey::ByteRunKey(const ByteRunKey& other)
    // Always with bytes of its own: nobody knows how long the other key's bytes live.
    : ByteRunKey(other.m_data, other.m_length, true)
{
}

ByteRunKey::~ByteRunKey()
{
    if (m_ownsData)
        delete[] m_data;
}

unsigned long ByteRunKey::Serialize(
    std::ostream& stream, bool binary, const lexkit::EncodingInfo* encoding) const
{
    const unsigned long key = SerializeKey(stream, binary, encoding);
    return key + SerializeValue(stream, binary, encoding);
}

// In text form: quote mark, widened key, "="; of an empty key, nothing.
unsigned long ByteRunKey::SerializeKey(
    std::ostream& stream, bool binary, const lexkit::EncodingInfo*) const
{
    if (m_length == 0)
        return 0;
    if (binary) {
        // Keys are bytes in every encoding, so they are not converted.
        stream.write(reinterpret_cast<const char*>(m_data), m_length);
        return m_length;
    }
    std::vector<unsigned short> units;
    units.reserve(std::size_t{m_length} + 2);
    units.push_back(u'"');
    units.insert(units.end(), m_data, m_data + m_length);
    units.push_back(u'=');
    const unsigned long size = units.size() * sizeof(unsigned short);
    stream.write(reinterpret_cast<const char*>(units.data()), static_cast<std::streamsize>(size));
    return size;
}

unsigned long ByteRunKey::SerializeValue(std::ostream&, bool, const lexkit::EncodingInfo*) const
{
    return 0;
}

std::uint32_t ByteRunKey::Hash(unsigned long size) const
{
    const std::uint64_t length = m_length; // wide, so that the last step cannot wrap around
    const std::uint32_t step = std::max(m_length / kSamples, 1u);
    const auto buckets = static_cast<std::uint32_t>(size);
    std::uint32_t hash = 0;
    // Reduced at each step: nine samples of five bits would not fit into 32.
    for (std::uint64_t at = 0; at < length; at += step)
        hash = ((hash << 5) + m_data[at]) % buckets;
    return hash;
}

bool ByteRunKey::operator==(const HashItem& other) const
{
    const auto& key = static_cast<const ByteRunKey&>(other);
    // memcmp must not be given null, which is what an empty key has.
    return m_length == key.m_length
        && (m_length == 0 || std::memcmp(m_data, key.m_data, m_length) == 0);
}

std::uint32_t ByteRunKey::IndexHash(std::uint64_t seed) const
{
    constexpr std::uint32_t kWord = sizeof(std::uint64_t);
    std::uint64_t hash = mixed(seed, m_length);
    const unsigned char* at = m_data;
    std::uint32_t left = m_length;
    for (; left >= kWord; left -= kWord, at += kWord) {
        std::uint64_t word = 0;
        // In the byte order of the machine, because the hash never leaves the process.
        std::memcpy(&word, at, kWord);
        hash = mixed(hash, word);
    }
    std::uint64_t word = 0;
    if (left > 0)
        std::memcpy(&word, at, left);
    // A last byte reaches few of the low bits. One more mixing would spread such keys better, and
    // was measured to cost a miss a sixth more.
    return static_cast<std::uint32_t>(mixed(hash, word));
}

} // namespace lexkit_private
