// How a binary dictionary begins: 21 bytes that every one has, two for its version, one for the
// encoding of its values.
#pragma once

#include <cstddef>
#include <iosfwd>

namespace lexkit_private {

inline constexpr char zbfidstr[] = "ZString Binary Format";
inline constexpr std::size_t kBinaryIdLength = sizeof zbfidstr - 1;
inline constexpr std::size_t kBinaryHeadLength = kBinaryIdLength + 3;

struct zbfid_ {
    const char* id;
    unsigned char major;
    unsigned char minor;
    unsigned char selector;
};

inline constexpr zbfid_ zbfid{zbfidstr, 1, 5, 0};
inline constexpr zbfid_ zbfid_utf8{zbfidstr, 1, 5, 1};

// Whether the bytes are the id. Requires: kBinaryIdLength bytes.
bool isBinaryId(const void* bytes);

// Straight to the stream's buffer; the bytes written.
unsigned long zbfwrite_zbfid(std::ostream& stream, const zbfid_& id);

} // namespace lexkit_private
