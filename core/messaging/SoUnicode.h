// Conversion between UTF-8 and UTF-16. Units are 16 bits in host order. Nothing here allocates or
// fails; malformed text gives U+FFFD.
#pragma once

#include "messaging/TevoroTalkApi.h"

namespace ScObjects {

// The code point at `text`, in the classic form of one to six bytes, and in `consumed` how many
// bytes it takes by its first byte. Continuation bytes are not checked, but none behind a NUL is
// read. A byte that cannot come first gives U+FFFD and consumes 0.
TEVOROTALK_API unsigned long DecodeUTF8(const char* text, int& consumed);

// Writes one to six bytes and returns how many; values from 0x7FFFFFFF on become U+FFFD.
TEVOROTALK_API int EncodeUTF8(unsigned long value, char* out);

// Converts at most `max` code points (a pair of surrogates counts once, so that `out` takes up to
// twice as many units), and the terminator if `max` is not used up. The units written, terminator
// included. A byte that cannot come first does not advance: U+FFFD until `max` is used up.
TEVOROTALK_API unsigned long UTF8_UTF16(const char* source, unsigned short* out, unsigned long max);

// Converts `units` units, without a terminator; sets `units` to the number of code points. A lone
// surrogate becomes three bytes. Returns the number of bytes written.
TEVOROTALK_API unsigned long UTF16_UTF8(
    const unsigned short* source, char* out, unsigned long& units);

// The length of a terminated text in UTF-8, in bytes, without a terminator.
TEVOROTALK_API unsigned long UTF8StrLen(const unsigned short* text);

// The number of units before the terminator, at most `max`.
TEVOROTALK_API unsigned long UTF16StrLenWithMax(const unsigned short* text, unsigned long max);

} // namespace ScObjects
