#include "platform/platforms/linux/files/TemporaryFile.h"

#include "platform/common/files/FilePlacement.h"
#include "platform/common/services/ProcessControl.h"
#include "platform/platforms/linux/files/SameFile.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <filesystem>
#include <utility>

#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace Pt {

namespace {

constexpr std::string_view kPrefix = ".unfinished-";

std::string nextName()
{
    // The process id keeps processes apart, the counter the files of one.
    static std::atomic<unsigned long> counter{0};
    return std::string(kPrefix) + std::to_string(::getpid()) + '-' + std::to_string(++counter);
}

// As std::to_string writes one that is not 0; nothing for all else.
std::optional<unsigned long> numberIn(std::string_view text)
{
    unsigned long number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    return isWhole && text.front() != '0' ? std::optional(number) : std::nullopt;
}

// The process that made a file of that name. Only the exact form: anything else in somebody's
// folder is theirs.
std::optional<unsigned long> makerOf(std::string_view name)
{
    if (!name.starts_with(kPrefix))
        return std::nullopt;
    const std::string_view numbers = name.substr(kPrefix.size());
    const std::size_t hyphen = numbers.find('-');
    if (hyphen == std::string_view::npos || !numberIn(numbers.substr(hyphen + 1)))
        return std::nullopt;
    return numberIn(numbers.substr(0, hyphen));
}

// What this user's processes could have made: no pipe or device, and no second name of a file.
bool isPlainOwnFile(const struct stat& status)
{
    return S_ISREG(status.st_mode) && status.st_uid == ::geteuid() && status.st_nlink <= 1;
}

bool tryLock(const Descriptor& file)
{
    return ::flock(file.get(), LOCK_EX | LOCK_NB) == 0;
}

// By its path: not every file system counts links.
bool isGone(const std::string& path)
{
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == -1 && errno == ENOENT;
}

// Its maker has ended, and a lock that can be had says so for makers on other machines too. Looked
// at before it is opened: opening a pipe or a device has effects of its own.
bool removeIfStale(const std::string& path, unsigned long maker)
{
    struct stat status = {};
    if (isProcessRunning(maker) || ::lstat(path.c_str(), &status) != 0 || !isPlainOwnFile(status))
        return false;
    const Descriptor file = Descriptor::open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    return file.isOpen() && isSameFile(file.get(), status) && tryLock(file)
        && ::unlink(path.c_str()) == 0;
}

} // namespace

std::optional<TemporaryFile> TemporaryFile::make(
    const std::string& folder, unsigned int mode, std::error_code& error)
{
    for (;;) {
        const std::string path = folder + '/' + nextName();
        Descriptor file = Descriptor::open(path, O_RDWR | O_CREAT | O_EXCL, mode);
        // Left by a killed process that had the same id.
        if (!file.isOpen() && errno == EEXIST)
            continue;
        error = file.isOpen() ? std::error_code() : lastError();
        if (error)
            return std::nullopt;
        TemporaryFile fresh(path, std::move(file));
        // Between the two calls somebody on another machine who clears away may have taken it for
        // stale: the lock is theirs, or the name has gone. A file system without locks has nobody
        // who clears away.
        const bool isTaken = !tryLock(fresh.m_file) && errno == EWOULDBLOCK;
        if (!isTaken && !isGone(path))
            return fresh;
    }
}

TemporaryFile::TemporaryFile(std::string path, Descriptor file)
    : m_path(std::move(path))
    , m_file(std::move(file))
{
}

TemporaryFile::TemporaryFile(TemporaryFile&& other) noexcept
    : m_path(std::exchange(other.m_path, {}))
    , m_file(std::move(other.m_file))
{
}

TemporaryFile::~TemporaryFile()
{
    // Without its final name it is of no use to anybody.
    if (!m_path.empty())
        ::unlink(m_path.c_str());
}

std::error_code TemporaryFile::replace(const std::string& path)
{
    return renamed(::rename(m_path.c_str(), path.c_str()) == -1 ? lastError() : std::error_code());
}

std::error_code TemporaryFile::place(const std::string& path)
{
    return renamed(moveWithoutReplacing(m_path, path));
}

std::error_code TemporaryFile::renamed(std::error_code error)
{
    if (!error)
        m_path.clear();
    return error;
}

std::size_t removeStaleTemporaryFiles(const std::string& folder)
{
    std::size_t removed = 0;
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const auto maker = makerOf(entry->path().filename().string());
        if (maker && removeIfStale(entry->path().string(), *maker))
            ++removed;
    }
    return removed;
}

std::error_code writeAndClose(
    Descriptor& file, std::string_view bytes, std::optional<unsigned int> mode)
{
    if (const std::error_code error = file.write(bytes.data(), bytes.size()))
        return error;
    // The mode that open was given went through the process's mask.
    if (mode && retryInterrupted([&] { return ::fchmod(file.get(), *mode); }) == -1)
        return lastError();
    if (const std::error_code error = file.flush())
        return error;
    return file.close();
}

std::string folderOf(const std::string& path)
{
    const std::size_t slash = path.find_last_of('/');
    if (slash == std::string::npos)
        return ".";
    return path.substr(0, std::max<std::size_t>(slash, 1));
}

} // namespace Pt
