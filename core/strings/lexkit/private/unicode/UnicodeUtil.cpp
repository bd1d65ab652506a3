#include "lexkit/private/unicode/UnicodeUtil.h"

#include "lexkit/LXErrException.h"
#include "lexkit/private/unicode/UnicodeChar.h"
#include "lexkit/private/unicode/UnicodeConversion.h"

#include <algorithm>
#include <optional>

namespace lexkit_private {

namespace {

constexpr unsigned long kLongestPascalString = 255;

struct Procedures {
    UnicodeUtil::ToUnicodeSizeProc toUnicodeSize = UnicodeConversion::ToUnicodeSize;
    UnicodeUtil::ConvertToUnicodeProc convertToUnicode = UnicodeConversion::ConvertToUnicode;
    UnicodeUtil::FromUnicodeSizeProc fromUnicodeSize = UnicodeConversion::FromUnicodeSize;
    UnicodeUtil::ConvertFromUnicodeProc convertFromUnicode = UnicodeConversion::ConvertFromUnicode;

    bool operator==(Procedures const&) const = default;
};

Procedures g_procedures;
UnicodeUtil::CompareProc g_compare = UnicodeUtil::DefaultCompareProc;
std::optional<lexkit::EncodingInfo> g_defaultEncoding;

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
    Procedures const defaults;
    g_procedures = {toUnicodeSize ? toUnicodeSize : defaults.toUnicodeSize,
        convertToUnicode ? convertToUnicode : defaults.convertToUnicode,
        fromUnicodeSize ? fromUnicodeSize : defaults.fromUnicodeSize,
        convertFromUnicode ? convertFromUnicode : defaults.convertFromUnicode};
}

bool UnicodeUtil::UsingDefaultConverters()
{
    return g_procedures == Procedures();
}

void UnicodeUtil::SetCompareProc(CompareProc compare)
{
    g_compare = compare ? compare : DefaultCompareProc;
}

void UnicodeUtil::SetDefaultEncoding(lexkit::EncodingInfo const* encoding)
{
    g_defaultEncoding = encoding ? std::optional(*encoding) : std::nullopt;
}

lexkit::EncodingInfo const* UnicodeUtil::GetDefaultEncoding()
{
    return g_defaultEncoding ? &*g_defaultEncoding : nullptr;
}

lexkit::EncodingInfo const* UnicodeUtil::CheckForDefaultEncoding(
    lexkit::EncodingInfo const* encoding)
{
    return encoding ? encoding : GetDefaultEncoding();
}

long UnicodeUtil::Compare(unsigned short const* left,
    unsigned long leftCount,
    unsigned short const* right,
    unsigned long rightCount)
{
    return g_compare(left, leftCount, right, rightCount);
}

long UnicodeUtil::DefaultCompareProc(unsigned short const* left,
    unsigned long leftCount,
    unsigned short const* right,
    unsigned long rightCount)
{
    unsigned long const both = std::min(leftCount, rightCount);
    for (unsigned long at = 0; at < both; ++at) {
        if (left[at] != right[at])
            return long{left[at]} - long{right[at]};
    }
    return static_cast<long>(leftCount) - static_cast<long>(rightCount);
}

unsigned long UnicodeUtil::StringLength(unsigned short const* terminated)
{
    unsigned long length = 0;
    while (terminated[length] != 0)
        ++length;
    return length;
}

bool UnicodeUtil::StringToInteger(unsigned short const* units, unsigned long count, long& value)
{
    value = 0;
    if (count == 0)
        return false;
    bool const isNegative = units[0] == u'-';
    unsigned long const start = isNegative || units[0] == u'+' ? 1 : 0;
    unsigned long magnitude = 0;
    bool areAllDigits = true;
    for (unsigned long at = start; at < count; ++at) {
        unsigned char const digit = UnicodeChar::GetDecimalDigit(units[at]);
        if (digit == UnicodeChar::kNoDigit)
            areAllDigits = false;
        else
            magnitude = magnitude * 10 + digit;
    }
    value = static_cast<long>(isNegative ? 0 - magnitude : magnitude);
    return areAllDigits;
}

unsigned long UnicodeUtil::ToUnicodeSize(
    unsigned char const* bytes, unsigned long count, lexkit::EncodingInfo const* encoding)
{
    unsigned long size = 0;
    throwUnlessDone(
        g_procedures.toUnicodeSize(bytes, count, &size, CheckForDefaultEncoding(encoding)));
    return size;
}

void UnicodeUtil::StringToUnicode(unsigned char const* bytes,
    unsigned long count,
    Buffer<unsigned short>& out,
    lexkit::EncodingInfo const* encoding)
{
    unsigned long const size = ToUnicodeSize(bytes, count, encoding);
    out.Clear();
    out.Grow(size);
    std::int32_t const status = g_procedures.convertToUnicode(
        bytes, count, out.GetData(), size, CheckForDefaultEncoding(encoding));
    out.SetCount(size);
    throwUnlessDone(status);
}

unsigned long UnicodeUtil::FromUnicodeSize(
    unsigned short const* units, unsigned long count, lexkit::EncodingInfo const* encoding)
{
    unsigned long size = 0;
    throwUnlessDone(
        g_procedures.fromUnicodeSize(units, count, &size, CheckForDefaultEncoding(encoding)));
    return size;
}

unsigned long UnicodeUtil::UnicodeToCString(unsigned short const* units,
    unsigned long count,
    char* buffer,
    unsigned long size,
    lexkit::EncodingInfo const* encoding)
{
    if (!buffer || size == 0)
        throw LXErrException(LXErrException::kBufferTooSmall);
    unsigned long written = 0;
    std::int32_t const status = g_procedures.convertFromUnicode(units,
        count,
        reinterpret_cast<unsigned char*>(buffer),
        size - 1,
        &written,
        CheckForDefaultEncoding(encoding));
    buffer[written] = 0;
    throwUnlessDone(status);
    return written;
}

unsigned long UnicodeUtil::UnicodeToPascalString(unsigned short const* units,
    unsigned long count,
    unsigned char* buffer,
    unsigned long size,
    lexkit::EncodingInfo const* encoding)
{
    if (!buffer || size == 0)
        throw LXErrException(LXErrException::kBufferTooSmall);
    unsigned long written = 0;
    std::int32_t const status = g_procedures.convertFromUnicode(units,
        count,
        buffer + 1,
        std::min(size - 1, kLongestPascalString),
        &written,
        CheckForDefaultEncoding(encoding));
    buffer[0] = static_cast<unsigned char>(written);
    throwUnlessDone(status);
    return written;
}

} // namespace lexkit_private

void lexkit::SetDefaultEncoding(EncodingInfo const* encoding)
{
    lexkit_private::UnicodeUtil::SetDefaultEncoding(encoding);
}
