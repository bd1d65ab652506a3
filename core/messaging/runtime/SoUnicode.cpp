#include "messaging/SoUnicode.h"

namespace ScObjects {

namespace {

constexpr unsigned long kReplacement = 0xFFFD;

// By the length of the form: what the marks of lead and continuation bytes add up to.
constexpr unsigned long kOffsets[] = {
    0, 0, 0x3080, 0xE2080, 0x3C82080, 0xFA082080UL, 0x3F82082080UL};

int lengthByLead(unsigned char lead)
{
    if (lead < 0x80)
        return 1;
    // A continuation byte cannot come first.
    if (lead < 0xC0)
        return 0;
    if (lead < 0xE0)
        return 2;
    if (lead < 0xF0)
        return 3;
    if (lead < 0xF8)
        return 4;
    if (lead < 0xFC)
        return 5;
    return 6;
}

bool isHighSurrogate(unsigned long unit)
{
    return unit >= 0xD800 && unit < 0xDC00;
}

bool isLowSurrogate(unsigned long unit)
{
    return unit >= 0xDC00 && unit < 0xE000;
}

// The code point at `at` of `count` units, and how many units it takes.
unsigned long codePointAt(
    const unsigned short* text, unsigned long at, unsigned long count, unsigned long& taken)
{
    taken = 1;
    const unsigned long unit = text[at];
    if (!isHighSurrogate(unit) || at + 1 >= count || !isLowSurrogate(text[at + 1]))
        return unit;
    taken = 2;
    return 0x10000 + ((unit - 0xD800) << 10) + (text[at + 1] - 0xDC00UL);
}

// Of what takes more than one byte. Each further byte adds five bits: six of its own, less the one
// that the lead byte gives up.
int encodedLength(unsigned long value)
{
    int length = 2;
    for (unsigned long limit = 0x800; value >= limit; limit <<= 5)
        ++length;
    return length;
}

} // namespace

unsigned long DecodeUTF8(const char* text, int& consumed)
{
    // The classic forms go up to six bytes, beyond what UTF-8 is today, on purpose: see the header.
    consumed = lengthByLead(static_cast<unsigned char>(*text));
    if (consumed == 0)
        return kReplacement;
    unsigned long value = 0;
    for (int i = 0; i < consumed; ++i) {
        const unsigned char byte = static_cast<unsigned char>(text[i]);
        if (i > 0 && byte == 0) { // the text ends inside the form
            consumed = i;
            return kReplacement;
        }
        // The marks of the bytes are added in and taken off at once at the end.
        value = (value << 6) + byte;
    }
    // On 64 bits the six-byte form does not lose its highest bits by itself.
    return (value - kOffsets[consumed]) & 0xFFFFFFFFUL;
}

int EncodeUTF8(unsigned long value, char* out)
{
    if (value >= 0x7FFFFFFF)
        value = kReplacement;
    if (value < 0x80) {
        *out = static_cast<char>(value);
        return 1;
    }
    const int length = encodedLength(value);
    for (int i = length - 1; i > 0; --i, value >>= 6)
        out[i] = static_cast<char>(0x80 | (value & 0x3F));
    *out = static_cast<char>((0xFF00U >> length) | value);
    return length;
}

unsigned long UTF8_UTF16(const char* source, unsigned short* out, unsigned long max)
{
    if (max == 0)
        return 0;
    unsigned short* end = out;
    while (max != 0) {
        int consumed = 0;
        unsigned long value = DecodeUTF8(source, consumed);
        if (value == 0)
            break;
        source += consumed;
        // Beyond what a pair of surrogates can express.
        if (value >= 0x110000)
            value = kReplacement;
        if (value >= 0x10000) {
            *end++ = static_cast<unsigned short>(0xD800 + ((value - 0x10000) >> 10));
            value = 0xDC00 + ((value - 0x10000) & 0x3FF);
        }
        *end++ = static_cast<unsigned short>(value);
        --max;
    }
    if (max != 0)
        *end++ = 0;
    return static_cast<unsigned long>(end - out);
}

unsigned long UTF16_UTF8(const unsigned short* source, char* out, unsigned long& units)
{
    const unsigned long count = units;
    char* end = out;
    for (unsigned long at = 0, taken = 0; at < count; at += taken) {
        end += EncodeUTF8(codePointAt(source, at, count, taken), end);
        // The caller learns the number of code points: a pair of units counts once.
        units -= taken - 1;
    }
    return static_cast<unsigned long>(end - out);
}

unsigned long UTF8StrLen(const unsigned short* text)
{
    char scratch[6];
    const unsigned long count = UTF16StrLenWithMax(text, ~0UL);
    unsigned long bytes = 0;
    for (unsigned long at = 0, taken = 0; at < count; at += taken)
        bytes +=
            static_cast<unsigned long>(EncodeUTF8(codePointAt(text, at, count, taken), scratch));
    return bytes;
}

unsigned long UTF16StrLenWithMax(const unsigned short* text, unsigned long max)
{
    unsigned long count = 0;
    while (count < max && text[count] != 0)
        ++count;
    return count;
}

} // namespace ScObjects
