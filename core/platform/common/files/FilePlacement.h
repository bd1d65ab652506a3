// Names of files and folders: renaming without replacing, creating folders, and flushing names to
// the disk. Paths are bytes, as the system takes them; failures are returned as the system's error
// codes. Any thread may call; the calls may block on the disk.
#pragma once

#include <string>
#include <system_error>

namespace Pt {

// Renames a file within a file system, without replacing: an existing target gives
// std::errc::file_exists. On file systems that lack such a rename, links the file and removes the
// old name; on those without links, first reserves the name with an empty file.
std::error_code moveWithoutReplacing(const std::string& from, const std::string& to);

// Creates an empty file for this user alone (mode 0600). The path must not exist.
std::error_code makeEmptyFile(const std::string& path);

// Tests whether files can be created in a folder, by creating a temporary one. Returns why not.
std::error_code tryFolder(const std::string& folder);

// Creates the folder and its missing parents, each with this mode. Existing folders stay as they
// are.
std::error_code makeFolders(const std::string& path, unsigned int mode);

// Flushes a folder, so that the names in it are on the disk. No error on file systems that cannot
// do that.
std::error_code flushFolder(const std::string& path);

} // namespace Pt
