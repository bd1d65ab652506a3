// Texts of the contract in tests: its 16-bit units against literals and UTF-8.
#pragma once

#include "platform/common/text/PtUnicode.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace test {

using FxText = std::basic_string<unsigned short>;

inline FxText units(std::string_view utf8)
{
    return Pt::toUtf16(std::string(utf8));
}

inline std::string utf8(const unsigned short* text)
{
    return text ? Pt::toUtf8(text) : "(null)";
}

// Puts a text into a field of a record.
template <std::size_t N>
void put(unsigned short (&field)[N], std::string_view text)
{
    const FxText whole = units(text);
    std::fill_n(field, N, static_cast<unsigned short>(0));
    std::copy_n(whole.begin(), std::min(whole.size(), N - 1), field);
}

inline constexpr unsigned short kUntouched = 0xAAAA;

// A buffer that shows what was written into it.
template <std::size_t N>
std::array<unsigned short, N> untouchedBuffer()
{
    std::array<unsigned short, N> buffer;
    buffer.fill(kUntouched);
    return buffer;
}

// The units before the first that was not written, terminator included as "|".
template <std::size_t N>
std::string written(const std::array<unsigned short, N>& buffer)
{
    std::string text;
    for (const unsigned short unit : buffer) {
        if (unit == kUntouched)
            break;
        text += unit == 0 ? '|' : static_cast<char>(unit);
    }
    return text;
}

} // namespace test
