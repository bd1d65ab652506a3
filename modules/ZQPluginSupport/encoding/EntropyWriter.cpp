#include "ZQPluginSupport/encoding/EntropyWriter.h"

#include <algorithm>

namespace dng {

namespace {

constexpr std::size_t kWord = sizeof(std::uint64_t);

// Whether one of the eight bytes is FF.
bool hasMarker(std::uint64_t word)
{
    constexpr std::uint64_t kLow = 0x0101010101010101;
    constexpr std::uint64_t kHigh = 0x8080808080808080;
    const std::uint64_t inverse = ~word;
    return ((inverse - kLow) & ~inverse & kHigh) != 0;
}

// Copies `count` bytes with a 00 after each FF; where it ends.
std::uint8_t* copyStuffed(const std::uint8_t* from, std::size_t count, std::uint8_t* to)
{
    for (std::size_t i = 0; i < count; ++i) {
        *to++ = from[i];
        if (from[i] == 0xff)
            *to++ = 0;
    }
    return to;
}

} // namespace

void EntropyWriter::begin(std::uint64_t bits)
{
    // Each put stores a whole word.
    const std::size_t needed = static_cast<std::size_t>(bits / 8) + 2 * kWord;
    if (needed > m_room) {
        m_bytes = std::make_unique_for_overwrite<std::uint8_t[]>(needed);
        m_room = needed;
    }
    m_end = m_bytes.get();
    m_word = 0;
    m_used = 0;
}

void EntropyWriter::finishInto(std::vector<std::uint8_t>& stream)
{
    if (const unsigned int missing = (8 - m_used) % 8; missing != 0)
        put((1U << missing) - 1, missing);
    const auto count = static_cast<std::size_t>(m_end - m_bytes.get());
    const std::uint8_t* const from = m_bytes.get();
    const auto markers = static_cast<std::size_t>(std::count(from, from + count, 0xff));
    const std::size_t before = stream.size();
    stream.resize(before + count + markers);
    std::uint8_t* to = stream.data() + before;
    std::size_t at = 0;
    for (; at + kWord <= count; at += kWord) {
        std::uint64_t word = 0;
        std::memcpy(&word, from + at, kWord);
        if (hasMarker(word)) {
            to = copyStuffed(from + at, kWord, to);
        } else {
            std::memcpy(to, &word, kWord);
            to += kWord;
        }
    }
    copyStuffed(from + at, count - at, to);
}

} // namespace dng
