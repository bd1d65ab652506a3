#include "lexkit/private/unicode/UnicodeChar.h"

#include <algorithm>
#include <array>

namespace lexkit_private {

namespace {

// Where ranges of ten digits begin.
constexpr std::array<unsigned short, 18> kZeros{0x0030,
    0xFF10,
    0x2070,
    0x2080,
    0x0660,
    0x06F0,
    0x0966,
    0x09E6,
    0x0A66,
    0x0AE6,
    0x0B66,
    0x0BE6,
    0x0C66,
    0x0CE6,
    0x0D66,
    0x0E50,
    0x0ED0,
    0x0F20};

struct DigitOverride {
    unsigned short unit;
    unsigned char digit;
};

// Raised 1, 2 and 3 stand apart from the other raised digits, and leave holes among them; the
// Tamil digits were long without a zero.
constexpr std::array kOverrides{DigitOverride{0x00B9, 1},
    DigitOverride{0x00B2, 2},
    DigitOverride{0x00B3, 3},
    DigitOverride{0x0BE6, UnicodeChar::kNoDigit},
    DigitOverride{0x2071, UnicodeChar::kNoDigit},
    DigitOverride{0x2072, UnicodeChar::kNoDigit},
    DigitOverride{0x2073, UnicodeChar::kNoDigit}};

template <std::size_t count>
bool isOneOf(const std::array<unsigned short, count>& units, unsigned short unit)
{
    return std::find(units.begin(), units.end(), unit) != units.end();
}

} // namespace

unsigned char UnicodeChar::GetDecimalDigit(unsigned short unit)
{
    // First, because the ranges below contain some of these characters.
    for (const DigitOverride& row : kOverrides)
        if (row.unit == unit)
            return row.digit;
    for (const unsigned short zero : kZeros)
        if (unit >= zero && unit - zero < 10)
            return static_cast<unsigned char>(unit - zero);
    return kNoDigit;
}

bool UnicodeChar::IsMinusSign(unsigned short unit)
{
    constexpr std::array<unsigned short, 6> kSigns{0x002D, 0x207B, 0x208B, 0x2212, 0xFE63, 0xFF0D};
    return isOneOf(kSigns, unit);
}

bool UnicodeChar::IsPlusSign(unsigned short unit)
{
    constexpr std::array<unsigned short, 5> kSigns{0x002B, 0x207A, 0x208A, 0xFE62, 0xFF0B};
    return isOneOf(kSigns, unit);
}

bool UnicodeChar::IsWhiteSpace(unsigned short unit)
{
    constexpr std::array<unsigned short, 6> kSingle{0x0020, 0x00A0, 0x2028, 0x2029, 0x3000, 0xFEFF};
    return (unit >= 0x0009 && unit <= 0x000D) || (unit >= 0x2000 && unit <= 0x200B)
        || isOneOf(kSingle, unit);
}

} // namespace lexkit_private
