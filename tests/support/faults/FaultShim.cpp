// A library for LD_PRELOAD that makes the n-th file call of a program fail, so that a test can ask
// what becomes of files when it does. It counts open, read, write, pwrite, fsync, fdatasync,
// futimens, fchmod, close, rename, renameat2, link, unlink, mkdir and rmdir (and their at-, 64-bit
// and vector forms under the same names) on FAULT_ROOT, on what lies below it, and on descriptors
// that were opened there. The environment says what to do:
//
//   FAULT_ROOT=folder      an absolute path without links; unset: nothing is counted
//   FAULT_ONLY=name,name   counts these calls alone
//   FAULT_AT=n             acts at the n-th counted call, from 1; unset: only counts
//   FAULT_ERRNO=number     the call fails so, EIO where unset; a failing close closes all the same
//   FAULT_KILL=1           instead: the process is killed before the call
//   FAULT_FLIP=1           instead: a write changes one bit of its bytes and succeeds
//   FAULT_SHORT=1          instead: a write or read moves half of its bytes
//   FAULT_COUNT_FILE=path  receives the number of counted calls when the process exits
//
// Each process counts for itself. What a child does behind fork goes on from the parent's count.
// Nothing here allocates, and nothing depends on a sanitizer: it works below those too.

#include "support/faults/FaultPlan.h"

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

#define FAULT_EXPORT extern "C" __attribute__((visibility("default")))

using namespace fault;

namespace {

constexpr std::size_t kFlippedCapacity = std::size_t{1} << 21; // bytes of one write

// The function of this name in the next library.
template <typename Function>
Function* next(const char* name)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

int openWatched(int folder, const char* path, int flags, unsigned int mode)
{
    static auto* const real = next<int(int, const char*, int, ...)>("openat");
    const bool watched = isWatched(folder, path);
    if (judge(watched, "open") == Verdict::kFail)
        return -1;
    const int descriptor = real(folder, path, flags, mode);
    if (descriptor >= 0)
        track(descriptor, watched);
    return descriptor;
}

unsigned int modeOf(int flags, std::va_list& arguments)
{
    const bool makes = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    return makes ? va_arg(arguments, unsigned int) : 0;
}

// A call on a descriptor or on one or two paths that passes or fails and has no other form.
template <typename Call>
int passOrFail(bool isWatchedCall, const char* name, Call call)
{
    return judge(isWatchedCall, name) == Verdict::kFail ? -1 : call();
}

// Writes the bytes with one bit changed.
template <typename Write>
ssize_t writeFlipped(const void* bytes, std::size_t count, Write write)
{
    static std::array<unsigned char, kFlippedCapacity> flipped;
    const std::size_t part = count < flipped.size() ? count : flipped.size();
    if (part == 0)
        return write(bytes, count);
    std::memcpy(flipped.data(), bytes, part);
    flipped[part / 2] ^= 1U;
    return write(flipped.data(), part);
}

template <typename Write>
ssize_t writeJudged(Verdict verdict, const void* bytes, std::size_t count, Write write)
{
    switch (verdict) {
    case Verdict::kFail:
        return -1;
    case Verdict::kFlip:
        return writeFlipped(bytes, count, write);
    case Verdict::kShort:
        return write(bytes, count > 1 ? count / 2 : count);
    case Verdict::kGoOn:
        break;
    }
    return write(bytes, count);
}

ssize_t positionedWrite(int descriptor, const void* bytes, std::size_t count, off_t at)
{
    static auto* const real = next<ssize_t(int, const void*, std::size_t, off_t)>("pwrite");
    return writeJudged(judge(isWatched(descriptor), "pwrite"),
        bytes,
        count,
        [&](const void* from, std::size_t size) { return real(descriptor, from, size, at); });
}

ssize_t readWatched(int descriptor, void* bytes, std::size_t count)
{
    static auto* const real = next<ssize_t(int, void*, std::size_t)>("read");
    const Verdict verdict = judge(isWatched(descriptor), "read");
    if (verdict == Verdict::kFail)
        return -1;
    return real(descriptor, bytes, verdict == Verdict::kShort && count > 1 ? count / 2 : count);
}

} // namespace

#define FAULT_OPEN(folder, path, flags)                                                            \
    std::va_list arguments;                                                                        \
    va_start(arguments, flags);                                                                    \
    const unsigned int mode = modeOf(flags, arguments);                                            \
    va_end(arguments);                                                                             \
    return openWatched(folder, path, flags, mode)

FAULT_EXPORT int open(const char* path, int flags, ...)
{
    FAULT_OPEN(AT_FDCWD, path, flags);
}

FAULT_EXPORT int open64(const char* path, int flags, ...)
{
    FAULT_OPEN(AT_FDCWD, path, flags);
}

FAULT_EXPORT int openat(int folder, const char* path, int flags, ...)
{
    FAULT_OPEN(folder, path, flags);
}

FAULT_EXPORT int openat64(int folder, const char* path, int flags, ...)
{
    FAULT_OPEN(folder, path, flags);
}

FAULT_EXPORT int creat(const char* path, mode_t mode)
{
    return openWatched(AT_FDCWD, path, O_WRONLY | O_CREAT | O_TRUNC, mode);
}

FAULT_EXPORT int creat64(const char* path, mode_t mode)
{
    return openWatched(AT_FDCWD, path, O_WRONLY | O_CREAT | O_TRUNC, mode);
}

// The forms that fortified programs call.
FAULT_EXPORT int faultOpen2(const char* path, int flags) asm("__open_2");
FAULT_EXPORT int faultOpen642(const char* path, int flags) asm("__open64_2");
FAULT_EXPORT int faultOpenat2(int folder, const char* path, int flags) asm("__openat_2");
FAULT_EXPORT int faultOpenat642(int folder, const char* path, int flags) asm("__openat64_2");
FAULT_EXPORT ssize_t faultReadChecked(
    int descriptor, void* bytes, std::size_t count, std::size_t capacity) asm("__read_chk");

int faultOpen2(const char* path, int flags)
{
    return openWatched(AT_FDCWD, path, flags, 0);
}

int faultOpen642(const char* path, int flags)
{
    return openWatched(AT_FDCWD, path, flags, 0);
}

int faultOpenat2(int folder, const char* path, int flags)
{
    return openWatched(folder, path, flags, 0);
}

int faultOpenat642(int folder, const char* path, int flags)
{
    return openWatched(folder, path, flags, 0);
}

ssize_t faultReadChecked(int descriptor, void* bytes, std::size_t count, std::size_t capacity)
{
    if (count > capacity)
        std::abort();
    return readWatched(descriptor, bytes, count);
}

FAULT_EXPORT ssize_t read(int descriptor, void* bytes, std::size_t count)
{
    return readWatched(descriptor, bytes, count);
}

FAULT_EXPORT ssize_t write(int descriptor, const void* bytes, std::size_t count)
{
    static auto* const real = next<ssize_t(int, const void*, std::size_t)>("write");
    return writeJudged(judge(isWatched(descriptor), "write"),
        bytes,
        count,
        [&](const void* from, std::size_t size) { return real(descriptor, from, size); });
}

// Changed or cut, it writes its first piece alone, as a write may.
FAULT_EXPORT ssize_t writev(int descriptor, const iovec* pieces, int count)
{
    static auto* const real = next<ssize_t(int, const iovec*, int)>("writev");
    static auto* const realWrite = next<ssize_t(int, const void*, std::size_t)>("write");
    const Verdict verdict = judge(isWatched(descriptor), "write");
    if (verdict == Verdict::kGoOn || count < 1)
        return real(descriptor, pieces, count);
    return writeJudged(
        verdict, pieces->iov_base, pieces->iov_len, [&](const void* from, std::size_t size) {
            return realWrite(descriptor, from, size);
        });
}

FAULT_EXPORT ssize_t pwrite(int descriptor, const void* bytes, std::size_t count, off_t at)
{
    return positionedWrite(descriptor, bytes, count, at);
}

FAULT_EXPORT ssize_t pwrite64(int descriptor, const void* bytes, std::size_t count, off64_t at)
{
    return positionedWrite(descriptor, bytes, count, at);
}

FAULT_EXPORT int fsync(int descriptor)
{
    static auto* const real = next<int(int)>("fsync");
    return passOrFail(isWatched(descriptor), "fsync", [&] { return real(descriptor); });
}

FAULT_EXPORT int fdatasync(int descriptor)
{
    static auto* const real = next<int(int)>("fdatasync");
    return passOrFail(isWatched(descriptor), "fdatasync", [&] { return real(descriptor); });
}

FAULT_EXPORT int futimens(int descriptor, const timespec times[2]) noexcept
{
    static auto* const real = next<int(int, const timespec*)>("futimens");
    return passOrFail(isWatched(descriptor), "futimens", [&] { return real(descriptor, times); });
}

FAULT_EXPORT int fchmod(int descriptor, mode_t mode) noexcept
{
    static auto* const real = next<int(int, mode_t)>("fchmod");
    return passOrFail(isWatched(descriptor), "fchmod", [&] { return real(descriptor, mode); });
}

// A close that fails has closed.
FAULT_EXPORT int close(int descriptor)
{
    static auto* const real = next<int(int)>("close");
    const bool fails = judge(isWatched(descriptor), "close") == Verdict::kFail;
    track(descriptor, false);
    const int result = real(descriptor);
    if (!fails)
        return result;
    errno = chosenError();
    return -1;
}

FAULT_EXPORT int rename(const char* from, const char* to) noexcept
{
    static auto* const real = next<int(const char*, const char*)>("rename");
    const bool watched = isWatched(AT_FDCWD, from) || isWatched(AT_FDCWD, to);
    return passOrFail(watched, "rename", [&] { return real(from, to); });
}

FAULT_EXPORT int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept
{
    static auto* const real = next<int(int, const char*, int, const char*)>("renameat");
    const bool watched = isWatched(fromFolder, from) || isWatched(toFolder, to);
    return passOrFail(watched, "rename", [&] { return real(fromFolder, from, toFolder, to); });
}

FAULT_EXPORT int renameat2(
    int fromFolder, const char* from, int toFolder, const char* to, unsigned int flags) noexcept
{
    static auto* const real =
        next<int(int, const char*, int, const char*, unsigned int)>("renameat2");
    const bool watched = isWatched(fromFolder, from) || isWatched(toFolder, to);
    return passOrFail(
        watched, "renameat2", [&] { return real(fromFolder, from, toFolder, to, flags); });
}

FAULT_EXPORT int link(const char* from, const char* to) noexcept
{
    static auto* const real = next<int(const char*, const char*)>("link");
    const bool watched = isWatched(AT_FDCWD, from) || isWatched(AT_FDCWD, to);
    return passOrFail(watched, "link", [&] { return real(from, to); });
}

FAULT_EXPORT int linkat(
    int fromFolder, const char* from, int toFolder, const char* to, int flags) noexcept
{
    static auto* const real = next<int(int, const char*, int, const char*, int)>("linkat");
    const bool watched = isWatched(fromFolder, from) || isWatched(toFolder, to);
    return passOrFail(watched, "link", [&] { return real(fromFolder, from, toFolder, to, flags); });
}

FAULT_EXPORT int unlink(const char* path) noexcept
{
    static auto* const real = next<int(const char*)>("unlink");
    return passOrFail(isWatched(AT_FDCWD, path), "unlink", [&] { return real(path); });
}

FAULT_EXPORT int unlinkat(int folder, const char* path, int flags) noexcept
{
    static auto* const real = next<int(int, const char*, int)>("unlinkat");
    const char* const name = (flags & AT_REMOVEDIR) != 0 ? "rmdir" : "unlink";
    return passOrFail(isWatched(folder, path), name, [&] { return real(folder, path, flags); });
}

FAULT_EXPORT int mkdir(const char* path, mode_t mode) noexcept
{
    static auto* const real = next<int(const char*, mode_t)>("mkdir");
    return passOrFail(isWatched(AT_FDCWD, path), "mkdir", [&] { return real(path, mode); });
}

FAULT_EXPORT int mkdirat(int folder, const char* path, mode_t mode) noexcept
{
    static auto* const real = next<int(int, const char*, mode_t)>("mkdirat");
    return passOrFail(isWatched(folder, path), "mkdir", [&] { return real(folder, path, mode); });
}

FAULT_EXPORT int rmdir(const char* path) noexcept
{
    static auto* const real = next<int(const char*)>("rmdir");
    return passOrFail(isWatched(AT_FDCWD, path), "rmdir", [&] { return real(path); });
}

// Leaves without the library's end, which would write the count.
FAULT_EXPORT __attribute__((noreturn)) void _exit(int status)
{
    static auto* const real = next<void(int)>("_exit");
    writeCount();
    real(status);
    for (;;)
        ::pause();
}
