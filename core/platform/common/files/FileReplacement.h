// Writes what a user names as an output: a file there whole or not at all, anything else as it
// stands.
//
// Paths are bytes, as the system takes them. Any thread may call; it blocks on the disk, and on a
// pipe until somebody reads.
#pragma once

#include <string>
#include <string_view>
#include <system_error>

namespace Pt {

// Puts a file with these bytes in the place of the one at `path`, whose mode it keeps; a new one
// has mode 0666 less the process's mask. A link stays, and what it names is replaced; one to
// nowhere gives std::errc::no_such_file_or_directory. A pipe or device is written to. No other name
// in the folder is touched, but a process that is killed meanwhile may leave a file of the name
// ".unfinished-<process id>-<number>".
std::error_code replaceFile(const std::string& path, std::string_view bytes);

} // namespace Pt
