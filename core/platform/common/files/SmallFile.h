// Single steps on files and folders: is it there, make one folder, remove one folder, put a small
// file in place. Paths are bytes as the system takes them. Any thread may call; the calls may block
// on the disk.
#pragma once

#include <string>
#include <string_view>
#include <system_error>

namespace Pt {

// A file, a folder or anything else. Links are followed: one to nowhere is not there.
bool pathExists(const std::string& path);

// One folder in one that is there; the mode goes through the process's mask.
std::error_code makeFolder(const std::string& path, unsigned int mode);

// An empty one; no files.
std::error_code removeFolder(const std::string& path);

// A file with these bytes, for its owner alone (mode 0600), flushed to the disk: at `path` it is
// there whole or not at all. Of several who place one at the same time, one succeeds and the others
// get std::errc::file_exists, as does everybody when something stands there before, a link to
// nowhere too. A process that is killed meanwhile may leave a file of the name
// ".unfinished-<process id>-<number>" beside it.
std::error_code placeNewFile(const std::string& path, std::string_view bytes);

} // namespace Pt
