#pragma once

#include <string>
#include <string_view>

namespace test {

// The bytes of a file in UTF-16 with its mark, low byte first or high byte first.
inline std::string utf16File(std::u16string_view text, bool isHighFirst = false)
{
    std::string bytes;
    for (const char16_t unit : u'\xFEFF' + std::u16string(text)) {
        const char low = static_cast<char>(unit & 0xFFU);
        const char high = static_cast<char>(unit >> 8U);
        bytes += isHighFirst ? high : low;
        bytes += isHighFirst ? low : high;
    }
    return bytes;
}

} // namespace test
