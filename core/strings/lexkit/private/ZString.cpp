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

UnicodeRun decoded(void const* bytes, unsigned long length, lexkit::EncodingInfo const* encoding)
{
    if (length == 0)
        return {};
    Buffer<unsigned short> units(0);
    UnicodeUtil::StringToUnicode(static_cast<unsigned char const*>(bytes), length, units, encoding);
    return {units.GetData(), units.GetCount()};
}

UnicodeRun copied(unsigned short const* units, unsigned long length)
{
    return length > 0 ? UnicodeRun(units, length) : UnicodeRun();
}

// Lets pass what is no complaint about a small buffer, and that one when it is wanted.
template <typename ReadOut>
void readOut(bool throwIfSmall, ReadOut operation)
{
    try {
        operation();
    } catch (LXErrException const& error) {
        if (throwIfSmall || error.code() != LXErrException::kBufferTooSmall)
            throw;
    }
}

} // namespace

ZString::ZString(unsigned short const* units, unsigned long length)
    : ZString(copied(units, length))
{
}

ZString::ZString(
    unsigned char const* bytes, unsigned long length, lexkit::EncodingInfo const* encoding)
    : ZString(decoded(bytes, length, encoding))
{
}

ZString::ZString(
    char const* literal, unsigned long dictionaryId, lexkit::EncodingInfo const* encoding)
    : ZString(Dictionary::Lookup(literal, dictionaryId, encoding))
{
}

ZString::ZString(long number)
{
    std::string const digits = std::to_string(number);
    *this = ZString(decoded(digits.data(), digits.size(), nullptr));
}

long ZString::CompareTo(ZString const& other) const
{
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

void ZString::Validate(ZString const* text)
{
    ByteRunValue::ValidatePointer(text ? text->Get() : nullptr);
}

void ZString::BackDoorMakeFromUnicode(unsigned short const* units, unsigned long length)
{
    *this = ZString(units, length);
}

void ZString::BackDoorAssignUnicode(unsigned short const* terminated)
{
    BackDoorMakeFromUnicode(terminated, UnicodeUtil::StringLength(terminated));
}

void ZString::BackDoorMakeFromCString(
    char const* text, unsigned long length, lexkit::EncodingInfo const* encoding)
{
    *this = ZString(decoded(text, length, encoding));
}

void ZString::BackDoorAssignCString(char const* terminated, lexkit::EncodingInfo const* encoding)
{
    BackDoorMakeFromCString(terminated, std::strlen(terminated), encoding);
}

void ZString::BackDoorMakeFromPascalString(
    unsigned char const* text, unsigned long length, lexkit::EncodingInfo const* encoding)
{
    *this = ZString(decoded(text + 1, length, encoding));
}

void ZString::BackDoorAssignPascalString(
    unsigned char const* text, lexkit::EncodingInfo const* encoding)
{
    BackDoorMakeFromPascalString(text, text[0], encoding);
}

void ZString::BackDoorGetUnicode(
    unsigned short* buffer, unsigned long size, bool throwIfSmall) const
{
    unsigned long const needed = BackDoorGetUnicodeSize();
    if (buffer && size > 0) {
        unsigned long const count = std::min(needed, size) - 1;
        std::copy_n(GetUnits(), count, buffer);
        buffer[count] = 0;
    }
    if (throwIfSmall && (!buffer || needed > size))
        throw LXErrException(LXErrException::kBufferTooSmall);
}

unsigned long ZString::BackDoorGetCStringSize(lexkit::EncodingInfo const* encoding) const
{
    return UnicodeUtil::FromUnicodeSize(GetUnits(), GetLength(), encoding);
}

unsigned long ZString::BackDoorGetPascalStringSize(lexkit::EncodingInfo const* encoding) const
{
    return BackDoorGetCStringSize(encoding);
}

void ZString::BackDoorGetCString(
    char* buffer, unsigned long size, bool throwIfSmall, lexkit::EncodingInfo const* encoding) const
{
    readOut(throwIfSmall,
        [&] { UnicodeUtil::UnicodeToCString(GetUnits(), GetLength(), buffer, size, encoding); });
}

void ZString::BackDoorGetPascalString(unsigned char* buffer,
    unsigned long size,
    bool throwIfSmall,
    lexkit::EncodingInfo const* encoding) const
{
    readOut(throwIfSmall, [&] {
        UnicodeUtil::UnicodeToPascalString(GetUnits(), GetLength(), buffer, size, encoding);
    });
}

void ZString::BackDoorGetInternalData(unsigned short const** units, unsigned long* length) const
{
    *units = GetUnits();
    *length = GetLength();
}

} // namespace lexkit_private
