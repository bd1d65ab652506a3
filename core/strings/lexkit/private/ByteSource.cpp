#include "lexkit/private/ByteSource.h"

#include "lexkit/private/DictionaryStream.h"

#include <algorithm>

namespace lexkit_private {

namespace {

// Bytes taken on trust before the stream has shown that it has any.
constexpr std::size_t kFirstStep = std::size_t{64} * 1024;

} // namespace

ByteSource::~ByteSource() = default;

const unsigned char* BlockSource::Take(std::size_t count)
{
    if (count > static_cast<std::size_t>(m_end - m_at))
        return nullptr;
    const unsigned char* const taken = m_at;
    m_at += count;
    return taken;
}

// Grows with what has come, so that a length that lies costs no more than the stream holds.
bool StreamSource::fill(std::vector<unsigned char>& bytes, std::size_t count)
{
    for (std::size_t have = 0; have < count;) {
        const std::size_t step = std::min(count - have, std::max(have, kFirstStep));
        if (bytes.size() < have + step)
            bytes.resize(have + step);
        const std::size_t got = m_stream.Read(bytes.data() + have, step);
        if (got < step)
            return false;
        have += step;
    }
    return true;
}

const unsigned char* StreamSource::Take(std::size_t count)
{
    if (m_taken.empty())
        m_taken.resize(1); // so that no bytes have an address, too
    return fill(m_taken, count) ? m_taken.data() : nullptr;
}

const unsigned char* StreamSource::Keep(std::size_t count)
{
    // One byte at least, so that an empty table has an address as well: null means failure.
    std::vector<unsigned char>& bytes = m_kept.emplace_back(1);
    return fill(bytes, count) ? bytes.data() : nullptr;
}

} // namespace lexkit_private
