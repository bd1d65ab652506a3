#include "platform/common/files/FileCopy.h"

#include "platform/common/files/FilePlacement.h"
#include "platform/platforms/linux/services/Descriptor.h"

#include <atomic>
#include <filesystem>
#include <memory>

#include <sys/file.h>
#include <sys/stat.h>

namespace Pt {

namespace {

constexpr std::size_t kPiece = std::size_t{1} << 20;
constexpr std::size_t kWriteBehind = std::size_t{8} << 20; // bytes between hints to the disk
constexpr char kStalePrefix[] = ".mfxcopy-";

using Buffer = std::unique_ptr<unsigned char[]>;

bool isFull(const std::error_code& error)
{
    return error.value() == ENOSPC || error.value() == EDQUOT;
}

CopyResult failed(CopyProblem problem, std::error_code error = {})
{
    CopyResult result;
    result.problem = problem;
    result.error = error;
    return result;
}

CopyResult targetFailed(const std::error_code& error)
{
    if (error.value() == EEXIST)
        return failed(CopyProblem::kTargetTaken, error);
    return failed(isFull(error) ? CopyProblem::kTargetFull : CopyProblem::kTargetUnusable, error);
}

std::int64_t nanoseconds(const timespec& time)
{
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

bool isExpected(const struct stat& found, const FileStatus& expected)
{
    return static_cast<std::uint64_t>(found.st_size) == expected.size
        && nanoseconds(found.st_mtim) == expected.modified;
}

bool isSame(const struct stat& a, const struct stat& b)
{
    return a.st_size == b.st_size && nanoseconds(a.st_mtim) == nanoseconds(b.st_mtim)
        && nanoseconds(a.st_ctim) == nanoseconds(b.st_ctim);
}

// One copy on its way from an open source to an open, new and empty target.
class Transfer {
public:
    Transfer(Descriptor& source,
        const struct stat& status,
        Descriptor& target,
        const CopyOptions& options)
        : m_source(source)
        , m_status(status)
        , m_target(target)
        , m_options(options)
        , m_buffer(new unsigned char[kPiece])
    {
    }

    CopyResult run()
    {
        CopyResult result = write();
        if (result.isProven())
            result = checkSource();
        if (result.isProven())
            result = flush();
        if (result.isProven())
            result = readBack();
        result.timesKept = m_timesKept;
        result.digest = m_digest;
        return result;
    }

private:
    CopyResult write()
    {
        expectWholeFile(m_source);
        ContentDigester digester;
        off_t written = 0;
        for (;;) {
            const ssize_t count =
                retryInterrupted([&] { return ::read(m_source.get(), m_buffer.get(), kPiece); });
            if (count < 0)
                return failed(CopyProblem::kSourceUnreadable, lastError());
            if (count == 0)
                break;
            digester.add(m_buffer.get(), static_cast<std::size_t>(count));
            if (const std::error_code error =
                    m_target.write(m_buffer.get(), static_cast<std::size_t>(count)))
                return targetFailed(error);
            written += count;
            hintToDisk(written);
            if (!goesOn(static_cast<std::uint64_t>(count)))
                return failed(CopyProblem::kCancelled);
        }
        m_digest = digester.finish();
        return {};
    }

    // Worth its call only where one read does not take all.
    void expectWholeFile(const Descriptor& file) const
    {
        if (m_status.st_size > static_cast<off_t>(kPiece))
            ::posix_fadvise(file.get(), 0, 0, POSIX_FADV_SEQUENTIAL);
    }

    // Lets the disk work while more is read, so that the flush at the end has less to wait for.
    void hintToDisk(off_t written)
    {
        if (written - m_hinted < static_cast<off_t>(kWriteBehind))
            return;
        ::sync_file_range(m_target.get(), m_hinted, written - m_hinted, SYNC_FILE_RANGE_WRITE);
        m_hinted = written;
    }

    bool goesOn(std::uint64_t bytes) { return !m_options.progress || m_options.progress(bytes); }

    CopyResult checkSource()
    {
        struct stat now = {};
        if (::fstat(m_source.get(), &now) != 0)
            return failed(CopyProblem::kSourceUnreadable, lastError());
        if (!isSame(m_status, now) || m_digest.size != static_cast<std::uint64_t>(now.st_size))
            return failed(CopyProblem::kSourceChanged);
        return {};
    }

    CopyResult flush()
    {
        if (m_options.exactMode && ::fchmod(m_target.get(), m_options.mode) != 0)
            m_timesKept = false; // FAT and its like: a note, no failure
        const timespec times[2] = {m_status.st_atim, m_status.st_mtim};
        if (::futimens(m_target.get(), times) != 0)
            m_timesKept = false;
        if (const std::error_code error = m_target.flush())
            return targetFailed(error);
        ::posix_fadvise(m_target.get(), 0, 0, POSIX_FADV_DONTNEED);
        return {};
    }

    CopyResult readBack()
    {
        if (::lseek(m_target.get(), 0, SEEK_SET) != 0)
            return targetFailed(lastError());
        expectWholeFile(m_target);
        ContentDigester digester;
        for (;;) {
            const ssize_t count =
                retryInterrupted([&] { return ::read(m_target.get(), m_buffer.get(), kPiece); });
            if (count < 0)
                return failed(CopyProblem::kNotProven, lastError());
            if (count == 0)
                break;
            digester.add(m_buffer.get(), static_cast<std::size_t>(count));
            if (!goesOn(static_cast<std::uint64_t>(count)))
                return failed(CopyProblem::kCancelled);
        }
        if (digester.finish() != m_digest)
            return failed(CopyProblem::kNotProven);
        return {};
    }

    Descriptor& m_source;
    const struct stat& m_status;
    Descriptor& m_target;
    const CopyOptions& m_options;
    Buffer m_buffer;
    ContentDigest m_digest;
    off_t m_hinted = 0;
    bool m_timesKept = true;
};

// Opens the source without waiting for what is no file, and looks whether it is what it should be.
CopyResult openSource(
    const std::string& path, const CopyOptions& options, Descriptor& source, struct stat& status)
{
    const int links = options.expected ? O_NOFOLLOW : 0;
    source = Descriptor::open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | links);
    if (!source.isOpen()) {
        const std::error_code error = lastError();
        if (error.value() == ENOENT || error.value() == ENOTDIR)
            return failed(CopyProblem::kSourceMissing, error);
        return failed(
            error.value() == ELOOP ? CopyProblem::kSourceChanged : CopyProblem::kSourceUnreadable,
            error);
    }
    if (::fstat(source.get(), &status) != 0)
        return failed(CopyProblem::kSourceUnreadable, lastError());
    if (!S_ISREG(status.st_mode))
        return failed(
            CopyProblem::kSourceUnreadable, std::make_error_code(std::errc::invalid_argument));
    if (options.expected && !isExpected(status, *options.expected))
        return failed(CopyProblem::kSourceChanged);
    return {};
}

// Writes into a new file; `locked` keeps others from taking it for stale.
CopyResult writeNewFile(const std::string& source,
    const std::string& target,
    const CopyOptions& options,
    bool locked,
    Descriptor& file)
{
    Descriptor from;
    struct stat status = {};
    CopyResult result = openSource(source, options, from, status);
    if (!result.isProven())
        return result;
    file = Descriptor::open(target, O_RDWR | O_CREAT | O_EXCL, options.mode);
    if (!file.isOpen())
        return targetFailed(lastError());
    if (locked)
        ::flock(file.get(), LOCK_EX | LOCK_NB);
    result = Transfer(from, status, file, options).run();
    if (!result.isProven())
        ::unlink(target.c_str());
    return result;
}

std::string temporaryName()
{
    static std::atomic<unsigned long> counter{0};
    return kStalePrefix + std::to_string(::getpid()) + '-' + std::to_string(++counter);
}

} // namespace

CopyResult writeProvenCopy(
    const std::string& source, const std::string& target, const CopyOptions& options)
{
    Descriptor file;
    CopyResult result = writeNewFile(source, target, options, false, file);
    if (const std::error_code error = file.close(); error && result.isProven()) {
        ::unlink(target.c_str());
        return targetFailed(error);
    }
    return result;
}

CopyResult copyFile(const std::string& source,
    const std::string& folder,
    const std::string& name,
    const CopyOptions& options)
{
    const std::string temporary = folder + '/' + temporaryName();
    Descriptor file;
    CopyResult result = writeNewFile(source, temporary, options, true, file);
    if (!result.isProven())
        return result;
    if (const std::error_code error = moveWithoutReplacing(temporary, folder + '/' + name)) {
        ::unlink(temporary.c_str());
        return targetFailed(error);
    }
    if (const std::error_code error = file.close()) {
        ::unlink((folder + '/' + name).c_str());
        return targetFailed(error);
    }
    return result;
}

std::size_t removeStaleCopies(const std::string& folder)
{
    std::size_t removed = 0;
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (name.rfind(kStalePrefix, 0) != 0)
            continue;
        const std::string path = entry->path().string();
        const Descriptor file = Descriptor::open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
        const bool isStale = file.isOpen() && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0;
        if (isStale && ::unlink(path.c_str()) == 0)
            ++removed;
    }
    return removed;
}

std::optional<ContentDigest> digestOfFile(const std::string& path, std::error_code& error)
{
    const Descriptor file = Descriptor::open(path, O_RDONLY | O_NONBLOCK | O_NOFOLLOW);
    struct stat status = {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0) {
        error = lastError();
        return std::nullopt;
    }
    if (!S_ISREG(status.st_mode)) {
        error = std::make_error_code(std::errc::invalid_argument);
        return std::nullopt;
    }
    ::fdatasync(file.get()); // what is still dirty cannot be dropped
    ::posix_fadvise(file.get(), 0, 0, POSIX_FADV_DONTNEED);
    ContentDigester digester;
    const Buffer buffer(new unsigned char[kPiece]);
    for (;;) {
        const ssize_t count =
            retryInterrupted([&] { return ::read(file.get(), buffer.get(), kPiece); });
        if (count < 0) {
            error = lastError();
            return std::nullopt;
        }
        if (count == 0)
            break;
        digester.add(buffer.get(), static_cast<std::size_t>(count));
    }
    error.clear();
    return digester.finish();
}

} // namespace Pt
