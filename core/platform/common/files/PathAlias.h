// Aliases: small files that stand for another file or folder; symbolic links here. Paths are bytes.
// Any thread may call; the calls may block on the disk.
#pragma once

#include <string>
#include <system_error>

namespace Pt {

// What the alias at that path leads to at last, by way of other aliases too. The path itself where
// no alias stands, and on failure: nothing is there, the aliases lead in a circle, or the path or
// the result is longer than 1,024 bytes.
std::string resolveAlias(const std::string& path);

// Makes an alias, in place of the file or alias that stands there. A folder that stands there stays
// and is an error. The target need not exist.
std::error_code createAlias(const std::string& alias, const std::string& target);

} // namespace Pt
