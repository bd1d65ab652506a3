// A new file on its way to its final name. Until then it bears one of the one form that all
// temporary files of ours have, ".unfinished-<process id>-<number>", in the folder that it is meant
// for; there it is removed again unless it was given its name. It is locked (flock) while it is
// being written: with the process id, that tells what a killed process left behind.
//
// One thread at a time. Failures come back as the system's error codes.
#pragma once

#include "platform/platforms/linux/services/Descriptor.h"

#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace Pt {

class TemporaryFile {
public:
    // Open for reading and writing, empty; `mode` goes through the process's mask. Nothing when the
    // folder takes no file; `error` then says why.
    static std::optional<TemporaryFile> make(
        const std::string& folder, unsigned int mode, std::error_code& error);

    TemporaryFile(TemporaryFile&& other) noexcept;
    TemporaryFile& operator=(TemporaryFile&&) = delete;
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile();

    // Stays open, and locked, when the file gets its name.
    Descriptor& file() { return m_file; }

    // Its temporary name; empty once it has its final one.
    const std::string& path() const { return m_path; }

    // Gives it its final name, in the same file system: over what stands there, or only where
    // nothing does.
    std::error_code replace(const std::string& path);
    std::error_code place(const std::string& path);

private:
    TemporaryFile(std::string path, Descriptor file);
    std::error_code renamed(std::error_code error);

    std::string m_path; // empty once it has its final name
    Descriptor m_file;
};

// Removes from a folder what killed processes of this user left of these; those being written stay,
// and so does what none of our processes could have made. Returns how many were removed.
std::size_t removeStaleTemporaryFiles(const std::string& folder);

// Writes, sets the mode if there is one, flushes and closes, each step looked at: some file systems
// report a full disk only at the flush or the close.
std::error_code writeAndClose(
    Descriptor& file, std::string_view bytes, std::optional<unsigned int> mode = {});

// "." for a path without a slash.
std::string folderOf(const std::string& path);

} // namespace Pt
