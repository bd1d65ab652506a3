// The forms that text takes in a preference file: strict UTF-8, and an escaped form for what XML
// cannot hold or would not hand back as it was.
//
// Pure functions; any thread may call. The converters drop nothing: what cannot be converted
// exactly gives nothing.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace preferences {

// Nothing for invalid, overlong or cut sequences and for surrogates.
std::optional<std::u16string> utf16FromUtf8(std::string_view bytes);

// Nothing for a lone surrogate.
std::optional<std::string> utf8FromUtf16(std::u16string_view text);

// Valid UTF-8 of characters that XML allows.
bool isXmlText(std::string_view bytes);

// Whether the text can stand in an XML file as it is and come back unit by unit, also from an
// editor: no control or invisible line characters, no lone surrogates, no space at either end.
bool isPlainText(std::u16string_view text);

// Plain text in which a backslash stands as \\ and each unit that is not plain as \uXXXX.
std::string escapedText(std::u16string_view text);

// Nothing for a backslash that starts neither form, and for invalid UTF-8.
std::optional<std::u16string> unescapedText(std::string_view bytes);

} // namespace preferences
