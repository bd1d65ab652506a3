// A text for users: an immutable run of UTF-16 units, shared between copies, with the operations
// that texts of menus and messages need. Operations that change give this object a new text and
// leave its copies alone.
//
// An object and its copies belong to one thread at a time. A moved-from object has no text: assign
// to it or destroy it; any other use but Validate ends the process. Lengths count units, sizes
// include the terminator.
#pragma once

#include "lexkit/EncodingInfo.h"
#include "lexkit/Export.h"
#include "lexkit/LXErrException.h"

namespace lexkit_private {
class UnicodeRun;
class ZString;
} // namespace lexkit_private

namespace lexkit {

class LEXKIT_EXPORT ZString {
public:
    ZString();
    ZString(const unsigned short* units, unsigned long length);
    ZString(const unsigned char* bytes, unsigned long length, const EncodingInfo* encoding);
    // The text that the dictionary with that id has for the literal "$$$/Key=Default".
    ZString(const char* literal, unsigned long dictionaryId, const EncodingInfo* encoding);
    // The decimal text of the number.
    explicit ZString(long number);
    ZString(const ZString& other);
    ZString(ZString&& other) noexcept;
    ~ZString();
    ZString& operator=(const ZString& other);
    ZString& operator=(ZString&& other) noexcept;

    // Negative, 0 or positive. Compares code units, not by the rules of a language.
    long CompareTo(const ZString& other) const;
    bool operator==(const ZString& other) const { return CompareTo(other) == 0; }
    bool operator!=(const ZString& other) const { return CompareTo(other) != 0; }
    bool operator<(const ZString& other) const { return CompareTo(other) < 0; }
    bool operator<=(const ZString& other) const { return CompareTo(other) <= 0; }
    bool operator>(const ZString& other) const { return CompareTo(other) > 0; }
    bool operator>=(const ZString& other) const { return CompareTo(other) >= 0; }

    bool IsEmpty() const;
    bool IsAllWhiteSpace() const; // true for the empty text
    void Clear();

    // Reads an ASCII sign and digits of any script. Other characters are skipped and make the
    // result false; so does the empty text.
    bool ToInteger(long& value) const;

    void TrimBlanks(); // U+0020 alone, at both ends
    void TrimEllipsis(); // one U+2026 or three full stops at the end
    void EllipsisToHostEllipsis(); // nothing to do on this system
    bool RemoveExtension(); // from the last full stop on; false without one
    void RemoveAccelerators(); // "&File" is "File", "a&&b" is "a&b", "Save (&S)" is "Save "
    void RemoveBadFilenameCharacters(); // ":" becomes "-"
    void ChangeNewLineCharacter(); // LF becomes CR

    // Placeholders: "^" and a digit.
    bool WillReplace(unsigned char digit) const;
    void Replace(unsigned char digit, const ZString& with);

    // Throws LXErrException (bad parameter) if the object has no valid text.
    void Validate() const;

    void MakeFromUnicode(const unsigned short* units, unsigned long length);
    void AssignUnicode(const unsigned short* terminated);
    void MakeFromCString(const char* text, unsigned long length, const EncodingInfo* encoding);
    void AssignCString(const char* terminated, const EncodingInfo* encoding);
    // The bytes start behind the length byte at `text`.
    void MakeFromPascalString(
        const unsigned char* text, unsigned long length, const EncodingInfo* encoding);
    void AssignPascalString(const unsigned char* text, const EncodingInfo* encoding);

    // Room for the text and its terminator, in units; for the empty text 1.
    unsigned long GetUnicodeSize() const;
    // Truncates to fit, and then throws LXErrException (buffer too small) if asked to.
    void GetUnicode(unsigned short* buffer, unsigned long size, bool throwIfSmall) const;

    // In bytes, with the terminator or the length byte.
    unsigned long GetCStringSize(const EncodingInfo* encoding) const;
    unsigned long GetPascalStringSize(const EncodingInfo* encoding) const;
    // The same, truncated at a whole character. A null buffer counts as too small.
    void GetCString(
        char* buffer, unsigned long size, bool throwIfSmall, const EncodingInfo* encoding) const;
    // At most 255 bytes behind the length byte, no terminator.
    void GetPascalString(unsigned char* buffer,
        unsigned long size,
        bool throwIfSmall,
        const EncodingInfo* encoding) const;

    // The text itself, without terminator; null when it is empty. Valid until this object changes.
    void GetInternalData(const unsigned short** units, unsigned long* length) const;

private:
    friend class Dictionary;

    explicit ZString(lexkit_private::UnicodeRun&& run);

    lexkit_private::ZString* m_text;
};

} // namespace lexkit
