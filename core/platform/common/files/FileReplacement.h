// Writes to the output that a user names: a file is replaced atomically, anything else is written
// to.
//
// Paths are bytes, as the system takes them. Any thread may call; it blocks on the disk, and on a
// pipe until somebody reads.
#pragma once

#include <string>
#include <string_view>
#include <system_error>

namespace Pt {

// Replaces the file at `path` and keeps its mode; a new file has mode 0666 less the process's mask.
// If `path` is a link, its target is replaced; a dangling link gives
// std::errc::no_such_file_or_directory. A pipe or device is written to. A process that is killed
// meanwhile may leave a file ".unfinished-<process id>-<number>" in the folder.
std::error_code replaceFile(const std::string& path, std::string_view bytes);

} // namespace Pt
