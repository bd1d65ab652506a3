// Conversions and comparisons of UTF-16 texts, through procedures that may be exchanged. Failures
// are LXErrException with the status of the procedure. The procedures and the default encoding
// belong to the process: set them before other threads use the library.
#pragma once

#include "lexkit/EncodingInfo.h"
#include "lexkit/private/Buffer.h"

#include <cstdint>

namespace lexkit_private {

class UnicodeUtil {
public:
    // Each returns 0 or a status. The first two decode, the other two encode; a size counts units,
    // or bytes with one for the terminator.
    using ToUnicodeSizeProc = std::int32_t (*)(unsigned char const* bytes,
        unsigned long count,
        unsigned long* size,
        lexkit::EncodingInfo const* encoding);
    using ConvertToUnicodeProc = std::int32_t (*)(unsigned char const* bytes,
        unsigned long count,
        unsigned short* units,
        unsigned long capacity,
        lexkit::EncodingInfo const* encoding);
    using FromUnicodeSizeProc = std::int32_t (*)(unsigned short const* units,
        unsigned long count,
        unsigned long* size,
        lexkit::EncodingInfo const* encoding);
    using ConvertFromUnicodeProc = std::int32_t (*)(unsigned short const* units,
        unsigned long count,
        unsigned char* bytes,
        unsigned long capacity,
        unsigned long* written,
        lexkit::EncodingInfo const* encoding);
    using CompareProc = long (*)(unsigned short const* left,
        unsigned long leftCount,
        unsigned short const* right,
        unsigned long rightCount);

    UnicodeUtil() = delete;

    // Null restores the one that the library starts with, for each by itself.
    static void SetConversionProcs(ToUnicodeSizeProc toUnicodeSize,
        ConvertToUnicodeProc convertToUnicode,
        FromUnicodeSizeProc fromUnicodeSize,
        ConvertFromUnicodeProc convertFromUnicode);
    static bool UsingDefaultConverters();
    static void SetCompareProc(CompareProc compare);

    static void SetDefaultEncoding(lexkit::EncodingInfo const* encoding);
    static lexkit::EncodingInfo const* GetDefaultEncoding();
    // The encoding, or the default for null.
    static lexkit::EncodingInfo const* CheckForDefaultEncoding(
        lexkit::EncodingInfo const* encoding);

    static long Compare(unsigned short const* left,
        unsigned long leftCount,
        unsigned short const* right,
        unsigned long rightCount);
    // The difference of the first units that differ, else of the lengths.
    static long DefaultCompareProc(unsigned short const* left,
        unsigned long leftCount,
        unsigned short const* right,
        unsigned long rightCount);

    static unsigned long StringLength(unsigned short const* terminated);
    // See lexkit::ZString::ToInteger. A number that is too large wraps around.
    static bool StringToInteger(unsigned short const* units, unsigned long count, long& value);

    static unsigned long ToUnicodeSize(
        unsigned char const* bytes, unsigned long count, lexkit::EncodingInfo const* encoding);
    // What the buffer held before is gone.
    static void StringToUnicode(unsigned char const* bytes,
        unsigned long count,
        Buffer<unsigned short>& out,
        lexkit::EncodingInfo const* encoding);
    static unsigned long FromUnicodeSize(
        unsigned short const* units, unsigned long count, lexkit::EncodingInfo const* encoding);
    // Terminated, also when it throws since not all fits, if there is room for a terminator at
    // all. The bytes before the terminator.
    static unsigned long UnicodeToCString(unsigned short const* units,
        unsigned long count,
        char* buffer,
        unsigned long size,
        lexkit::EncodingInfo const* encoding);
    // Length byte and at most 255 bytes, no terminator.
    static unsigned long UnicodeToPascalString(unsigned short const* units,
        unsigned long count,
        unsigned char* buffer,
        unsigned long size,
        lexkit::EncodingInfo const* encoding);
};

} // namespace lexkit_private
