#include "platform/platforms/linux/files/TemporaryFile.h"

#include "platform/common/files/FilePlacement.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <utility>

#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace Pt {

namespace {

constexpr std::string_view kPrefix = ".unfinished-";
constexpr std::string_view kDigits = "0123456789";

std::string nextName()
{
    // The process id keeps processes apart, the counter the files of one.
    static std::atomic<unsigned long> counter{0};
    return std::string(kPrefix) + std::to_string(::getpid()) + '-' + std::to_string(++counter);
}

bool isNumber(std::string_view text)
{
    return !text.empty() && text.find_first_not_of(kDigits) == std::string_view::npos;
}

// Only the exact form: anything else in somebody's folder is theirs.
bool isTemporaryName(std::string_view name)
{
    if (!name.starts_with(kPrefix))
        return false;
    const std::string_view numbers = name.substr(kPrefix.size());
    const std::size_t hyphen = std::min(numbers.find('-'), numbers.size() - 1);
    return isNumber(numbers.substr(0, hyphen)) && isNumber(numbers.substr(hyphen + 1));
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

// A lock that can be had means that its writer has ended.
bool removeIfStale(const std::string& path)
{
    const Descriptor file = Descriptor::open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    return file.isOpen() && tryLock(file) && ::unlink(path.c_str()) == 0;
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
        // Between the two calls somebody who clears away may have taken it for stale. A file system
        // without locks has nobody who clears away.
        tryLock(file);
        if (!isGone(path))
            return TemporaryFile(path, std::move(file));
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
        if (!isTemporaryName(entry->path().filename().string()))
            continue;
        if (removeIfStale(entry->path().string()))
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
