// Single operations on files and folders: test for existence, create a folder, remove a folder,
// create a small file atomically. Paths are bytes, as the system takes them. Any thread may call;
// the calls may block on the disk.
#pragma once

#include <string>
#include <string_view>
#include <system_error>

namespace Pt {

// Whether a file, a folder or anything else exists. Follows links: a dangling one does not exist.
bool pathExists(const std::string& path);

// Creates one folder in an existing one, with this mode less the process's mask.
std::error_code makeFolder(const std::string& path, unsigned int mode);

// Sets the permission bits, whatever the process's mask is. Follows links.
std::error_code setMode(const std::string& path, unsigned int mode);

// Removes an empty folder.
std::error_code removeFolder(const std::string& path);

// Creates a file with these bytes atomically, flushed to the disk, for its owner alone (mode 0600).
// If the path exists already, even as a dangling link, returns std::errc::file_exists; of several
// concurrent callers one succeeds. A process that is killed meanwhile may leave a file
// ".unfinished-<process id>-<number>" beside it.
std::error_code placeNewFile(const std::string& path, std::string_view bytes);

} // namespace Pt
