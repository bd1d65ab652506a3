#include "platform/common/files/FilePlacement.h"

#include "platform/platforms/linux/files/TemporaryFile.h"
#include "platform/platforms/linux/services/Descriptor.h"

#include <cerrno>
#include <cstdlib>

#include <stdio.h>
#include <sys/stat.h>

namespace Pt {

namespace {

// The empty file is ours alone to replace.
std::error_code reserveAndRename(const std::string& from, const std::string& to)
{
    const Descriptor reserved = Descriptor::open(to, O_WRONLY | O_CREAT | O_EXCL, 0600);
    if (!reserved.isOpen())
        return lastError();
    // A rename replaces what is there, and by now that is our own empty file.
    if (::rename(from.c_str(), to.c_str()) == 0)
        return {};
    const std::error_code error = lastError();
    ::unlink(to.c_str());
    return error;
}

std::error_code linkAndUnlink(const std::string& from, const std::string& to)
{
    if (::link(from.c_str(), to.c_str()) == -1) {
        const bool hasNoLinks = errno == EPERM || errno == EOPNOTSUPP || errno == ENOSYS;
        return hasNoLinks ? reserveAndRename(from, to) : lastError();
    }
    // For a moment the file has both names, which harms nobody; the other order would lose it.
    return ::unlink(from.c_str()) == -1 ? lastError() : std::error_code();
}

bool isFolder(const std::string& path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::error_code makeFolder(const std::string& path, unsigned int mode)
{
    if (::mkdir(path.c_str(), mode) != -1)
        return {};
    const std::error_code error = lastError();
    // Only a folder that is there is no failure, however mkdir refused: on a read-only file system
    // it does not say EEXIST.
    return isFolder(path) ? std::error_code() : error;
}

} // namespace

std::error_code moveWithoutReplacing(const std::string& from, const std::string& to)
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return {};
    // File systems without RENAME_NOREPLACE say so with EINVAL, old kernels with ENOSYS.
    return errno == EINVAL || errno == ENOSYS ? linkAndUnlink(from, to) : lastError();
}

std::error_code makeEmptyFile(const std::string& path)
{
    const Descriptor file = Descriptor::open(path, O_WRONLY | O_CREAT | O_EXCL, 0600);
    return file.isOpen() ? std::error_code() : lastError();
}

std::error_code tryFolder(const std::string& folder)
{
    std::error_code error;
    auto trial = TemporaryFile::make(folder, S_IRUSR | S_IWUSR, error);
    return trial ? trial->file().write("x", 1) : error;
}

std::error_code makeFolders(const std::string& path, unsigned int mode)
{
    // From the left: each part up to the next slash, then the whole.
    for (std::size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        if (const std::error_code error = makeFolder(path.substr(0, end), mode))
            return error;
        if (end == std::string::npos)
            return {};
    }
}

std::error_code flushFolder(const std::string& path)
{
    const Descriptor folder = Descriptor::open(path, O_RDONLY | O_DIRECTORY);
    if (!folder.isOpen())
        return lastError();
    const bool flushed = retryInterrupted([&] { return ::fsync(folder.get()); }) == 0;
    // Some file systems cannot flush a folder, and say so with EINVAL.
    return flushed || errno == EINVAL ? std::error_code() : lastError();
}

} // namespace Pt
