// The conversion procedures that UnicodeUtil starts with. Selector 1 is UTF-8; selector 0 and null
// are the system's text encoding. What one side cannot express is replaced, which is no failure:
// by U+FFFD on the way to UTF-16, by "?" on the way back. Any thread.
#pragma once

#include "lexkit/EncodingInfo.h"

#include <cstdint>

namespace lexkit_private {

class UnicodeConversion {
public:
    UnicodeConversion() = delete;

    // Each returns 0 or a status, "BUFF" or "PARM" of LXErrException.
    static std::int32_t ToUnicodeSize(const unsigned char* bytes,
        unsigned long count,
        unsigned long* size,
        const lexkit::EncodingInfo* encoding);
    static std::int32_t ConvertToUnicode(const unsigned char* bytes,
        unsigned long count,
        unsigned short* units,
        unsigned long capacity,
        const lexkit::EncodingInfo* encoding);

    // The size has one byte more than the text, for a terminator.
    static std::int32_t FromUnicodeSize(const unsigned short* units,
        unsigned long count,
        unsigned long* size,
        const lexkit::EncodingInfo* encoding);
    // Writes whole characters as long as they fit, no terminator.
    static std::int32_t ConvertFromUnicode(const unsigned short* units,
        unsigned long count,
        unsigned char* bytes,
        unsigned long capacity,
        unsigned long* written,
        const lexkit::EncodingInfo* encoding);
};

} // namespace lexkit_private
