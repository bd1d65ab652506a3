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
    ZString(const unsigned short* units, unsigned long length);
    ZString(const unsigned char* bytes, unsigned long length, const lexkit::EncodingInfo* encoding);
    ZString(const char* literal, unsigned long dictionaryId, const lexkit::EncodingInfo* encoding);
    explicit ZString(long number);

    long CompareTo(const ZString& other) const;
    bool operator==(const ZString& other) const { return CompareTo(other) == 0; }
    bool operator!=(const ZString& other) const { return CompareTo(other) != 0; }
    bool operator<(const ZString& other) const { return CompareTo(other) < 0; }
    bool operator<=(const ZString& other) const { return CompareTo(other) <= 0; }
    bool operator>(const ZString& other) const { return CompareTo(other) > 0; }
    bool operator>=(const ZString& other) const { return CompareTo(other) >= 0; }

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
    void Replace(unsigned char digit, const ZString& with);

    // Throws LXErrException (bad parameter) for null and for a text without a sound value.
    static void Validate(const ZString* text);

    void BackDoorMakeFromUnicode(const unsigned short* units, unsigned long length);
    void BackDoorAssignUnicode(const unsigned short* terminated);
    void BackDoorMakeFromCString(
        const char* text, unsigned long length, const lexkit::EncodingInfo* encoding);
    void BackDoorAssignCString(const char* terminated, const lexkit::EncodingInfo* encoding);
    void BackDoorMakeFromPascalString(
        const unsigned char* text, unsigned long length, const lexkit::EncodingInfo* encoding);
    void BackDoorAssignPascalString(
        const unsigned char* text, const lexkit::EncodingInfo* encoding);
    unsigned long BackDoorGetUnicodeSize() const { return GetLength() + 1; }
    void BackDoorGetUnicode(unsigned short* buffer, unsigned long size, bool throwIfSmall) const;
    unsigned long BackDoorGetCStringSize(const lexkit::EncodingInfo* encoding) const;
    unsigned long BackDoorGetPascalStringSize(const lexkit::EncodingInfo* encoding) const;
    void BackDoorGetCString(char* buffer,
        unsigned long size,
        bool throwIfSmall,
        const lexkit::EncodingInfo* encoding) const;
    void BackDoorGetPascalString(unsigned char* buffer,
        unsigned long size,
        bool throwIfSmall,
        const lexkit::EncodingInfo* encoding) const;
    void BackDoorGetInternalData(const unsigned short** units, unsigned long* length) const;

private:
    void cut(unsigned long start, unsigned long end);
    void exchangeUnits(unsigned short from, unsigned short to);
};

} // namespace lexkit_private
