#include "platform/common/files/AtomicFile.h"

#include "platform/common/files/FilePlacement.h"
#include "platform/platforms/linux/files/TemporaryFile.h"
#include "platform/platforms/linux/services/Descriptor.h"

#include <algorithm>
#include <cerrno>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Pt {
namespace {

constexpr std::size_t kReadStep = std::size_t{64} * 1024;
// Short beside the writing of a file, long beside a call of the system.
constexpr std::chrono::milliseconds kMaxLockPause{20};

FileContent withoutBytes(FileContent::State state, std::error_code error)
{
    return {state, {}, error};
}

// Why a file did not open: nothing there, something that is no file, or refused.
FileContent unopened(const std::string& path, std::error_code error)
{
    struct stat status = {};
    if (error == std::errc::no_such_file_or_directory) {
        const bool linkToNowhere = ::lstat(path.c_str(), &status) == 0;
        return withoutBytes(
            linkToNowhere ? FileContent::State::kNotAFile : FileContent::State::kMissing, error);
    }
    const bool noFile = ::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
    return withoutBytes(
        noFile ? FileContent::State::kNotAFile : FileContent::State::kUnreadable, error);
}

// Reads to the end or until more than limit bytes have come.
std::error_code readToEnd(int descriptor, std::size_t limit, std::string& bytes)
{
    for (;;) {
        const std::size_t before = bytes.size();
        // One byte more than the limit, so that a file that is too long shows by that byte. Its
        // size is not asked: it may grow while it is read.
        const std::size_t step = std::min(kReadStep, limit + 1 - before);
        bytes.resize(before + step);
        const ssize_t count =
            retryInterrupted([&] { return ::read(descriptor, bytes.data() + before, step); });
        bytes.resize(before + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        if (count == -1)
            return lastError();
        if (count == 0 || bytes.size() > limit)
            return {};
    }
}

std::error_code fillNewFile(const std::string& path, std::string_view bytes, unsigned int mode)
{
    Descriptor file = Descriptor::open(path, O_WRONLY | O_CREAT | O_EXCL, mode);
    return file.isOpen() ? writeAndClose(file, bytes, mode) : lastError();
}

// With the help of a file beside it, which stays after no failure.
std::error_code writeBesideAndRename(
    const std::string& beside, const std::string& path, std::string_view bytes, unsigned int mode)
{
    std::error_code error = fillNewFile(beside, bytes, mode);
    if (!error && ::rename(beside.c_str(), path.c_str()) == -1)
        error = lastError();
    if (error)
        ::unlink(beside.c_str());
    return error;
}

} // namespace

FileContent readFile(const std::string& path, std::size_t limit)
{
    // O_NONBLOCK: a pipe without a writer opens at once instead of never.
    const Descriptor file = Descriptor::open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    if (!file.isOpen())
        return unopened(path, lastError());
    struct stat status = {};
    if (::fstat(file.get(), &status) == -1)
        return withoutBytes(FileContent::State::kUnreadable, lastError());
    if (!S_ISREG(status.st_mode))
        return withoutBytes(FileContent::State::kNotAFile, {});
    FileContent content;
    content.error = readToEnd(file.get(), limit, content.bytes);
    if (content.error)
        return withoutBytes(FileContent::State::kUnreadable, content.error);
    if (content.bytes.size() > limit)
        return withoutBytes(FileContent::State::kTooLarge, {});
    content.state = FileContent::State::kRead;
    return content;
}

std::error_code writeFileAtomically(
    const std::string& path, std::string_view bytes, unsigned int mode)
{
    const std::string beside = path + ".new";
    // What a killed writer left. A link that somebody puts there meanwhile is refused by O_EXCL,
    // and not followed.
    if (::unlink(beside.c_str()) == -1 && errno != ENOENT)
        return lastError();
    if (const std::error_code error = writeBesideAndRename(beside, path, bytes, mode))
        return error;
    // Without this, a power cut may bring the old file back.
    return flushFolder(folderOf(path));
}

std::optional<FileLock> FileLock::take(
    const std::string& path, std::chrono::milliseconds patience, std::error_code& error)
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    // The lock file is never removed: whoever waits for a file that has gone would hold a lock that
    // nobody else sees.
    Descriptor file = Descriptor::open(path, O_RDWR | O_CREAT | O_NONBLOCK | O_NOFOLLOW, 0600);
    if (!file.isOpen()) {
        error = lastError();
        return std::nullopt;
    }
    // Asked again and again rather than waited for: flock knows no deadline, and a holder that
    // was stopped must not stop us.
    std::chrono::milliseconds pause{1};
    while (retryInterrupted([&] { return ::flock(file.get(), LOCK_EX | LOCK_NB); }) == -1) {
        const bool heldByAnother = errno == EWOULDBLOCK;
        if (!heldByAnother || std::chrono::steady_clock::now() >= deadline) {
            error = heldByAnother ? std::make_error_code(std::errc::timed_out) : lastError();
            return std::nullopt;
        }
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, kMaxLockPause);
    }
    error.clear();
    return FileLock(std::move(file));
}

} // namespace Pt
