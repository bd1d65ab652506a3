// An entry as a line of the text form that reads back as the same entry, where one exists. The
// library's own writer leaves backslash, "^" and "#" as they are; here they are spelt as character
// references, where the value would come back as another one.
#pragma once

#include "lexkit/private/DictionaryEntry.h"

#include <optional>
#include <vector>

namespace lexkit_cli {

// With a line feed at the end. Nothing for a key that no line can hold: one with "=", a quote
// mark in the wrong place, a line end or a NUL.
std::optional<std::vector<unsigned short>> entryLine(const lexkit_private::DictionaryEntry& entry);

} // namespace lexkit_cli
