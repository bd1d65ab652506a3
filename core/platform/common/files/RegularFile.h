// A file opened for reading only, when it is a regular file and nothing else: a pipe, a folder or a
// device behind the path is refused and holds nobody up. Follows links. Any thread may call.
#pragma once

#include "platform/common/files/FileStatus.h"
#include "platform/common/services/OwnedDescriptor.h"

#include <optional>
#include <string>
#include <system_error>

namespace Pt {

struct RegularFile {
    OwnedDescriptor descriptor; // at the first byte
    FileStatus status; // of the file that was opened, whatever the path names by now
};

// Nothing when the system refuses, or std::errc::invalid_argument for what is no regular file.
std::optional<RegularFile> openRegularFile(const std::string& path, std::error_code& error);

// The file's status by now, by its descriptor; nothing if the system refuses.
std::optional<FileStatus> statusOfOpenFile(int descriptor);

// A path that leads to the open file, for libraries that take paths only; what opens it begins at
// the first byte. Valid while the descriptor is open.
std::string pathOfOpenFile(int descriptor);

} // namespace Pt
