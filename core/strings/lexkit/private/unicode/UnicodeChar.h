// Questions about single UTF-16 units. Pure functions: any thread.
#pragma once

namespace lexkit_private {

class UnicodeChar {
public:
    static constexpr unsigned char kNoDigit = 255;

    UnicodeChar() = delete;

    static constexpr unsigned short ByteSwap(unsigned short unit)
    {
        return static_cast<unsigned short>((unit << 8) | (unit >> 8));
    }

    // 0 to 9 for the decimal digits of many scripts, raised and lowered ones too.
    static unsigned char GetDecimalDigit(unsigned short unit);
    static bool IsMinusSign(unsigned short unit);
    static bool IsPlusSign(unsigned short unit);
    static bool IsWhiteSpace(unsigned short unit);
};

} // namespace lexkit_private
