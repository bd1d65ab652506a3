// Names of files and folders: moving a file to a name that is free, making folders, and making
// names last. Paths are bytes, as the system takes them; failures come back as the system's error
// codes. Any thread may call; the calls may block on the disk.
#pragma once

#include <string>
#include <system_error>

namespace Pt {

// Renames a file within a file system; whatever stands at the target stays, and gives
// std::errc::file_exists. On file systems that cannot rename so, the file is linked and the old
// name removed; on those without links, the name is reserved first by an empty file.
std::error_code moveWithoutReplacing(const std::string& from, const std::string& to);

// Makes an empty file for this user alone, under a name that must be free.
std::error_code makeEmptyFile(const std::string& path);

// Why a folder takes no file: makes one under a name of its own for a moment. No error where it
// does.
std::error_code tryFolder(const std::string& folder);

// Makes the folder and those above it, each new one with this mode. Folders that are there stay
// as they are.
std::error_code makeFolders(const std::string& path, unsigned int mode);

// Makes the names in a folder last on the disk. File systems that cannot do that have done what
// they can: no error.
std::error_code flushFolder(const std::string& path);

} // namespace Pt
