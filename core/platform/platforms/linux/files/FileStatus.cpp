#include "platform/common/files/FileStatus.h"

#include "platform/platforms/linux/files/FileTime.h"
#include "platform/platforms/linux/files/StatusFrom.h"
#include "platform/platforms/linux/services/Descriptor.h"

namespace Pt {

namespace {

FileStatus::Kind kindOf(mode_t mode)
{
    switch (mode & S_IFMT) {
    case S_IFREG:
        return FileStatus::Kind::kRegular;
    case S_IFDIR:
        return FileStatus::Kind::kFolder;
    case S_IFLNK:
        return FileStatus::Kind::kLink;
    case S_IFSOCK:
        return FileStatus::Kind::kSocket;
    case S_IFIFO:
        return FileStatus::Kind::kPipe;
    case S_IFCHR:
    case S_IFBLK:
        return FileStatus::Kind::kDevice;
    default:
        return FileStatus::Kind::kOther;
    }
}

} // namespace

FileStatus statusFrom(const struct stat& found)
{
    FileStatus status;
    status.device = found.st_dev;
    status.inode = found.st_ino;
    // A broken file system can report a negative size.
    status.size = found.st_size > 0 ? static_cast<std::uint64_t>(found.st_size) : 0;
    status.modified = nanoseconds(found.st_mtim);
    status.changed = nanoseconds(found.st_ctim);
    status.mode = found.st_mode & static_cast<mode_t>(~S_IFMT);
    status.owner = found.st_uid;
    status.group = found.st_gid;
    status.kind = kindOf(found.st_mode);
    return status;
}

std::optional<FileStatus> fileStatus(const std::string& path, std::error_code& error)
{
    struct stat found { };
    if (retryInterrupted([&] { return ::lstat(path.c_str(), &found); }) != 0) {
        error = lastError();
        return std::nullopt;
    }
    error.clear();
    return statusFrom(found);
}

std::optional<std::int64_t> birthTime(const std::string& path)
{
    struct statx found { };
    if (::statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BTIME, &found) != 0
        || (found.stx_mask & STATX_BTIME) == 0)
        return std::nullopt;
    return nanoseconds({found.stx_btime.tv_sec, found.stx_btime.tv_nsec});
}

std::optional<FileStatus> openedFileStatus(const std::string& path, std::error_code& error)
{
    // O_NONBLOCK and O_NOCTTY: the path may lead to a pipe or a terminal by now, and neither must
    // hold us up.
    const Descriptor file = Descriptor::open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
    struct stat found { };
    if (!file.isOpen() || ::fstat(file.get(), &found) != 0) {
        error = lastError();
        return std::nullopt;
    }
    if (!S_ISREG(found.st_mode)) {
        error = std::make_error_code(std::errc::invalid_argument);
        return std::nullopt;
    }
    error.clear();
    return statusFrom(found);
}

} // namespace Pt
