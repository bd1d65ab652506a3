// A stream that is being read as a dictionary. The first bytes decide what it is, so it can go
// back to its start once: by seeking, or, where the stream cannot, by giving the bytes again that
// it read so far. Refers to a stream that outlives it. A stream that is not open gives nothing.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>

namespace lexkit_private {

class DictionaryStream {
public:
    explicit DictionaryStream(std::istream& stream);

    // Less than `count` bytes only at the end of the stream.
    std::size_t Read(void* to, std::size_t count);

    // The next Read starts at the beginning of the stream, where it can seek, else at the first
    // byte that was read. Requires: little was read; what was is kept in memory.
    void Rewind();

    // From now on nothing is kept: Rewind is not called any more.
    void StopKeeping() { m_isKeeping = false; }

    // Whether reading ended by a failure of the stream itself.
    bool HasFailed() const;

private:
    std::size_t readFresh(char* to, std::size_t count);

    std::istream& m_stream;
    const bool m_canSeek;
    bool m_isKeeping;
    std::string m_kept; // what was read, where the stream cannot seek
    std::size_t m_keptAt = 0; // what of it is still to be given again
};

} // namespace lexkit_private
