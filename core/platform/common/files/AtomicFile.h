// Atomic access to small files: reading with a limit, writing with a flush to disk and a rename,
// and a lock between processes.
//
// Paths are bytes, as the system takes them. Failures are returned as the system's error codes;
// nothing is thrown but std::bad_alloc. All functions may block on the disk and may be called
// from any thread; a FileLock belongs to one thread at a time.
#pragma once

#include "platform/common/services/OwnedDescriptor.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace Pt {

struct FileContent {
    enum class State {
        kRead, // bytes holds the whole file
        kMissing, // the path does not exist
        kNotAFile, // a folder, a pipe, a dangling link: not a regular file
        kTooLarge, // longer than the limit; bytes is empty
        kUnreadable // the system refused; error says why
    };

    State state = State::kUnreadable;
    std::string bytes;
    std::error_code error;
};

// Reads the whole file, at most limit bytes. Follows links. Never blocks on a pipe.
FileContent readFile(const std::string& path, std::size_t limit);

// Replaces the file at path atomically: writes path + ".new", flushes it, renames it over path, and
// flushes the folder. On failure the file at path is intact (the old one, unless only the flush of
// the folder failed), and path + ".new" does not exist. Requires: writers of one path take turns,
// for example with a FileLock. Replaces a path + ".new" that a killed writer left. A link at path
// is replaced, not followed.
std::error_code writeFileAtomically(
    const std::string& path, std::string_view bytes, unsigned int mode);

// An exclusive lock on a file that is created for the purpose (mode 0600) and never removed. The
// lock ends with the object or the process; children do not inherit it.
class FileLock {
public:
    // Nothing if another holder did not release it within the timeout `patience`
    // (std::errc::timed_out), or if the system refused; error says which.
    static std::optional<FileLock> take(
        const std::string& path, std::chrono::milliseconds patience, std::error_code& error);

private:
    explicit FileLock(OwnedDescriptor file)
        : m_file(std::move(file))
    {
    }

    OwnedDescriptor m_file;
};

} // namespace Pt
