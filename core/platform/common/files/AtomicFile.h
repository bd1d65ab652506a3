// Small files that are there whole or not at all: read with a limit, write with a flush to disk
// and a rename, and a lock between processes.
//
// Paths are bytes, as the system takes them. Failures come back as the system's error codes;
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
        kMissing, // nothing stands at the path
        kNotAFile, // a folder, a pipe, a link to nowhere: something that is no file to read
        kTooLarge, // longer than the limit; nothing was kept of it
        kUnreadable // the system refused; error says why
    };

    State state = State::kUnreadable;
    std::string bytes;
    std::error_code error;
};

// Reads the whole file, at most limit bytes. Follows links. Never blocks on a pipe.
FileContent readFile(const std::string& path, std::size_t limit);

// Puts a file with these bytes in the place of path: written beside it under the name path +
// ".new", flushed, renamed over it, the folder flushed. On failure the file at path is whole, the
// old one unless only the flush of the folder failed, and the name path + ".new" is free.
// Requires: writers of one path take turns, for example by a FileLock. What a killed writer
// left under path + ".new" is replaced. A link at path is replaced, not followed.
std::error_code writeFileAtomically(
    const std::string& path, std::string_view bytes, unsigned int mode);

// Holds an exclusive lock on a file that is made for the purpose (mode 0600) and stays. The lock
// ends with the object or the process; children do not inherit it.
class FileLock {
public:
    // Nothing when another holder did not let go within the patience (std::errc::timed_out) or
    // the system refused; error says which.
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
