// The two passes that turn the escapes of a value into the characters that they stand for.

#include "lexkit/Dictionary.h"
#include "lexkit/private/DictionaryEntry.h"
#include "lexkit/private/unicode/CharEntityReference.h"

#include <algorithm>
#include <array>
#include <vector>

namespace lexkit {

bool EnableZQHatEscapes = false;

} // namespace lexkit

namespace lexkit_private {

namespace {

// A doubled backslash has no row: convertPrefixed turns any doubled prefix into a single one.
constexpr std::array<EscapeTableEntry, 6> sBackslashEscapeTable{{
    {u'"', u'"'},
    {u'n', u'\n'},
    {u'r', u'\r'},
    {u't', u'\t'},
    {u'b', u'\b'},
    {0, 0},
}};

// No digits: "^0" to "^9" are placeholders, and stay until Replace gets them.
constexpr std::array<EscapeTableEntry, 18> HatEscapeTable{{
    {u'e', 0x00E9},
    {u'Q', u'"'},
    {u'[', 0x201C},
    {u']', 0x201D},
    {u'{', 0x2018},
    {u'}', 0x2019},
    {u'C', 0x00A9},
    {u'R', 0x00AE},
    {u'T', 0x2122},
    {u'D', 0x00B0},
    {u'B', 0x2022},
    {u'#', 0x2318},
    {u'!', 0x00AC},
    {u'I', 0x2206},
    {u'S', 0x2211},
    {u'n', u'\n'},
    {u'r', u'\r'},
    {0, 0},
}};

// Two tables that differ by the first row alone.
constexpr const EscapeTableEntry* ZQHatEscapeTable = HatEscapeTable.data();
constexpr const EscapeTableEntry* LXGHatEscapeTable = HatEscapeTable.data() + 1;

// The one in use, chosen by the first conversion.
const EscapeTableEntry* hatEscapeTable()
{
    static const EscapeTableEntry* const sHatEscapeTable =
        lexkit::EnableZQHatEscapes ? ZQHatEscapeTable : LXGHatEscapeTable;
    return sHatEscapeTable;
}

// Looks at every unit without a way out, which compilers turn into a few wide instructions.
bool hasEscapes(const unsigned short* text, unsigned long length)
{
    unsigned int found = 0;
    for (unsigned long at = 0; at < length; ++at)
        found |=
            static_cast<unsigned int>(text[at] == u'^') | (text[at] == u'\\') | (text[at] == u'#');
    return found != 0;
}

// First pass: the output is never longer than the input.
std::vector<unsigned short> convertPrefixed(const unsigned short* text, unsigned long length)
{
    std::vector<unsigned short> out;
    out.reserve(length);
    unsigned short prefix = 0; // of the escape that the next unit completes
    for (const unsigned short* at = text; at != text + length; ++at) {
        if (prefix == 0 && (*at == u'^' || *at == u'\\')) {
            prefix = *at;
            continue;
        }
        if (prefix == 0) {
            out.push_back(*at);
            continue;
        }
        const EscapeTableEntry* const table =
            prefix == u'^' ? hatEscapeTable() : sBackslashEscapeTable.data();
        // An unknown escape stays, with its prefix.
        const unsigned short replacement = DictionaryEntry::LookupEscape(table, *at);
        out.push_back(replacement != 0 ? replacement : prefix);
        if (replacement == 0 && *at != prefix)
            out.push_back(*at);
        prefix = 0;
    }
    if (prefix != 0)
        out.push_back(prefix);
    return out;
}

UnicodeRun convertBoth(const unsigned short* text, unsigned long length)
{
    // In this order, so that a character that came from a reference never starts an escape.
    const std::vector<unsigned short> once = convertPrefixed(text, length);
    return DictionaryEntry::ConvertEscapeSequencesISO(once.data(), once.size());
}

} // namespace

unsigned short DictionaryEntry::LookupEscape(const EscapeTableEntry* table, unsigned short c)
{
    while (table->escape != 0 && table->escape != c)
        ++table;
    return table->replacement;
}

UnicodeRun DictionaryEntry::ConvertEscapeSequences(const unsigned short* text, unsigned long length)
{
    hatEscapeTable(); // chosen even where nothing is to be converted
    if (length == 0)
        return UnicodeRun::EmptyRunInstance();
    return hasEscapes(text, length) ? convertBoth(text, length) : UnicodeRun(text, length);
}

UnicodeRun DictionaryEntry::ConvertEscapeSequences(UnicodeRun text)
{
    hatEscapeTable();
    if (!hasEscapes(text.GetUnits(), text.GetLength()))
        return text;
    return convertBoth(text.GetUnits(), text.GetLength());
}

UnicodeRun DictionaryEntry::ConvertEscapeSequencesISO(const UnicodeRun& text)
{
    return ConvertEscapeSequencesISO(text.GetUnits(), text.GetLength());
}

UnicodeRun DictionaryEntry::ConvertEscapeSequencesISO(
    const unsigned short* text, unsigned long length)
{
    std::vector<unsigned short> out;
    out.reserve(length);
    const unsigned short* at = text;
    const unsigned short* const end = text + length;
    while (at != end) {
        const unsigned short* const sign = std::find(at, end, u'#');
        out.insert(out.end(), at, sign);
        if (sign == end)
            break;
        const CharReference reference = referenceAt(sign, static_cast<unsigned long>(end - sign));
        out.push_back(reference.consumed > 0 ? reference.value : *sign);
        // Only the sign itself is passed over when it starts no reference: the next one may stand
        // right behind it.
        at = sign + std::max(reference.consumed, 1ul);
    }
    return {out.data(), out.size()};
}

} // namespace lexkit_private
