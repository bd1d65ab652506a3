#include "support/disks/OddState.h"

#include <memory>
#include <set>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace odd {

namespace {

// Files that are open.

// Our buffers are not aligned as O_DIRECT wants them.
int ownFlags(const fuse_file_info* file)
{
    return (file->flags & ~O_DIRECT) | O_CLOEXEC;
}

int keep(int opened, fuse_file_info* file)
{
    if (opened < 0)
        return -errno;
    file->fh = static_cast<std::uint64_t>(opened);
    return 0;
}

int openFile(const char* path, fuse_file_info* file)
{
    return answer([&](const FileSystem& system) {
        return keep(::open(system.branches.find(path).c_str(), ownFlags(file)), file);
    });
}

int createFile(const char* path, mode_t mode, fuse_file_info* file)
{
    return answer([&](const FileSystem& system) {
        if (system.refuses(path))
            return -EINVAL;
        const bool isNew = !system.branches.has(path);
        const std::string place =
            isNew ? system.branches.placeFor(path) : system.branches.find(path);
        const int result = keep(::open(place.c_str(), ownFlags(file) | O_CREAT, mode), file);
        return result == 0 && isNew ? giveToCaller(place) : result;
    });
}

int readFile(const char*, char* out, std::size_t size, off_t offset, fuse_file_info* file)
{
    return answer([&](FileSystem& system) {
        system.waitWhileStuck();
        const ssize_t count = ::pread(descriptor(file), out, size, offset);
        if (count < 0)
            return -errno;
        const auto wanted = static_cast<std::size_t>(count);
        return system.death.read(wanted) < wanted ? -EIO : orError(count);
    });
}

int writeFile(const char*, const char* bytes, std::size_t size, off_t offset, fuse_file_info* file)
{
    return answer([&](FileSystem& system) {
        const std::size_t granted = system.death.write(size);
        const ssize_t count = ::pwrite(descriptor(file), bytes, granted, offset);
        return granted < size ? -EIO : orError(count);
    });
}

int flushFile(const char*, fuse_file_info* file)
{
    return answer([&](const FileSystem&) { return orError(::close(::dup(descriptor(file)))); });
}

int syncFile(const char*, int onlyContent, fuse_file_info* file)
{
    return answer([&](const FileSystem&) {
        return orError(
            onlyContent != 0 ? ::fdatasync(descriptor(file)) : ::fsync(descriptor(file)));
    });
}

// Also when the disk is dead: descriptors are ours.
int closeFile(const char*, fuse_file_info* file)
{
    ::close(descriptor(file));
    return 0;
}

// Folders that are open: the same one of each branch that has it.

class OpenFolder {
public:
    explicit OpenFolder(const std::vector<std::string>& paths)
    {
        for (const std::string& path : paths)
            add(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    }
    ~OpenFolder()
    {
        for (const int part : m_parts)
            ::close(part);
    }
    OpenFolder(const OpenFolder&) = delete;
    OpenFolder& operator=(const OpenFolder&) = delete;

    static OpenFolder* of(const fuse_file_info* file)
    {
        return reinterpret_cast<OpenFolder*>(file->fh); // we put it there
    }

    // 0, else why none of them could be opened.
    int error() const { return m_parts.empty() ? m_error : 0; }

    const std::vector<int>& parts() const { return m_parts; }

private:
    void add(int part)
    {
        if (part < 0)
            m_error = -errno;
        else
            m_parts.push_back(part);
    }

    std::vector<int> m_parts;
    int m_error = -ENOENT;
};

int openFolder(const char* path, fuse_file_info* file)
{
    return answer([&](const FileSystem& system) {
        auto folder = std::make_unique<OpenFolder>(system.branches.findAll(path));
        if (folder->error() == 0)
            file->fh = reinterpret_cast<std::uint64_t>(folder.get());
        return folder->error() == 0 ? (folder.release(), 0) : folder->error();
    });
}

// None at the end, where errno is 0, and where it fails.
const dirent* nextName(DIR* names)
{
    errno = 0;
    return ::readdir(names);
}

// The names in one part that were in none before it.
int listPart(
    FileSystem& system, int part, std::set<std::string>& seen, void* list, fuse_fill_dir_t fill)
{
    const std::unique_ptr<DIR, int (*)(DIR*)> names(
        ::fdopendir(::openat(part, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)), &::closedir);
    struct stat folder { };
    if (!names || ::fstat(part, &folder) != 0)
        return -errno;
    while (const dirent* const entry = nextName(names.get())) {
        if (!seen.insert(entry->d_name).second)
            continue;
        struct stat told { };
        told.st_ino = system.number(folder.st_dev, entry->d_ino);
        told.st_mode = DTTOIF(static_cast<mode_t>(entry->d_type));
        if (fill(list, entry->d_name, &told, 0, fuse_fill_dir_flags{}) != 0)
            return -ENOMEM;
    }
    return -errno;
}

int listFolder(
    const char*, void* list, fuse_fill_dir_t fill, off_t, fuse_file_info* file, fuse_readdir_flags)
{
    return answer([&](FileSystem& system) {
        std::set<std::string> seen;
        for (const int part : OpenFolder::of(file)->parts())
            if (const int error = listPart(system, part, seen, list, fill); error != 0)
                return error;
        return 0;
    });
}

int syncFolder(const char*, int, fuse_file_info* file)
{
    return answer([&](const FileSystem&) {
        for (const int part : OpenFolder::of(file)->parts())
            if (::fsync(part) != 0)
                return -errno;
        return 0;
    });
}

int closeFolder(const char*, fuse_file_info* file)
{
    const std::unique_ptr<OpenFolder> folder(OpenFolder::of(file));
    return 0;
}

} // namespace

void addOpenCalls(fuse_operations& calls)
{
    calls.open = openFile;
    calls.create = createFile;
    calls.read = readFile;
    calls.write = writeFile;
    calls.flush = flushFile;
    calls.fsync = syncFile;
    calls.release = closeFile;
    calls.opendir = openFolder;
    calls.readdir = listFolder;
    calls.fsyncdir = syncFolder;
    calls.releasedir = closeFolder;
}

} // namespace odd
