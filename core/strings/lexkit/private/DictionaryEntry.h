// An entry of a dictionary: a key and its value, which is final text. Entries that tables hold are
// made by Make, with the key's bytes in the entry's own block of memory.
//
// The escapes of values belong here too: "^" and "\" with one character behind them in a first
// pass, "#{...}" in a second one. docs/dictionaries.md lists them.
#pragma once

#include "lexkit/private/ByteRunKey.h"
#include "lexkit/private/unicode/UnicodeRun.h"

#include <cstddef>
#include <memory>

namespace lexkit_private {

// A row of a table of escapes, which ends with a row of zeros.
struct EscapeTableEntry {
    unsigned short escape;
    unsigned short replacement;
};

class DictionaryEntry final : public ByteRunKey {
public:
    // Converts the escapes of the value's units.
    DictionaryEntry(const ByteRunKey& key, const unsigned short* value, unsigned long length);
    // Takes the value as it is.
    DictionaryEntry(const ByteRunKey& key, UnicodeRun value);

    // As the second constructor, in one block of memory.
    static std::unique_ptr<DictionaryEntry> Make(const ByteRunKey& key, UnicodeRun value);

    static void* operator new(std::size_t size) { return ::operator new(size); }
    static void operator delete(void* memory) { ::operator delete(memory); }

    const UnicodeRun& GetValue() const { return m_value; }

    // In text form: the value with do_escapes, quote mark, line feed.
    unsigned long SerializeValue(
        std::ostream& stream, bool binary, const lexkit::EncodingInfo* encoding) const override;

    // Both passes. A run without escapes comes back as it is.
    static UnicodeRun ConvertEscapeSequences(const unsigned short* text, unsigned long length);
    static UnicodeRun ConvertEscapeSequences(UnicodeRun text);
    // The second pass alone.
    static UnicodeRun ConvertEscapeSequencesISO(const unsigned short* text, unsigned long length);
    static UnicodeRun ConvertEscapeSequencesISO(const UnicodeRun& text);
    // 0 when the table has no such escape.
    static unsigned short LookupEscape(const EscapeTableEntry* table, unsigned short c);

private:
    struct KeyBytes {
        std::size_t count;
    };
    struct InOneBlock { };

    DictionaryEntry(const ByteRunKey& key, UnicodeRun value, InOneBlock);

    static void* operator new(std::size_t size, KeyBytes key)
    {
        return ::operator new(size + key.count);
    }
    static void operator delete(void* memory, KeyBytes) { ::operator delete(memory); }

    UnicodeRun m_value;
};

// Spells CR, LF and the quote mark with a backslash, for the text form. Null, with the length left
// alone, when there is nothing to spell. Backslash, "^" and "#" stay: a value with them may come
// back as another.
std::unique_ptr<unsigned short[]> do_escapes(const unsigned short* text, unsigned long& length);

} // namespace lexkit_private
