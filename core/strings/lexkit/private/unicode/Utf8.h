// UTF-8 to and from UTF-16 without loss of place: what is not valid UTF-8 becomes U+FFFD, once for
// each longest beginning of a character; what UTF-8 cannot express (half of a surrogate pair)
// becomes "?". NUL is a character like others. Pure functions: any thread.
#pragma once

namespace lexkit_private {

// Units that decodeUtf8 makes of the bytes.
unsigned long decodedUtf8Size(const unsigned char* bytes, unsigned long count);

// Writes whole characters as long as they fit; the units written.
unsigned long decodeUtf8(
    const unsigned char* bytes, unsigned long count, unsigned short* units, unsigned long capacity);

// Bytes that encodeUtf8 makes of the units.
unsigned long encodedUtf8Size(const unsigned short* units, unsigned long count);

// Writes whole characters as long as they fit; the bytes written.
unsigned long encodeUtf8(
    const unsigned short* units, unsigned long count, unsigned char* bytes, unsigned long capacity);

} // namespace lexkit_private
