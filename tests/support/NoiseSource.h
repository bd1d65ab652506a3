// Bytes that look random and are the same on every machine for the same seed: what test files are
// filled with, so that no two are alike and none can be squeezed. No use for secrets. One thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace tests {

class NoiseSource {
public:
    explicit NoiseSource(std::uint64_t seed)
        : m_state(seed)
    {
    }

    // A source of its own for each name.
    NoiseSource(std::uint64_t seed, std::string_view name)
        : m_state(seed)
    {
        for (const char letter : name)
            m_state = (m_state ^ static_cast<unsigned char>(letter)) * 0x100000001b3;
    }

    // A Weyl sequence with its bits mixed: 64 bits a step, every state once.
    std::uint64_t next()
    {
        m_state += 0x9e3779b97f4a7c15;
        std::uint64_t bits = m_state;
        bits = (bits ^ (bits >> 30U)) * 0xbf58476d1ce4e5b9;
        bits = (bits ^ (bits >> 27U)) * 0x94d049bb133111eb;
        return bits ^ (bits >> 31U);
    }

    std::string bytes(std::size_t count)
    {
        std::string result(count, '\0');
        for (std::size_t at = 0; at < count; at += sizeof(std::uint64_t)) {
            const std::uint64_t word = next();
            std::memcpy(&result[at], &word, count - at < sizeof word ? count - at : sizeof word);
        }
        return result;
    }

private:
    std::uint64_t m_state;
};

} // namespace tests
