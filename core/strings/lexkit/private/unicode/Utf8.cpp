#include "lexkit/private/unicode/Utf8.h"

#include <array>

namespace lexkit_private {

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kFirstPaired = 0x10000; // the first that takes two units

// How a lead byte goes on: the bytes behind it, and the range of the first of them, which is
// where overlong forms, surrogates and what lies above U+10FFFF are told apart.
struct Lead {
    unsigned char following;
    unsigned char low;
    unsigned char high;
};

constexpr Lead leadOf(unsigned char byte)
{
    if (byte >= 0xC2 && byte <= 0xDF)
        return {1, 0x80, 0xBF};
    if (byte >= 0xE0 && byte <= 0xEF)
        return {2,
            static_cast<unsigned char>(byte == 0xE0 ? 0xA0 : 0x80),
            static_cast<unsigned char>(byte == 0xED ? 0x9F : 0xBF)};
    if (byte >= 0xF0 && byte <= 0xF4)
        return {3,
            static_cast<unsigned char>(byte == 0xF0 ? 0x90 : 0x80),
            static_cast<unsigned char>(byte == 0xF4 ? 0x8F : 0xBF)};
    return {0, 0, 0};
}

// Takes the character at `at`, which is no ASCII character, and moves behind it.
char32_t takeLong(const unsigned char*& at, const unsigned char* end)
{
    const Lead lead = leadOf(*at);
    // The more bytes follow, the fewer bits the lead byte has left.
    char32_t scalar = *at++ & (0x3Fu >> lead.following);
    if (lead.following == 0)
        return kReplacement;
    unsigned char low = lead.low;
    unsigned char high = lead.high;
    for (unsigned char left = lead.following; left > 0; --left) {
        // The byte that does not fit is not consumed: it may begin the next character.
        if (at == end || *at < low || *at > high)
            return kReplacement;
        scalar = (scalar << 6) | (*at++ & 0x3Fu);
        // Only the first of the following bytes has a narrower range.
        low = 0x80;
        high = 0xBF;
    }
    return scalar;
}

constexpr bool isHighSurrogate(unsigned short unit)
{
    return (unit & 0xFC00) == 0xD800;
}
constexpr bool isLowSurrogate(unsigned short unit)
{
    return (unit & 0xFC00) == 0xDC00;
}

// Takes the character at `at` and moves behind it.
char32_t takeUnits(const unsigned short*& at, const unsigned short* end)
{
    const unsigned short unit = *at++;
    if (!isHighSurrogate(unit))
        return isLowSurrogate(unit) ? U'?' : char32_t{unit};
    if (at == end || !isLowSurrogate(*at))
        return U'?';
    // Ten bits from each half, counted from U+10000.
    return kFirstPaired + ((unit & 0x3FFu) << 10) + (*at++ & 0x3FFu);
}

constexpr unsigned long encodedSize(char32_t scalar)
{
    if (scalar < 0x80)
        return 1;
    if (scalar < 0x800)
        return 2;
    return scalar < kFirstPaired ? 3 : 4;
}

void writeScalar(char32_t scalar, unsigned long size, unsigned char* to)
{
    constexpr std::array<unsigned char, 5> kLeads{0, 0, 0xC0, 0xE0, 0xF0};
    for (unsigned long at = size; at-- > 1; scalar >>= 6)
        to[at] = static_cast<unsigned char>(0x80 | (scalar & 0x3F));
    to[0] = static_cast<unsigned char>(kLeads[size] | scalar);
}

} // namespace

unsigned long decodedUtf8Size(const unsigned char* bytes, unsigned long count)
{
    const unsigned char* const end = bytes + count;
    unsigned long size = 0;
    while (bytes != end) {
        if (*bytes < 0x80) {
            ++bytes;
            ++size;
        } else {
            size += takeLong(bytes, end) < kFirstPaired ? 1 : 2;
        }
    }
    return size;
}

unsigned long decodeUtf8(
    const unsigned char* bytes, unsigned long count, unsigned short* units, unsigned long capacity)
{
    const unsigned char* const end = bytes + count;
    unsigned long written = 0;
    while (bytes != end && written < capacity) {
        if (*bytes < 0x80) {
            units[written++] = *bytes++;
            continue;
        }
        const char32_t scalar = takeLong(bytes, end);
        if (scalar < kFirstPaired) {
            units[written++] = static_cast<unsigned short>(scalar);
            continue;
        }
        // Half a pair would be worse than nothing.
        if (capacity - written < 2)
            break;
        units[written++] = static_cast<unsigned short>(0xD800 + ((scalar - kFirstPaired) >> 10));
        units[written++] = static_cast<unsigned short>(0xDC00 + (scalar & 0x3FF));
    }
    return written;
}

unsigned long encodedUtf8Size(const unsigned short* units, unsigned long count)
{
    const unsigned short* const end = units + count;
    unsigned long size = 0;
    while (units != end)
        size += encodedSize(takeUnits(units, end));
    return size;
}

unsigned long encodeUtf8(
    const unsigned short* units, unsigned long count, unsigned char* bytes, unsigned long capacity)
{
    const unsigned short* const end = units + count;
    unsigned long written = 0;
    while (units != end) {
        const char32_t scalar = takeUnits(units, end);
        const unsigned long size = encodedSize(scalar);
        // A character is never cut: the rest of the text is.
        if (capacity - written < size)
            break;
        writeScalar(scalar, size, bytes + written);
        written += size;
    }
    return written;
}

} // namespace lexkit_private
