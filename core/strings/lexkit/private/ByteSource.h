// The bytes of a binary dictionary, from a block of memory or from a stream. Nothing that the bytes
// claim is believed: memory is taken as bytes arrive.
#pragma once

#include <cstddef>
#include <deque>
#include <vector>

namespace lexkit_private {

class DictionaryStream;

class ByteSource {
public:
    ByteSource() = default;
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;
    virtual ~ByteSource();

    // The next `count` bytes, valid until the next Take; null when there are not so many.
    virtual const unsigned char* Take(std::size_t count) = 0;
    // The same, valid as long as the source is.
    virtual const unsigned char* Keep(std::size_t count) = 0;
};

// Refers to a block that outlives it.
class BlockSource final : public ByteSource {
public:
    BlockSource(const unsigned char* begin, const unsigned char* end)
        : m_at(begin)
        , m_end(end)
    {
    }

    const unsigned char* Take(std::size_t count) override;
    const unsigned char* Keep(std::size_t count) override { return Take(count); }

private:
    const unsigned char* m_at;
    const unsigned char* m_end;
};

// Reads no byte more than it is asked for. Refers to a stream that outlives it.
class StreamSource final : public ByteSource {
public:
    explicit StreamSource(DictionaryStream& stream)
        : m_stream(stream)
    {
    }

    const unsigned char* Take(std::size_t count) override;
    const unsigned char* Keep(std::size_t count) override;

private:
    bool fill(std::vector<unsigned char>& bytes, std::size_t count);

    DictionaryStream& m_stream;
    std::vector<unsigned char> m_taken;
    std::deque<std::vector<unsigned char>> m_kept;
};

} // namespace lexkit_private
