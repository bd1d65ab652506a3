// Keys and values as UTF-8 for people and for JSON. Free functions without state.
#pragma once

#include "lexkit/private/DictionaryEntry.h"

#include <string>
#include <string_view>

namespace lexkit_cli {

std::string_view keyBytes(const lexkit_private::DictionaryEntry& entry);

// A byte that is no part of UTF-8 stands as %XX.
std::string keyText(const lexkit_private::DictionaryEntry& entry);

// Half of a surrogate pair stands as "?".
std::string utf8Of(const unsigned short* units, unsigned long length);
std::string utf8Of(const lexkit_private::UnicodeRun& run);

// On one line: tab, line ends, quote mark and backslash with a backslash in front.
std::string oneLine(std::string_view text);

} // namespace lexkit_cli
