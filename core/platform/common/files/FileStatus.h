// What one path names: its kind, identity, size and times, as the file system reports them.
//
// Never follows a link in the last part of the path. Times are nanoseconds since 1970 in UTC; what
// a file system does not keep (an inode change time on FAT, say) is what the kernel puts there.
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
    std::uint32_t owner = 0; // user id
    std::uint32_t group = 0; // group id
    Kind kind = Kind::kOther;

    friend bool operator==(const FileStatus&, const FileStatus&) = default;
};

// Nothing if the system refuses; `error` then says why (and is cleared otherwise).
std::optional<FileStatus> fileStatus(const std::string& path, std::error_code& error);

// The time of creation, in nanoseconds since 1970; nothing if the file system does not know it.
std::optional<std::int64_t> birthTime(const std::string& path);

// The same, but opens the file first: file systems that cache what they know of a name then have to
// look at the file itself. Nothing for anything but a regular file.
std::optional<FileStatus> openedFileStatus(const std::string& path, std::error_code& error);

} // namespace Pt
