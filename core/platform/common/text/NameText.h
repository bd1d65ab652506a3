// File names as text. On a card a name is a run of bytes that need not be UTF-8; what people see,
// what JSON carries and what a saved file is called is always UTF-8.
//
// Free functions without state: any thread may call them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Pt {

// One character of a name, or one byte that is not part of valid UTF-8.
struct NameCharacter {
    char32_t code = 0; // the code point; the byte itself when `valid` is false
    std::size_t length = 1; // bytes
    bool valid = false;
};

// Requires: position < text.size(). Overlong forms, surrogates and codes above U+10FFFF are
// invalid bytes.
NameCharacter nameCharacterAt(std::string_view text, std::size_t position);

bool isUtf8(std::string_view text);

// The name as text: a byte that is not valid UTF-8 stands as %XX (upper-case digits), all else
// as it is, control characters and a literal '%' included.
std::string displayName(std::string_view bytes);

// The text for a terminal: what would move the cursor, break the line, turn the reading direction
// or is no UTF-8 stands as %XX, byte by byte.
std::string terminalText(std::string_view text);

// The longest beginning of at most `limit` bytes that ends neither within a character nor within
// a %XX of displayName().
std::string_view cutName(std::string_view text, std::size_t limit);

// Equal when A to Z are read as a to z; other letters are compared as they stand.
bool equalIgnoringAsciiCase(std::string_view a, std::string_view b);
char32_t asciiLower(char32_t code);
std::string asciiLower(std::string_view text);

} // namespace Pt
