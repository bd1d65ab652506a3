#pragma once

#include <optional>
#include <string>

namespace Pt {

// The locale of messages, like "de_AT" or "de": the first of LC_ALL, LC_MESSAGES and LANG that is
// set and not empty, without its codeset (".UTF-8") and its modifier ("@euro"). Nothing when it is
// "C" or "POSIX", when none is set, or when the value has other characters than letters, digits,
// "_" and "-": it becomes part of file paths. Reads the environment at each call; any thread.
std::optional<std::string> systemLocale();

} // namespace Pt
