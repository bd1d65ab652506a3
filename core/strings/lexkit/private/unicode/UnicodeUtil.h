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
    using ToUnicodeSizeProc = std::int32_t (*)(const unsigned char* bytes,
        unsigned long count,
        unsigned long* size,
        const lexkit::EncodingInfo* encoding);
    using ConvertToUnicodeProc = std::int32_t (*)(const unsigned char* bytes,
        unsigned long count,
        unsigned short* units,
        unsigned long capacity,
        const lexkit::EncodingInfo* encoding);
    using FromUnicodeSizeProc = std::int32_t (*)(const unsigned short* units,
        unsigned long count,
        unsigned long* size,
        const lexkit::EncodingInfo* encoding);
    using ConvertFromUnicodeProc = std::int32_t (*)(const unsigned short* units,
        unsigned long count,
        unsigned char* bytes,
        unsigned long capacity,
        unsigned long* written,
        const lexkit::EncodingInfo* encoding);
    using CompareProc = long (*)(const unsigned short* left,
        unsigned long leftCount,
        const unsigned short* right,
        unsigned long rightCount);

    UnicodeUtil() = delete;

    // Null restores the one that the library starts with, for each by itself.
    static void SetConversionProcs(ToUnicodeSizeProc toUnicodeSize,
        ConvertToUnicodeProc convertToUnicode,
        FromUnicodeSizeProc fromUnicodeSize,
        ConvertFromUnicodeProc convertFromUnicode);
    static bool UsingDefaultConverters();
    static void SetCompareProc(CompareProc compare);

    static void SetDefaultEncoding(const lexkit::EncodingInfo* encoding);
    static const lexkit::EncodingInfo* GetDefaultEncoding();
    // The encoding, or the default for null.
    static const lexkit::EncodingInfo* CheckForDefaultEncoding(
        const lexkit::EncodingInfo* encoding);

    static long Compare(const unsigned short* left,
        unsigned long leftCount,
        const unsigned short* right,
        unsigned long rightCount);
    // The difference of the first units that differ, else of the lengths.
    static long DefaultCompareProc(const unsigned short* left,
        unsigned long leftCount,
        const unsigned short* right,
        unsigned long rightCount);

    static unsigned long StringLength(const unsigned short* terminated);
    // See lexkit::ZString::ToInteger. A number that is too large wraps around.
    static bool StringToInteger(const unsigned short* units, unsigned long count, long& value);

    static unsigned long ToUnicodeSize(
        const unsigned char* bytes, unsigned long count, const lexkit::EncodingInfo* encoding);
    // What the buffer held before is gone.
    static void StringToUnicode(const unsigned char* bytes,
        unsigned long count,
        Buffer<unsigned short>& out,
        const lexkit::EncodingInfo* encoding);
    static unsigned long FromUnicodeSize(
        const unsigned short* units, unsigned long count, const lexkit::EncodingInfo* encoding);
    // Terminated, also when it throws since not all fits, if there is room for a terminator at
    // all. The bytes before the terminator.
    static unsigned long UnicodeToCString(const unsigned short* units,
        unsigned long count,
        char* buffer,
        unsigned long size,
        const lexkit::EncodingInfo* encoding);
    // Length byte and at most 255 bytes, no terminator.
    static unsigned long UnicodeToPascalString(const unsigned short* units,
        unsigned long count,
        unsigned char* buffer,
        unsigned long size,
        const lexkit::EncodingInfo* encoding);
};

} // namespace lexkit_private
