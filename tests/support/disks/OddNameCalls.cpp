#include "support/disks/OddState.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace odd {

namespace {

// What is told of a file.

int getAttributes(const char* path, struct stat* out, fuse_file_info* file)
{
    return answer([&](FileSystem& system) {
        if (!file && system.refuses(path))
            return system.options.refusesLookUps ? -EINVAL : -ENOENT;
        const int result = file ? ::fstat(descriptor(file), out)
                                : ::lstat(system.branches.find(path).c_str(), out);
        if (result != 0)
            return -errno;
        out->st_ino = system.number(out->st_dev, out->st_ino);
        if (system.options.forgetsChangeTime)
            out->st_ctim = {};
        return 0;
    });
}

int readLink(const char* path, char* out, std::size_t size)
{
    return answer([&](const FileSystem& system) {
        const ssize_t length = ::readlink(system.branches.find(path).c_str(), out, size - 1);
        if (length < 0)
            return -errno;
        out[length] = '\0';
        return 0;
    });
}

int checkAccess(const char* path, int mode)
{
    return answer([&](const FileSystem& system) {
        return orError(::access(system.branches.find(path).c_str(), mode));
    });
}

int tellSpace(const char*, struct statvfs* out)
{
    return answer([&](const FileSystem& system) { return system.branches.space(*out); });
}

// Names.

// Makes something new where new things go; `make` is given the place.
template <typename Make>
int makeNew(const char* path, Make make)
{
    return answer([&](const FileSystem& system) {
        if (system.refuses(path))
            return -EINVAL;
        if (system.branches.has(path))
            return -EEXIST;
        const std::string place = system.branches.placeFor(path);
        return make(place) == 0 ? giveToCaller(place) : -errno;
    });
}

int makeFolder(const char* path, mode_t mode)
{
    return makeNew(path, [&](const std::string& place) { return ::mkdir(place.c_str(), mode); });
}

int makeSymbolicLink(const char* to, const char* path)
{
    return makeNew(path, [&](const std::string& place) { return ::symlink(to, place.c_str()); });
}

int removeFile(const char* path)
{
    return answer([&](const FileSystem& system) {
        return system.branches.removeFile(path, system.options.unlinksEverywhere);
    });
}

int removeFolder(const char* path)
{
    return answer([&](const FileSystem& system) { return system.branches.removeFolder(path); });
}

int renamePath(const char* from, const char* to, unsigned int flags)
{
    return answer([&](const FileSystem& system) {
        if (system.refuses(to) || (flags != 0 && system.options.refusesRenameFlags))
            return -EINVAL;
        return system.branches.rename(from, to, flags);
    });
}

int linkPath(const char* from, const char* to)
{
    return answer([&](const FileSystem& system) {
        if (system.options.refusesLinks)
            return -EPERM;
        return system.refuses(to) ? -EINVAL : system.branches.link(from, to);
    });
}

// What is changed of a file.

int changeMode(const char* path, mode_t mode, fuse_file_info* file)
{
    return answer([&](const FileSystem& system) {
        return orError(file ? ::fchmod(descriptor(file), mode)
                            : ::chmod(system.branches.find(path).c_str(), mode));
    });
}

int changeOwner(const char* path, uid_t user, gid_t group, fuse_file_info* file)
{
    return answer([&](const FileSystem& system) {
        return orError(file ? ::fchown(descriptor(file), user, group)
                            : ::lchown(system.branches.find(path).c_str(), user, group));
    });
}

int changeSize(const char* path, off_t size, fuse_file_info* file)
{
    return answer([&](const FileSystem& system) {
        return orError(file ? ::ftruncate(descriptor(file), size)
                            : ::truncate(system.branches.find(path).c_str(), size));
    });
}

int changeTimes(const char* path, const timespec times[2], fuse_file_info* file)
{
    return answer([&](const FileSystem& system) {
        return orError(file
                ? ::futimens(descriptor(file), times)
                : ::utimensat(
                    AT_FDCWD, system.branches.find(path).c_str(), times, AT_SYMLINK_NOFOLLOW));
    });
}

} // namespace

void addNameCalls(fuse_operations& calls)
{
    calls.getattr = getAttributes;
    calls.readlink = readLink;
    calls.access = checkAccess;
    calls.statfs = tellSpace;
    calls.mkdir = makeFolder;
    calls.symlink = makeSymbolicLink;
    calls.unlink = removeFile;
    calls.rmdir = removeFolder;
    calls.rename = renamePath;
    calls.link = linkPath;
    calls.chmod = changeMode;
    calls.chown = changeOwner;
    calls.truncate = changeSize;
    calls.utimens = changeTimes;
}

} // namespace odd
