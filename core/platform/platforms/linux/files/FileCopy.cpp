#include "platform/common/files/FileCopy.h"

#include "platform/platforms/linux/files/FileTime.h"
#include "platform/platforms/linux/files/TemporaryFile.h"
#include "platform/platforms/linux/services/Descriptor.h"

#include <memory>

#include <sys/stat.h>

namespace Pt {

namespace {

// Bytes read and written at a time.
constexpr std::size_t kPiece = std::size_t{1} << 20;
constexpr std::size_t kWriteBehind = std::size_t{8} << 20; // bytes between hints to the disk

using Buffer = std::unique_ptr<unsigned char[]>;

// A quota that is used up is a full disk to its user.
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

bool isExpected(const struct stat& found, const FileStatus& expected)
{
    return static_cast<std::uint64_t>(found.st_size) == expected.size
        && nanoseconds(found.st_mtim) == expected.modified;
}

// The time of change as well: a program may set the time of modification back, but not this one.
bool isSame(const struct stat& a, const struct stat& b)
{
    return a.st_size == b.st_size && nanoseconds(a.st_mtim) == nanoseconds(b.st_mtim)
        && nanoseconds(a.st_ctim) == nanoseconds(b.st_ctim);
}

// Reads from where the file stands to its end, a piece at a time, for the digest. `each` has every
// piece before the next is read; a problem that it gives ends the reading, as `unreadable` does
// when the system refuses.
template <typename Each>
CopyResult digestToEnd(const Descriptor& file,
    const Buffer& buffer,
    CopyProblem unreadable,
    ContentDigest& digest,
    Each each)
{
    ContentDigester digester;
    for (;;) {
        const ssize_t count =
            retryInterrupted([&] { return ::read(file.get(), buffer.get(), kPiece); });
        if (count < 0)
            return failed(unreadable, lastError());
        if (count == 0)
            break;
        digester.add(buffer.get(), static_cast<std::size_t>(count));
        if (CopyResult result = each(static_cast<std::size_t>(count)); !result.isProven())
            return result;
    }
    digest = digester.finish();
    return {};
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
        // In this order: a source that changed while it was read makes the rest pointless, and only
        // what the disk has can be read back from it.
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
        const auto copyPiece = [this](std::size_t count) {
            if (const std::error_code error = m_target.write(m_buffer.get(), count))
                return targetFailed(error);
            m_written += static_cast<off_t>(count);
            hintToDisk();
            return progress(count);
        };
        return digestToEnd(m_source, m_buffer, CopyProblem::kSourceUnreadable, m_digest, copyPiece);
    }

    // Worth its call only where one read does not take all.
    void expectWholeFile(const Descriptor& file) const
    {
        if (m_status.st_size > static_cast<off_t>(kPiece))
            ::posix_fadvise(file.get(), 0, 0, POSIX_FADV_SEQUENTIAL);
    }

    // Lets the disk work while more is read, so that the flush at the end has less to wait for.
    void hintToDisk()
    {
        if (m_written - m_hinted < static_cast<off_t>(kWriteBehind))
            return;
        ::sync_file_range(m_target.get(), m_hinted, m_written - m_hinted, SYNC_FILE_RANGE_WRITE);
        m_hinted = m_written;
    }

    CopyResult progress(std::uint64_t bytes) const
    {
        const bool goesOn = !m_options.progress || m_options.progress(bytes);
        return goesOn ? CopyResult() : failed(CopyProblem::kCancelled);
    }

    CopyResult checkSource()
    {
        struct stat now = {};
        if (::fstat(m_source.get(), &now) != 0)
            return failed(CopyProblem::kSourceUnreadable, lastError());
        // The size is compared with the bytes that were read, too: a file may be longer than the
        // system said.
        if (!isSame(m_status, now) || m_digest.size != static_cast<std::uint64_t>(now.st_size))
            return failed(CopyProblem::kSourceChanged);
        return {};
    }

    CopyResult flush()
    {
        if (m_options.exactMode && ::fchmod(m_target.get(), m_options.mode) != 0)
            m_timesKept = false; // FAT and its like: a note, no failure
        // After the last write, which would change the times again.
        const timespec times[2] = {m_status.st_atim, m_status.st_mtim};
        if (::futimens(m_target.get(), times) != 0)
            m_timesKept = false;
        if (const std::error_code error = m_target.flush())
            return targetFailed(error);
        // Out of the cache, so that reading back asks the disk and not the memory that was just
        // written.
        ::posix_fadvise(m_target.get(), 0, 0, POSIX_FADV_DONTNEED);
        return {};
    }

    CopyResult readBack()
    {
        if (::lseek(m_target.get(), 0, SEEK_SET) != 0)
            return targetFailed(lastError());
        expectWholeFile(m_target);
        ContentDigest onDisk;
        CopyResult result = digestToEnd(
            m_target, m_buffer, CopyProblem::kNotProven, onDisk, [this](std::size_t count) {
                return progress(count);
            });
        if (result.isProven() && onDisk != m_digest)
            result = failed(CopyProblem::kNotProven);
        return result;
    }

    Descriptor& m_source;
    const struct stat& m_status;
    Descriptor& m_target;
    const CopyOptions& m_options;
    Buffer m_buffer;
    ContentDigest m_digest;
    off_t m_written = 0;
    off_t m_hinted = 0; // up to here the disk was told to begin
    bool m_timesKept = true;
};

// Opens the source without waiting for what is no file, and looks whether it is what it should be.
CopyResult openSource(
    const std::string& path, const CopyOptions& options, Descriptor& source, struct stat& status)
{
    // The file that was looked at before was none; a link in its place is a change.
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

} // namespace

CopyResult writeProvenCopy(
    const std::string& source, const std::string& target, const CopyOptions& options)
{
    Descriptor from;
    struct stat status = {};
    CopyResult result = openSource(source, options, from, status);
    if (!result.isProven())
        return result;
    Descriptor file = Descriptor::open(target, O_RDWR | O_CREAT | O_EXCL, options.mode);
    if (!file.isOpen())
        return targetFailed(lastError());
    result = Transfer(from, status, file, options).run();
    if (const std::error_code error = file.close(); error && result.isProven())
        result = targetFailed(error);
    if (!result.isProven())
        ::unlink(target.c_str());
    return result;
}

CopyResult copyFile(const std::string& source,
    const std::string& folder,
    const std::string& name,
    const CopyOptions& options)
{
    Descriptor from;
    struct stat status = {};
    CopyResult result = openSource(source, options, from, status);
    if (!result.isProven())
        return result;
    std::error_code error;
    auto fresh = TemporaryFile::make(folder, options.mode, error);
    if (!fresh)
        return targetFailed(error);
    result = Transfer(from, status, fresh->file(), options).run();
    if (!result.isProven())
        return result;
    if ((error = fresh->place(folder + '/' + name)))
        return targetFailed(error);
    // Closed last, as its lock says until then that it is in use.
    if ((error = fresh->file().close())) {
        ::unlink((folder + '/' + name).c_str());
        return targetFailed(error);
    }
    return result;
}

std::size_t removeStaleCopies(const std::string& folder)
{
    return removeStaleTemporaryFiles(folder);
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
    ContentDigest digest;
    const CopyResult result = digestToEnd(file,
        Buffer(new unsigned char[kPiece]),
        CopyProblem::kSourceUnreadable,
        digest,
        [](std::size_t) { return CopyResult(); });
    error = result.error;
    return result.isProven() ? std::optional(digest) : std::nullopt;
}

} // namespace Pt
