#pragma once

#include "platform/common/text/PtUnicode.h"

namespace test {

// A 16-bit text from a char16_t literal, whatever it holds.
inline Pt::WideText wide(const char16_t* text)
{
    Pt::WideText result;
    for (; *text != 0; ++text)
        result += static_cast<unsigned short>(*text);
    return result;
}

inline Pt::WideText wide(const std::string& path)
{
    return Pt::toUtf16(path);
}

} // namespace test
