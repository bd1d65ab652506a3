#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Conversion between UTF-8 and UTF-16 in host byte order. What is not valid Unicode is dropped
// silently, never replaced. All counts and results are bytes; the result counts the terminator,
// which is always written. A null out measures. Pure functions: any thread may call them.

// Reads at most count bytes and ends at a NUL. out needs room for 2 * count + 2 bytes.
std::size_t UTF8ToUTF16HostEndian(const char* bytes, std::size_t count, unsigned short* out);

// Reads at most byteCount bytes (an odd last byte is not read) and ends at a NUL. out needs room
// for byteCount / 2 * 3 + 1 bytes.
std::size_t UTF16HostEndianToUTF8(const unsigned short* units, std::size_t byteCount, char* out);

namespace Pt {

using WideText = std::basic_string<unsigned short>;

// The same for owned texts; a null text is empty.
std::string toUtf8(const unsigned short* text);
WideText toUtf16(std::string_view bytes);

} // namespace Pt
