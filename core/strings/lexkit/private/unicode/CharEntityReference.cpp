#include "lexkit/private/unicode/CharEntityReference.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace lexkit_private {

namespace {

constexpr unsigned short kCarriageReturn = 13;
constexpr unsigned long kShortest = 4; // units of "#{a}"
// A value is one UTF-16 unit.
constexpr unsigned long kMaxDigits = 4;

// The names of HTML 4, with four more in front. Lengths that are not those of the names: "yen",
// "ouml" and "zwnj" count their terminator, so that they match no text; of "plusmn" five letters
// are compared.
constexpr CharEntityReference charEntityReference[] = {
    {4, "endl", 0x0000},
    {3, "tab", 0x0009},
    {2, "cr", 0x000D},
    {2, "lf", 0x000A},
    {4, "nbsp", 0x00A0},
    {5, "iexcl", 0x00A1},
    {4, "cent", 0x00A2},
    {5, "pound", 0x00A3},
    {6, "curren", 0x00A4},
    {4, "yen", 0x00A5},
    {6, "brvbar", 0x00A6},
    {4, "sect", 0x00A7},
    {3, "uml", 0x00A8},
    {4, "copy", 0x00A9},
    {4, "ordf", 0x00AA},
    {5, "laquo", 0x00AB},
    {3, "not", 0x00AC},
    {3, "shy", 0x00AD},
    {3, "reg", 0x00AE},
    {4, "macr", 0x00AF},
    {3, "deg", 0x00B0},
    {5, "plusmn", 0x00B1},
    {4, "sup2", 0x00B2},
    {4, "sup3", 0x00B3},
    {5, "acute", 0x00B4},
    {5, "micro", 0x00B5},
    {4, "para", 0x00B6},
    {6, "middot", 0x00B7},
    {5, "cedil", 0x00B8},
    {4, "sup1", 0x00B9},
    {4, "ordm", 0x00BA},
    {5, "raquo", 0x00BB},
    {6, "frac14", 0x00BC},
    {6, "frac12", 0x00BD},
    {6, "frac34", 0x00BE},
    {6, "iquest", 0x00BF},
    {6, "Agrave", 0x00C0},
    {6, "Aacute", 0x00C1},
    {5, "Acirc", 0x00C2},
    {6, "Atilde", 0x00C3},
    {4, "Auml", 0x00C4},
    {5, "Aring", 0x00C5},
    {5, "AElig", 0x00C6},
    {6, "Ccedil", 0x00C7},
    {6, "Egrave", 0x00C8},
    {6, "Eacute", 0x00C9},
    {5, "Ecirc", 0x00CA},
    {4, "Euml", 0x00CB},
    {6, "Igrave", 0x00CC},
    {6, "Iacute", 0x00CD},
    {5, "Icirc", 0x00CE},
    {4, "Iuml", 0x00CF},
    {3, "ETH", 0x00D0},
    {6, "Ntilde", 0x00D1},
    {6, "Ograve", 0x00D2},
    {6, "Oacute", 0x00D3},
    {5, "Ocirc", 0x00D4},
    {6, "Otilde", 0x00D5},
    {4, "Ouml", 0x00D6},
    {5, "times", 0x00D7},
    {6, "Oslash", 0x00D8},
    {6, "Ugrave", 0x00D9},
    {6, "Uacute", 0x00DA},
    {5, "Ucirc", 0x00DB},
    {4, "Uuml", 0x00DC},
    {6, "Yacute", 0x00DD},
    {5, "THORN", 0x00DE},
    {5, "szlig", 0x00DF},
    {6, "agrave", 0x00E0},
    {6, "aacute", 0x00E1},
    {5, "acirc", 0x00E2},
    {6, "atilde", 0x00E3},
    {4, "auml", 0x00E4},
    {5, "aring", 0x00E5},
    {5, "aelig", 0x00E6},
    {6, "ccedil", 0x00E7},
    {6, "egrave", 0x00E8},
    {6, "eacute", 0x00E9},
    {5, "ecirc", 0x00EA},
    {4, "euml", 0x00EB},
    {6, "igrave", 0x00EC},
    {6, "iacute", 0x00ED},
    {5, "icirc", 0x00EE},
    {4, "iuml", 0x00EF},
    {3, "eth", 0x00F0},
    {6, "ntilde", 0x00F1},
    {6, "ograve", 0x00F2},
    {6, "oacute", 0x00F3},
    {5, "ocirc", 0x00F4},
    {6, "otilde", 0x00F5},
    {5, "ouml", 0x00F6},
    {6, "divide", 0x00F7},
    {6, "oslash", 0x00F8},
    {6, "ugrave", 0x00F9},
    {6, "uacute", 0x00FA},
    {5, "ucirc", 0x00FB},
    {4, "uuml", 0x00FC},
    {6, "yacute", 0x00FD},
    {5, "thorn", 0x00FE},
    {4, "yuml", 0x00FF},
    {4, "quot", 0x0022},
    {3, "amp", 0x0026},
    {2, "lt", 0x003C},
    {2, "gt", 0x003E},
    {5, "OElig", 0x0152},
    {5, "oelig", 0x0153},
    {6, "Scaron", 0x0160},
    {6, "scaron", 0x0161},
    {4, "Yuml", 0x0178},
    {4, "circ", 0x02C6},
    {5, "tilde", 0x02DC},
    {4, "ensp", 0x2002},
    {4, "emsp", 0x2003},
    {6, "thinsp", 0x2009},
    {5, "zwnj", 0x200C},
    {3, "zwj", 0x200D},
    {3, "lrm", 0x200E},
    {3, "rlm", 0x200F},
    {5, "ndash", 0x2013},
    {5, "mdash", 0x2014},
    {5, "lsquo", 0x2018},
    {5, "rsquo", 0x2019},
    {5, "sbquo", 0x201A},
    {5, "ldquo", 0x201C},
    {5, "rdquo", 0x201D},
    {5, "bdquo", 0x201E},
    {6, "dagger", 0x2020},
    {6, "Dagger", 0x2021},
    {6, "permil", 0x2030},
    {6, "lsaquo", 0x2039},
    {6, "rsaquo", 0x203A},
    {4, "euro", 0x20AC},
};

// Prefixes of a number, in the order in which they are tried.
constexpr std::array<std::string_view, 3> charEntityReferenceCharByCodePoint{"U+", "u", ""};

constexpr unsigned char kNoHexDigit = 255;

constexpr std::array<unsigned char, 256> makeHexDigitTab()
{
    std::array<unsigned char, 256> table{};
    table.fill(kNoHexDigit);
    for (unsigned char digit = 0; digit < 10; ++digit)
        table[static_cast<unsigned char>('0' + digit)] = digit;
    for (unsigned char digit = 10; digit < 16; ++digit) {
        table[static_cast<unsigned char>('A' + digit - 10)] = digit;
        table[static_cast<unsigned char>('a' + digit - 10)] = digit;
    }
    return table;
}

// Of the first 256 characters; no other is a hexadecimal digit.
constexpr std::array<unsigned char, 256> hexDigitTab = makeHexDigitTab();

bool isHexDigit(unsigned short unit)
{
    return unit < hexDigitTab.size() && hexDigitTab[unit] != kNoHexDigit;
}

// Compares `length` units; the name has a terminator, which may take part.
bool startsWith(const unsigned short* text, const char* name, unsigned long length)
{
    return std::equal(text, text + length, name, [](unsigned short unit, char letter) {
        return unit == static_cast<unsigned char>(letter);
    });
}

} // namespace

const CharEntityReference* FindCharEntityReferencePair(
    const unsigned short* text, unsigned long length)
{
    // Letters count by case: "Auml" and "auml" are different characters.
    for (const CharEntityReference& row : charEntityReference)
        if (row.length <= length && startsWith(text, row.name, row.length))
            return &row;
    return nullptr;
}

bool FindCharEntityReferencePairCharByCodePoint(const unsigned short* text,
    unsigned long length,
    unsigned short* value,
    unsigned long* consumed)
{
    // The last row, without a prefix, always fits where the text is not empty.
    const auto row = std::find_if(charEntityReferenceCharByCodePoint.begin(),
        charEntityReferenceCharByCodePoint.end(),
        [&](std::string_view prefix) {
            return prefix.size() < length && startsWith(text, prefix.data(), prefix.size());
        });
    if (row == charEntityReferenceCharByCodePoint.end())
        return false;
    const unsigned long start = row->size();
    const unsigned long limit = std::min(length, start + kMaxDigits);
    // Digits after the fourth are not consumed, so that referenceAt misses its brace and takes the
    // whole for plain text.
    unsigned long at = start;
    unsigned int number = 0;
    for (; at < limit && isHexDigit(text[at]); ++at)
        number = number << 4 | hexDigitTab[text[at]];
    *value = static_cast<unsigned short>(number);
    *consumed = at;
    return at > start;
}

CharReference referenceAt(const unsigned short* text, unsigned long length)
{
    if (length < kShortest || text[1] != u'{')
        return {};
    const unsigned short* const name = text + 2;
    const unsigned long left = length - 2;
    unsigned short value = 0;
    unsigned long used = 0;
    // Names before numbers: "deg" and "eacute" begin with hexadecimal digits.
    if (const CharEntityReference* const row = FindCharEntityReferencePair(name, left)) {
        // The first row, "endl", is the one line end that is written otherwise than it is stored.
        value = row == charEntityReference ? kCarriageReturn : row->value;
        used = row->length;
    } else if (!FindCharEntityReferencePairCharByCodePoint(name, left, &value, &used)) {
        return {};
    }
    // What has a name and no brace is no reference, even if a longer name would fit.
    if (used >= left || name[used] != u'}')
        return {};
    return {value, used + 3};
}

} // namespace lexkit_private
