#include "lexkit/private/unicode/UnicodeUtil.h"

#include "lexkit/LXErrException.h"
#include "lexkit/private/unicode/UnicodeChar.h"
#include "lexkit/private/unicode/UnicodeConversion.h"

#include <algorithm>
#include <optional>

namespace lexkit_private {

namespace {

// As much as a length byte can say.
constexpr unsigned long kMaxPascalStringLength = 255;

struct Procedures {
    UnicodeUtil::ToUnicodeSizeProc toUnicodeSize = UnicodeConversion::ToUnicodeSize;
    UnicodeUtil::ConvertToUnicodeProc convertToUnicode = UnicodeConversion::ConvertToUnicode;
    UnicodeUtil::FromUnicodeSizeProc fromUnicodeSize = UnicodeConversion::FromUnicodeSize;
    UnicodeUtil::ConvertFromUnicodeProc convertFromUnicode = UnicodeConversion::ConvertFromUnicode;

    bool operator==(const Procedures&) const = default;
};

// Of the process, without a lock: they are set before other threads use the library.
Procedures gProcedures;
UnicodeUtil::CompareProc gCompare = UnicodeUtil::DefaultCompareProc;
std::optional<lexkit::EncodingInfo> gDefaultEncoding;

void throwUnlessDone(std::int32_t status)
{
    if (status != 0)
        throw LXErrException(status);
}

} // namespace

void UnicodeUtil::SetConversionProcs(ToUnicodeSizeProc toUnicodeSize,
    ConvertToUnicodeProc convertToUnicode,
    FromUnicodeSizeProc fromUnicodeSize,
    ConvertFromUnicodeProc convertFromUnicode)
{
    const Procedures defaults;
    // Each falls back by itself, so that a caller may replace one direction only.
    gProcedures = {toUnicodeSize ? toUnicodeSize : defaults.toUnicodeSize,
        convertToUnicode ? convertToUnicode : defaults.convertToUnicode,
        fromUnicodeSize ? fromUnicodeSize : defaults.fromUnicodeSize,
        convertFromUnicode ? convertFromUnicode : defaults.convertFromUnicode};
}

bool UnicodeUtil::UsingDefaultConverters()
{
    return gProcedures == Procedures();
}

void UnicodeUtil::SetCompareProc(CompareProc compare)
{
    gCompare = compare ? compare : DefaultCompareProc;
}

void UnicodeUtil::SetDefaultEncoding(const lexkit::EncodingInfo* encoding)
{
    gDefaultEncoding = encoding ? std::optional(*encoding) : std::nullopt;
}

const lexkit::EncodingInfo* UnicodeUtil::GetDefaultEncoding()
{
    return gDefaultEncoding ? &*gDefaultEncoding : nullptr;
}

const lexkit::EncodingInfo* UnicodeUtil::CheckForDefaultEncoding(
    const lexkit::EncodingInfo* encoding)
{
    return encoding ? encoding : GetDefaultEncoding();
}

long UnicodeUtil::Compare(const unsigned short* left,
    unsigned long leftCount,
    const unsigned short* right,
    unsigned long rightCount)
{
    return gCompare(left, leftCount, right, rightCount);
}

long UnicodeUtil::DefaultCompareProc(const unsigned short* left,
    unsigned long leftCount,
    const unsigned short* right,
    unsigned long rightCount)
{
    const unsigned long both = std::min(leftCount, rightCount);
    for (unsigned long at = 0; at < both; ++at)
        if (left[at] != right[at])
            return long{left[at]} - long{right[at]};
    return static_cast<long>(leftCount) - static_cast<long>(rightCount);
}

unsigned long UnicodeUtil::StringLength(const unsigned short* terminated)
{
    unsigned long length = 0;
    while (terminated[length] != 0)
        ++length;
    return length;
}

bool UnicodeUtil::StringToInteger(const unsigned short* units, unsigned long count, long& value)
{
    value = 0;
    if (count == 0)
        return false;
    // Only the ASCII signs: others count as something that is no digit.
    const bool isNegative = units[0] == u'-';
    const unsigned long start = isNegative || units[0] == u'+' ? 1 : 0;
    // Unsigned, because a number that is too large wraps around, which is defined for this type
    // alone.
    unsigned long magnitude = 0;
    bool areAllDigits = true;
    for (unsigned long at = start; at < count; ++at) {
        const unsigned char digit = UnicodeChar::GetDecimalDigit(units[at]);
        if (digit == UnicodeChar::kNoDigit)
            areAllDigits = false;
        else
            magnitude = magnitude * 10 + digit;
    }
    value = static_cast<long>(isNegative ? 0 - magnitude : magnitude);
    return areAllDigits;
}

unsigned long UnicodeUtil::ToUnicodeSize(
    const unsigned char* bytes, unsigned long count, const lexkit::EncodingInfo* encoding)
{
    unsigned long size = 0;
    throwUnlessDone(
        gProcedures.toUnicodeSize(bytes, count, &size, CheckForDefaultEncoding(encoding)));
    return size;
}

void UnicodeUtil::StringToUnicode(const unsigned char* bytes,
    unsigned long count,
    Buffer<unsigned short>& out,
    const lexkit::EncodingInfo* encoding)
{
    // Measured first: the procedures write into a room of known size and cannot make it grow.
    const unsigned long size = ToUnicodeSize(bytes, count, encoding);
    out.Clear();
    out.Grow(size);
    const std::int32_t status = gProcedures.convertToUnicode(
        bytes, count, out.GetData(), size, CheckForDefaultEncoding(encoding));
    out.SetCount(size);
    throwUnlessDone(status);
}

unsigned long UnicodeUtil::FromUnicodeSize(
    const unsigned short* units, unsigned long count, const lexkit::EncodingInfo* encoding)
{
    unsigned long size = 0;
    throwUnlessDone(
        gProcedures.fromUnicodeSize(units, count, &size, CheckForDefaultEncoding(encoding)));
    return size;
}

unsigned long UnicodeUtil::UnicodeToCString(const unsigned short* units,
    unsigned long count,
    char* buffer,
    unsigned long size,
    const lexkit::EncodingInfo* encoding)
{
    if (!buffer || size == 0)
        throw LXErrException(LXErrException::kBufferTooSmall);
    unsigned long written = 0;
    const std::int32_t status = gProcedures.convertFromUnicode(units,
        count,
        reinterpret_cast<unsigned char*>(buffer),
        size - 1,
        &written,
        CheckForDefaultEncoding(encoding));
    buffer[written] = 0;
    // Terminated before a failure is thrown: the text that fits is there for callers that ignore
    // it.
    throwUnlessDone(status);
    return written;
}

unsigned long UnicodeUtil::UnicodeToPascalString(const unsigned short* units,
    unsigned long count,
    unsigned char* buffer,
    unsigned long size,
    const lexkit::EncodingInfo* encoding)
{
    if (!buffer || size == 0)
        throw LXErrException(LXErrException::kBufferTooSmall);
    unsigned long written = 0;
    const std::int32_t status = gProcedures.convertFromUnicode(units,
        count,
        buffer + 1,
        std::min(size - 1, kMaxPascalStringLength),
        &written,
        CheckForDefaultEncoding(encoding));
    buffer[0] = static_cast<unsigned char>(written);
    throwUnlessDone(status);
    return written;
}

} // namespace lexkit_private

void lexkit::SetDefaultEncoding(const EncodingInfo* encoding)
{
    lexkit_private::UnicodeUtil::SetDefaultEncoding(encoding);
}
