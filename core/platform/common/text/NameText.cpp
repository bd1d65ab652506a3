#include "platform/common/text/NameText.h"

#include <algorithm>
#include <optional>

namespace Pt {

namespace {

constexpr char32_t byteAt(std::string_view text, std::size_t position)
{
    return static_cast<unsigned char>(text[position]);
}

// Bytes that a sequence with this first byte has; 0 for a byte that starts none.
std::size_t sequenceLength(char32_t first)
{
    if (first < 0x80)
        return 1;
    if (first >= 0xC2 && first <= 0xDF)
        return 2;
    if (first >= 0xE0 && first <= 0xEF)
        return 3;
    return first >= 0xF0 && first <= 0xF4 ? 4 : 0;
}

bool isScalarOfLength(char32_t code, std::size_t length)
{
    // A longer form than necessary could smuggle in a character that is looked for.
    constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code >= kSmallest[length] && code <= 0x10FFFF && !surrogate;
}

void appendEscaped(std::string& out, std::string_view bytes)
{
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        out += '%';
        out += kDigits[value >> 4U];
        out += kDigits[value & 0x0FU];
    }
}

template <typename Predicate>
std::string escapedWhere(std::string_view text, Predicate escape)
{
    std::string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const NameCharacter character = nameCharacterAt(text, at);
        const std::string_view bytes = text.substr(at, character.length);
        if (escape(character))
            appendEscaped(out, bytes);
        else
            out += bytes;
        at += character.length;
    }
    return out;
}

bool disturbsTerminal(char32_t code)
{
    const bool control = code < 0x20 || (code >= 0x7F && code <= 0x9F);
    const bool lineEnd = code == 0x2028 || code == 0x2029;
    // Marks of writing direction: with them a name could be shown as another one.
    const bool direction = (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069)
        || code == 0x200E || code == 0x200F || code == 0x061C;
    return control || lineEnd || direction;
}

bool isUpperHex(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F');
}

// Whether the three bytes at `start` read as %XX.
bool isEscapeAt(std::string_view text, std::size_t start)
{
    return start + 2 < text.size() && text[start] == '%' && isUpperHex(text[start + 1])
        && isUpperHex(text[start + 2]);
}

// What the bytes of a sequence say together; nothing when one after the first continues none.
std::optional<char32_t> joinedBits(std::string_view sequence)
{
    constexpr char32_t kFirstMask[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    char32_t code = byteAt(sequence, 0) & kFirstMask[sequence.size()];
    for (std::size_t i = 1; i < sequence.size(); ++i) {
        const char32_t next = byteAt(sequence, i);
        if ((next & 0xC0U) != 0x80U)
            return std::nullopt;
        code = (code << 6U) | (next & 0x3FU);
    }
    return code;
}

} // namespace

NameCharacter nameCharacterAt(std::string_view text, std::size_t position)
{
    const char32_t first = byteAt(text, position);
    const NameCharacter invalid{first, 1, false};
    const std::size_t length = sequenceLength(first);
    if (length == 0 || length > text.size() - position)
        return invalid;
    const auto code = joinedBits(text.substr(position, length));
    return code && isScalarOfLength(*code, length) ? NameCharacter{*code, length, true} : invalid;
}

bool isUtf8(std::string_view text)
{
    for (std::size_t at = 0; at < text.size();) {
        const NameCharacter character = nameCharacterAt(text, at);
        if (!character.valid)
            return false;
        at += character.length;
    }
    return true;
}

std::string displayName(std::string_view bytes)
{
    return escapedWhere(bytes, [](const NameCharacter& c) { return !c.valid; });
}

std::string terminalText(std::string_view text)
{
    return escapedWhere(
        text, [](const NameCharacter& c) { return !c.valid || disturbsTerminal(c.code); });
}

std::string_view cutName(std::string_view text, std::size_t limit)
{
    if (text.size() <= limit)
        return text;
    std::size_t end = 0;
    while (end < text.size()) {
        // A %XX is one unit: half of it would read as other text.
        const std::size_t length = isEscapeAt(text, end) ? 3 : nameCharacterAt(text, end).length;
        if (length > limit - end)
            break;
        end += length;
    }
    return text.substr(0, end);
}

char32_t asciiLower(char32_t code)
{
    return code >= U'A' && code <= U'Z' ? code + 32U : code;
}

std::string asciiLower(std::string_view text)
{
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    });
    return lower;
}

bool equalIgnoringAsciiCase(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && asciiLower(a) == asciiLower(b);
}

} // namespace Pt
