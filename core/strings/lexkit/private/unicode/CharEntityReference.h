// Character references of values: "#{" name "}", or "#{" with "U+", "u" or nothing and up to four
// hexadecimal digits. Pure functions: any thread.
#pragma once

namespace lexkit_private {

// A row of the table of names. Comparison goes by the stored length, which of four rows is not
// that of the name: those behave as they always did.
struct CharEntityReference {
    unsigned long length;
    const char* name;
    unsigned short value;
};

// What a text begins with, and how many of its units that takes; 0 when it is no reference.
struct CharReference {
    unsigned short value = 0;
    unsigned long consumed = 0;
};

// The row whose name the text begins with, the first in the order of the table; null for none.
const CharEntityReference* FindCharEntityReferencePair(
    const unsigned short* text, unsigned long length);

// The same for prefix and digits; false when there is no digit.
bool FindCharEntityReferencePairCharByCodePoint(const unsigned short* text,
    unsigned long length,
    unsigned short* value,
    unsigned long* consumed);

// The whole reference that the text begins with. Requires: length > 0 and text[0] is "#".
CharReference referenceAt(const unsigned short* text, unsigned long length);

} // namespace lexkit_private
