// What one path names: its kind, identity, size and times, as the file system tells them.
//
// Never follows a link in the last part of the path. Times are nanoseconds since 1970 in UTC; what
// a file system cannot tell (an inode change time on FAT, say) is what the kernel puts there.
// May be called from any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <system_error>

namespace Pt {

struct FileStatus {
    enum class Kind : std::uint8_t { kRegular, kFolder, kLink, kSocket, kPipe, kDevice, kOther };

    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t size = 0; // bytes
    std::int64_t modified = 0; // content, nanoseconds since 1970
    std::int64_t changed = 0; // content, name or rights, nanoseconds since 1970
    std::uint32_t mode = 0; // permission bits, without the kind
    Kind kind = Kind::kOther;

    friend bool operator==(const FileStatus&, const FileStatus&) = default;
};

// Nothing when the path cannot be asked; `error` then says why (and is cleared otherwise).
std::optional<FileStatus> fileStatus(const std::string& path, std::error_code& error);

// When what a path names was made, in nanoseconds since 1970; nothing where the file system does
// not know.
std::optional<std::int64_t> birthTime(const std::string& path);

// The status of a file that is opened to be asked: file systems that remember what they said of a
// name a while ago have to look for the file itself. Requires: a regular file, or nothing is told.
std::optional<FileStatus> openedFileStatus(const std::string& path, std::error_code& error);

} // namespace Pt
