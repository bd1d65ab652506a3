// Codes behind each other, most significant bit first, as the entropy-coded data of a JPEG stream:
// filled up with ones to a whole byte, each byte FF followed by 00.
//
// The bits are collected without the extra bytes first, which are put in at the end, many bytes at
// a time. One thread at a time; kept for the next stream, so that its memory is.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace dng {

class EntropyWriter {
public:
    static constexpr unsigned int kMaxPut = 56; // bits

    // Begins anew, with room for this many bits.
    void begin(std::uint64_t bits);

    // Requires: length <= kMaxPut, no bit of `bits` above, and room.
    void put(std::uint64_t bits, unsigned int length)
    {
        m_used += length;
        m_word |= bits << (64U - m_used);
        storeBigEndian(m_end, m_word);
        m_end += m_used / 8;
        m_word <<= m_used & ~7U; // at most 56 since less than 8 bits were held over
        m_used &= 7U;
    }

    // Fills up the last byte and appends all to the stream.
    void finishInto(std::vector<std::uint8_t>& stream);

private:
    static void storeBigEndian(std::uint8_t* place, std::uint64_t word)
    {
        if constexpr (std::endian::native == std::endian::little)
            word = __builtin_bswap64(word);
        std::memcpy(place, &word, sizeof word);
    }

    std::unique_ptr<std::uint8_t[]> m_bytes;
    std::size_t m_room = 0;
    std::uint8_t* m_end = nullptr;
    std::uint64_t m_word = 0; // what is not yet a whole byte, at the top
    unsigned int m_used = 0; // bits of it
};

} // namespace dng
