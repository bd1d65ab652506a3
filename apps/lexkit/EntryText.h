// Keys and values as UTF-8 for people and for JSON. Free functions without state.
#pragma once

#include "lexkit/private/DictionaryEntry.h"

#include <string>
#include <string_view>

namespace lexkit_cli {

std::string_view keyBytes(lexkit_private::DictionaryEntry const& entry);

// A byte that is no part of UTF-8 stands as %XX.
std::string keyText(lexkit_private::DictionaryEntry const& entry);

// Half of a surrogate pair stands as "?".
std::string utf8Of(unsigned short const* units, unsigned long length);
std::string utf8Of(lexkit_private::UnicodeRun const& run);

// On one line: tab, line ends, quote mark and backslash with a backslash in front.
std::string oneLine(std::string_view text);

} // namespace lexkit_cli
