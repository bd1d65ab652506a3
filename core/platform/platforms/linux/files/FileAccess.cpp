#include "platform/common/files/FileAccess.h"

#include "platform/platforms/linux/services/Retry.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace Pt {

namespace {

static_assert(kMayRead == R_OK && kMayWrite == W_OK && kMayExecute == X_OK);

int flagsOf(FileOpening how)
{
    switch (how) {
    case FileOpening::kReadOnly:
        return O_RDONLY;
    case FileOpening::kReadWrite:
        return O_RDWR;
    case FileOpening::kReadWriteOrCreate:
        return O_RDWR | O_CREAT;
    case FileOpening::kCreateOrTruncate:
        return O_RDWR | O_CREAT | O_TRUNC;
    case FileOpening::kCreateExclusively:
        return O_RDWR | O_CREAT | O_TRUNC | O_EXCL;
    }
    return O_RDONLY;
}

} // namespace

int accessPath(const std::string& path, int mode)
{
    return ::access(path.c_str(), mode);
}

int openPath(const std::string& path, int systemFlags, unsigned int mode)
{
    return retryInterrupted([&] { return ::open(path.c_str(), systemFlags | O_CLOEXEC, mode); });
}

int openPath(const std::string& path, FileOpening how, unsigned int mode)
{
    return openPath(path, flagsOf(how), mode);
}

int closeDescriptor(int descriptor)
{
    // Not again after a signal: the descriptor is free by then and may be somebody else's.
    const int result = ::close(descriptor);
    return result == -1 && errno == EINTR ? 0 : result;
}

int unlinkPath(const std::string& path)
{
    return ::unlink(path.c_str());
}

void lockDescriptor(int descriptor)
{
    // A mark for whoever clears away; a file system without locks is no failure.
    ::flock(descriptor, LOCK_EX | LOCK_NB);
}

int syncDescriptor(int descriptor)
{
    return retryInterrupted([&] { return ::fsync(descriptor); });
}

std::int64_t seekToEnd(int descriptor)
{
    return ::lseek(descriptor, 0, SEEK_END);
}

int seekToStart(int descriptor)
{
    return ::lseek(descriptor, 0, SEEK_SET) == 0 ? 0 : -1;
}

std::int64_t readDescriptor(int descriptor, void* bytes, std::size_t count)
{
    return retryInterrupted([&] { return ::read(descriptor, bytes, count); });
}

std::int64_t writeDescriptor(int descriptor, const void* bytes, std::size_t count)
{
    return retryInterrupted([&] { return ::write(descriptor, bytes, count); });
}

} // namespace Pt
