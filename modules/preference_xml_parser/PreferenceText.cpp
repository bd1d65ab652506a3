#include "preference_xml_parser/PreferenceText.h"

#include <cstddef>
#include <cstdint>

namespace preferences {
namespace {

constexpr char32_t kNoCharacter = 0xffffffff;

bool isHighSurrogate(char32_t unit)
{
    return unit >= 0xd800 && unit < 0xdc00;
}

bool isLowSurrogate(char32_t unit)
{
    return unit >= 0xdc00 && unit < 0xe000;
}

// The length that the first byte of a sequence announces; 0 for a byte that starts none.
std::size_t announcedLength(unsigned char lead)
{
    if (lead < 0x80)
        return 1;
    if (lead < 0xc2) // continuations, and C0 and C1, which only start overlong forms
        return 0;
    return lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : lead < 0xf5 ? 4 : 0;
}

bool isShortestForm(char32_t character, std::size_t length)
{
    return (length != 3 || character >= 0x800) && (length != 4 || character >= 0x10000);
}

// Takes one character off the front of rest, which is not empty; kNoCharacter when it is invalid.
char32_t takeUtf8(std::string_view& rest)
{
    const auto lead = static_cast<unsigned char>(rest.front());
    const std::size_t length = announcedLength(lead);
    if (length == 0 || length > rest.size())
        return kNoCharacter;
    char32_t character = length == 1 ? lead : lead & (0x7fU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(rest[i]);
        if ((next & 0xc0U) != 0x80)
            return kNoCharacter;
        character = (character << 6U) | (next & 0x3fU);
    }
    const bool surrogate = isHighSurrogate(character) || isLowSurrogate(character);
    if (!isShortestForm(character, length) || surrogate || character > 0x10ffff)
        return kNoCharacter;
    rest.remove_prefix(length);
    return character;
}

// Takes one character, or one lone surrogate, off the front of rest, which is not empty.
char32_t takeUtf16(std::u16string_view& rest)
{
    const char32_t first = rest.front();
    rest.remove_prefix(1);
    if (!isHighSurrogate(first) || rest.empty() || !isLowSurrogate(rest.front()))
        return first;
    const char32_t second = rest.front();
    rest.remove_prefix(1);
    return 0x10000 + ((first - 0xd800) << 10U) + (second - 0xdc00);
}

void appendByte(std::string& out, char32_t value)
{
    out.push_back(static_cast<char>(static_cast<unsigned char>(value)));
}

void appendUtf8(std::string& out, char32_t character)
{
    if (character < 0x80) {
        appendByte(out, character);
        return;
    }
    if (character < 0x800) {
        appendByte(out, 0xc0 | (character >> 6U));
    } else {
        if (character < 0x10000) {
            appendByte(out, 0xe0 | (character >> 12U));
        } else {
            appendByte(out, 0xf0 | (character >> 18U));
            appendByte(out, 0x80 | ((character >> 12U) & 0x3fU));
        }
        appendByte(out, 0x80 | ((character >> 6U) & 0x3fU));
    }
    appendByte(out, 0x80 | (character & 0x3fU));
}

void appendUtf16(std::u16string& out, char32_t character)
{
    if (character < 0x10000) {
        out.push_back(static_cast<char16_t>(character));
        return;
    }
    out.push_back(static_cast<char16_t>(0xd800 + ((character - 0x10000) >> 10U)));
    out.push_back(static_cast<char16_t>(0xdc00 + ((character - 0x10000) & 0x3ffU)));
}

bool isXmlCharacter(char32_t character)
{
    const bool blank = character == '\t' || character == '\n' || character == '\r';
    return blank || (character >= 0x20 && character != 0xfffe && character != 0xffff);
}

// U+0085, U+2028 and U+2029 end lines for some readers; U+FEFF is taken for a byte order mark.
bool isPlainCharacter(char32_t character)
{
    const bool control = character < 0x20 || (character >= 0x7f && character < 0xa0);
    const bool surrogate = isHighSurrogate(character) || isLowSurrogate(character);
    const bool lineEnd = character == 0x2028 || character == 0x2029;
    return !control && !surrogate && !lineEnd && character != 0xfeff && isXmlCharacter(character);
}

void appendEscape(std::string& out, char32_t unit)
{
    constexpr char kDigits[] = "0123456789abcdef";
    out += "\\u";
    for (unsigned int shift = 16; shift > 0;) {
        shift -= 4;
        out.push_back(kDigits[(unit >> shift) & 0xfU]);
    }
}

int hexDigit(char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    return digit >= 'A' && digit <= 'F' ? digit - 'A' + 10 : -1;
}

char32_t unitOfDigits(std::string_view digits)
{
    char32_t unit = 0;
    for (const char each : digits) {
        const int digit = hexDigit(each);
        if (digit < 0)
            return kNoCharacter;
        unit = unit * 16 + static_cast<char32_t>(digit);
    }
    return unit;
}

// What stands behind a backslash; takes it off the front of rest.
char32_t takeEscape(std::string_view& rest)
{
    if (rest.substr(0, 1) == "\\") {
        rest.remove_prefix(1);
        return U'\\';
    }
    if (rest.size() < 5 || rest.front() != 'u')
        return kNoCharacter;
    const char32_t unit = unitOfDigits(rest.substr(1, 4));
    if (unit != kNoCharacter)
        rest.remove_prefix(5);
    return unit;
}

} // namespace

std::optional<std::u16string> utf16FromUtf8(std::string_view bytes)
{
    std::u16string text;
    while (!bytes.empty()) {
        const char32_t character = takeUtf8(bytes);
        if (character == kNoCharacter)
            return std::nullopt;
        appendUtf16(text, character);
    }
    return text;
}

std::optional<std::string> utf8FromUtf16(std::u16string_view text)
{
    std::string bytes;
    while (!text.empty()) {
        const char32_t character = takeUtf16(text);
        if (isHighSurrogate(character) || isLowSurrogate(character))
            return std::nullopt;
        appendUtf8(bytes, character);
    }
    return bytes;
}

bool isXmlText(std::string_view bytes)
{
    while (!bytes.empty()) {
        const char32_t character = takeUtf8(bytes);
        if (character == kNoCharacter || !isXmlCharacter(character))
            return false;
    }
    return true;
}

bool isPlainText(std::u16string_view text)
{
    if (!text.empty() && (text.front() == u' ' || text.back() == u' '))
        return false;
    while (!text.empty())
        if (!isPlainCharacter(takeUtf16(text)))
            return false;
    return true;
}

std::string escapedText(std::u16string_view text)
{
    std::string bytes;
    bool first = true;
    while (!text.empty()) {
        const char32_t character = takeUtf16(text);
        const bool outerSpace = character == U' ' && (first || text.empty());
        if (character == U'\\')
            bytes += "\\\\";
        else if (outerSpace || !isPlainCharacter(character))
            appendEscape(bytes, character); // never above U+FFFF: all pairs are plain
        else
            appendUtf8(bytes, character);
        first = false;
    }
    return bytes;
}

std::optional<std::u16string> unescapedText(std::string_view bytes)
{
    std::u16string text;
    while (!bytes.empty()) {
        char32_t character = takeUtf8(bytes);
        if (character == U'\\')
            character = takeEscape(bytes);
        if (character == kNoCharacter)
            return std::nullopt;
        appendUtf16(text, character);
    }
    return text;
}

} // namespace preferences
