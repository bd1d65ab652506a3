// The text behind the public handle, where each operation is described. Operations that change
// make a new run; copies share the old one.
#pragma once

#include "lexkit/private/unicode/UnicodeRun.h"

namespace lexkit_private {

class ZString : public UnicodeRun {
public:
    ZString() = default;
    explicit ZString(UnicodeRun run)
        : UnicodeRun(std::move(run))
    {
    }
    ZString(unsigned short const* units, unsigned long length);
    ZString(unsigned char const* bytes, unsigned long length, lexkit::EncodingInfo const* encoding);
    ZString(char const* literal, unsigned long dictionaryId, lexkit::EncodingInfo const* encoding);
    explicit ZString(long number);

    long CompareTo(ZString const& other) const;
    bool operator==(ZString const& other) const { return CompareTo(other) == 0; }
    bool operator!=(ZString const& other) const { return CompareTo(other) != 0; }
    bool operator<(ZString const& other) const { return CompareTo(other) < 0; }
    bool operator<=(ZString const& other) const { return CompareTo(other) <= 0; }
    bool operator>(ZString const& other) const { return CompareTo(other) > 0; }
    bool operator>=(ZString const& other) const { return CompareTo(other) >= 0; }

    bool IsAllWhiteSpace() const;
    bool ToInteger(long& value) const;
    void TrimBlanks();
    void TrimEllipsis();
    void EllipsisToHostEllipsis();
    bool RemoveExtension();
    void RemoveAccelerators();
    void RemoveBadFilenameCharacters();
    void ChangeNewLineCharacter();

    static unsigned short DigitCharacter(unsigned char digit)
    {
        return static_cast<unsigned short>(digit + u'0');
    }
    unsigned long CountHatOccurrences(unsigned short c) const;
    bool WillReplace(unsigned char digit) const;
    void Replace(unsigned char digit, ZString const& with);

    // Throws LXErrException (bad parameter) for null and for a text without a sound value.
    static void Validate(ZString const* text);

    void BackDoorMakeFromUnicode(unsigned short const* units, unsigned long length);
    void BackDoorAssignUnicode(unsigned short const* terminated);
    void BackDoorMakeFromCString(
        char const* text, unsigned long length, lexkit::EncodingInfo const* encoding);
    void BackDoorAssignCString(char const* terminated, lexkit::EncodingInfo const* encoding);
    void BackDoorMakeFromPascalString(
        unsigned char const* text, unsigned long length, lexkit::EncodingInfo const* encoding);
    void BackDoorAssignPascalString(
        unsigned char const* text, lexkit::EncodingInfo const* encoding);
    unsigned long BackDoorGetUnicodeSize() const { return GetLength() + 1; }
    void BackDoorGetUnicode(unsigned short* buffer, unsigned long size, bool throwIfSmall) const;
    unsigned long BackDoorGetCStringSize(lexkit::EncodingInfo const* encoding) const;
    unsigned long BackDoorGetPascalStringSize(lexkit::EncodingInfo const* encoding) const;
    void BackDoorGetCString(char* buffer,
        unsigned long size,
        bool throwIfSmall,
        lexkit::EncodingInfo const* encoding) const;
    void BackDoorGetPascalString(unsigned char* buffer,
        unsigned long size,
        bool throwIfSmall,
        lexkit::EncodingInfo const* encoding) const;
    void BackDoorGetInternalData(unsigned short const** units, unsigned long* length) const;

private:
    void cut(unsigned long start, unsigned long end);
    void exchangeUnits(unsigned short from, unsigned short to);
};

} // namespace lexkit_private
