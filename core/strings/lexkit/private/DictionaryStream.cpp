#include "lexkit/private/DictionaryStream.h"

#include <algorithm>
#include <istream>

namespace lexkit_private {

namespace {

bool canSeek(std::istream& stream)
{
    // The buffer is asked, not the stream: a pipe says no without leaving a failure behind in the
    // state.
    return stream.good() && stream.rdbuf()->pubseekoff(0, std::ios::cur, std::ios::in) != -1;
}

} // namespace

DictionaryStream::DictionaryStream(std::istream& stream)
    : m_stream(stream)
    , m_canSeek(canSeek(stream))
    , m_isKeeping(!m_canSeek)
{
}

std::size_t DictionaryStream::Read(void* to, std::size_t count)
{
    // First what was read before the rewind, then the stream itself.
    const std::size_t again = m_kept.copy(static_cast<char*>(to), count, m_keptAt);
    m_keptAt += again;
    if (again == count)
        return count;
    return again + readFresh(static_cast<char*>(to) + again, count - again);
}

std::size_t DictionaryStream::readFresh(char* to, std::size_t count)
{
    m_stream.read(to, static_cast<std::streamsize>(count));
    const auto fresh = static_cast<std::size_t>(m_stream.gcount());
    if (m_isKeeping) {
        m_kept.append(to, fresh);
        m_keptAt += fresh;
    }
    return fresh;
}

void DictionaryStream::Rewind()
{
    if (!m_canSeek) {
        m_keptAt = 0;
        return;
    }
    // A file of a few bytes was read to its end.
    if (!m_stream.bad())
        m_stream.clear();
    m_stream.seekg(0);
}

bool DictionaryStream::HasFailed() const
{
    // The end of the stream sets the fail bit as well, so only the bad bit tells a disk that
    // failed.
    return m_stream.bad();
}

} // namespace lexkit_private
