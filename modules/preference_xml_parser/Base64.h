// Bytes as base64 text, the way preference files hold what is no text.
//
// Pure functions; any thread may call.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace preferences {

// Without line breaks, padded with '='.
std::string base64FromBytes(std::string_view bytes);

// White space between the digits is skipped, as an editor may have broken the line. Nothing for
// other characters, wrong or missing padding, and bits that stand for no byte and are not 0.
std::optional<std::string> bytesFromBase64(std::string_view text);

} // namespace preferences
