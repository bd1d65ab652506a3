// What a text is made of and how it is read out. Its operations on words are in ZStringEditing.cpp.

#include "lexkit/private/ZString.h"

#include "lexkit/LXErrException.h"
#include "lexkit/private/Dictionary.h"
#include "lexkit/private/unicode/UnicodeChar.h"
#include "lexkit/private/unicode/UnicodeUtil.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace lexkit_private {

namespace {

UnicodeRun decoded(const void* bytes, unsigned long length, const lexkit::EncodingInfo* encoding)
{
    // All empty texts share one value.
    if (length == 0)
        return {};
    Buffer<unsigned short> units(0);
    UnicodeUtil::StringToUnicode(static_cast<const unsigned char*>(bytes), length, units, encoding);
    return {units.GetData(), units.GetCount()};
}

UnicodeRun copied(const unsigned short* units, unsigned long length)
{
    return length > 0 ? UnicodeRun(units, length) : UnicodeRun();
}

// Lets pass what is no complaint about a small buffer, and that one when it is wanted.
template <typename ReadOut>
void readOut(bool throwIfSmall, ReadOut operation)
{
    try {
        operation();
    } catch (const LXErrException& error) {
        if (throwIfSmall || error.code() != LXErrException::kBufferTooSmall)
            throw;
    }
}

} // namespace

ZString::ZString(const unsigned short* units, unsigned long length)
    : ZString(copied(units, length))
{
}

ZString::ZString(
    const unsigned char* bytes, unsigned long length, const lexkit::EncodingInfo* encoding)
    : ZString(decoded(bytes, length, encoding))
{
}

ZString::ZString(
    const char* literal, unsigned long dictionaryId, const lexkit::EncodingInfo* encoding)
    : ZString(Dictionary::Lookup(literal, dictionaryId, encoding))
{
}

ZString::ZString(long number)
{
    // Digits and the minus sign are ASCII, which every encoding of a locale reads the same way.
    const std::string digits = std::to_string(number);
    *this = ZString(decoded(digits.data(), digits.size(), nullptr));
}

long ZString::CompareTo(const ZString& other) const
{
    // Copies share their units: no need to compare them.
    if (UnicodeRun::operator==(other))
        return 0;
    return UnicodeUtil::Compare(GetUnits(), GetLength(), other.GetUnits(), other.GetLength());
}

bool ZString::IsAllWhiteSpace() const
{
    return std::all_of(GetUnits(), GetUnits() + GetLength(), UnicodeChar::IsWhiteSpace);
}

bool ZString::ToInteger(long& value) const
{
    return UnicodeUtil::StringToInteger(GetUnits(), GetLength(), value);
}

void ZString::Validate(const ZString* text)
{
    ByteRunValue::ValidatePointer(text ? text->Get() : nullptr);
}

void ZString::BackDoorMakeFromUnicode(const unsigned short* units, unsigned long length)
{
    *this = ZString(units, length);
}

void ZString::BackDoorAssignUnicode(const unsigned short* terminated)
{
    BackDoorMakeFromUnicode(terminated, UnicodeUtil::StringLength(terminated));
}

void ZString::BackDoorMakeFromCString(
    const char* text, unsigned long length, const lexkit::EncodingInfo* encoding)
{
    *this = ZString(decoded(text, length, encoding));
}

void ZString::BackDoorAssignCString(const char* terminated, const lexkit::EncodingInfo* encoding)
{
    BackDoorMakeFromCString(terminated, std::strlen(terminated), encoding);
}

void ZString::BackDoorMakeFromPascalString(
    const unsigned char* text, unsigned long length, const lexkit::EncodingInfo* encoding)
{
    // The length is the caller's, not that of the length byte, on purpose: that is how the public
    // function is described.
    *this = ZString(decoded(text + 1, length, encoding));
}

void ZString::BackDoorAssignPascalString(
    const unsigned char* text, const lexkit::EncodingInfo* encoding)
{
    BackDoorMakeFromPascalString(text, text[0], encoding);
}

void ZString::BackDoorGetUnicode(
    unsigned short* buffer, unsigned long size, bool throwIfSmall) const
{
    const unsigned long needed = BackDoorGetUnicodeSize();
    // What fits is written even when the exception follows.
    if (buffer && size > 0) {
        const unsigned long count = std::min(needed, size) - 1;
        std::copy_n(GetUnits(), count, buffer);
        buffer[count] = 0;
    }
    if (throwIfSmall && (!buffer || needed > size))
        throw LXErrException(LXErrException::kBufferTooSmall);
}

unsigned long ZString::BackDoorGetCStringSize(const lexkit::EncodingInfo* encoding) const
{
    return UnicodeUtil::FromUnicodeSize(GetUnits(), GetLength(), encoding);
}

unsigned long ZString::BackDoorGetPascalStringSize(const lexkit::EncodingInfo* encoding) const
{
    // The length byte takes the place of the terminator.
    return BackDoorGetCStringSize(encoding);
}

void ZString::BackDoorGetCString(
    char* buffer, unsigned long size, bool throwIfSmall, const lexkit::EncodingInfo* encoding) const
{
    readOut(throwIfSmall,
        [&] { UnicodeUtil::UnicodeToCString(GetUnits(), GetLength(), buffer, size, encoding); });
}

void ZString::BackDoorGetPascalString(unsigned char* buffer,
    unsigned long size,
    bool throwIfSmall,
    const lexkit::EncodingInfo* encoding) const
{
    readOut(throwIfSmall, [&] {
        UnicodeUtil::UnicodeToPascalString(GetUnits(), GetLength(), buffer, size, encoding);
    });
}

void ZString::BackDoorGetInternalData(const unsigned short** units, unsigned long* length) const
{
    // Not terminated: the units are the bytes of the value itself, which has no room for a
    // terminator.
    *units = GetUnits();
    *length = GetLength();
}

} // namespace lexkit_private
