#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace test {

constexpr std::size_t kKilobyte = 1024;
constexpr std::size_t kMegabyte = 1024 * kKilobyte;

// A text of that size in which every part tells where it stands; another for each number.
inline std::string numberedText(std::size_t number, std::size_t size)
{
    // Of a long one every few thousandth place is told, as it would take seconds otherwise.
    constexpr std::size_t kDense = 256 * 1024;
    constexpr std::size_t kGap = 4000;
    std::string text;
    text.reserve(size + kGap + 32);
    while (text.size() < size) {
        text += std::to_string(number) + ':' + std::to_string(text.size()) + ' ';
        if (text.size() > kDense)
            text.append(kGap, '.');
    }
    text.resize(size);
    return text;
}

// What a peer says of a text that it got.
inline std::string described(std::string_view text)
{
    return std::to_string(text.size()) + ' ' + std::to_string(std::hash<std::string_view>()(text));
}

// Any bytes as a word of a command line.
inline std::string hexOf(std::string_view bytes)
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::string hex = "x";
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        hex += kDigits[value >> 4U];
        hex += kDigits[value & 15U];
    }
    return hex;
}

inline std::string bytesOf(std::string_view hex)
{
    std::string bytes;
    for (std::size_t i = 1; i + 1 < hex.size(); i += 2)
        bytes += static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16));
    return bytes;
}

} // namespace test
