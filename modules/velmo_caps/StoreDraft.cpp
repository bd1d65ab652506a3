#include "velmo_caps/StoreDraft.h"

#include "platform/common/files/FilePlacement.h"
#include "platform/common/files/FileStatus.h"
#include "velmo_caps/SqliteConnection.h"
#include "velmo_caps/VelmoCaps.h"

#include <algorithm>
#include <filesystem>

namespace velmo_caps {

namespace {

constexpr int kMillisecondsPerSecond = 1000;
constexpr const char* kJournals[] = {"-journal", "-wal", "-shm"};

[[noreturn]] void fail(const std::string& path, const std::error_code& error)
{
    if (error == std::errc::no_space_on_device)
        throw StoreError(StoreProblem::kFull, path);
    throw StoreError(StoreProblem::kNoPermission,
        "the store " + path + " cannot be changed: " + error.message(),
        0);
}

Pt::FileLock lockOf(const std::string& path)
{
    std::error_code error;
    auto lock = Pt::FileLock::take(path + ".writer", std::chrono::seconds(kCapsPatience), error);
    if (!lock && error == std::errc::timed_out)
        throw StoreError(StoreProblem::kLocked, path);
    if (!lock)
        fail(path, error);
    return std::move(*lock);
}

bool hasJournal(const std::string& path)
{
    std::error_code error;
    return std::ranges::any_of(kJournals,
        [&](const char* each) { return Pt::fileStatus(path + each, error).has_value(); });
}

} // namespace

StoreDraft::StoreDraft(const std::string& path)
    : m_path(path)
    , m_file(path + ".draft")
    , m_lock(lockOf(path))
{
    settle();
    removeFiles();
    copy();
}

StoreDraft::~StoreDraft()
{
    if (!m_isPublished)
        removeFiles();
}

// Another program, or an earlier version, may have been cut off while it wrote in place: its
// journal would be rolled back into whatever file has the name.
void StoreDraft::settle() const
{
    if (!hasJournal(m_path))
        return;
    SqliteConnection database(m_path, SqliteConnection::Opening::kExisting);
    database.setPatience(kCapsPatience * kMillisecondsPerSecond);
    database.run("PRAGMA journal_mode = DELETE");
    database.run("BEGIN IMMEDIATE");
    // It was rolled back if it held anything; one whose head was never finished stays, and is
    // nobody's as nobody writes.
    std::error_code ignored;
    std::filesystem::remove(m_path + "-journal", ignored);
    database.run("ROLLBACK");
    if (hasJournal(m_path))
        throw StoreError(StoreProblem::kLocked, m_path);
}

void StoreDraft::copy() const
{
    std::error_code error;
    std::filesystem::copy_file(m_path, m_file, error);
    if (error) {
        removeFiles();
        fail(m_path, error);
    }
}

void StoreDraft::removeFiles() const noexcept
{
    std::error_code ignored; // what stays is in the way of the copy, which says so
    for (const char* const journal : kJournals)
        std::filesystem::remove(m_file + journal, ignored);
    std::filesystem::remove(m_file, ignored);
}

void StoreDraft::publish()
{
    std::error_code error;
    std::filesystem::rename(m_file, m_path, error);
    if (error)
        fail(m_path, error);
    m_isPublished = true;
    if (const std::error_code unflushed = Pt::flushFolder(m_path.substr(0, m_path.rfind('/'))))
        fail(m_path, unflushed);
}

} // namespace velmo_caps
