// A file that is made bit by bit and is seen by nobody before it is whole: until it is placed it
// bears a name ".unfinished-<process id>-<number>" in its folder, and it is removed with this
// object unless it was placed. What a killed process leaves of it, removeStaleCopies() clears away.
//
// Paths are bytes, as the system takes them; failures are the system's error codes. One thread at a
// time.
#pragma once

#include "platform/common/files/ContentDigest.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

namespace Pt {

class TemporaryFile;

class NewFile {
public:
    // Empty, open for reading and writing; `mode` goes through the process's mask. Nothing when the
    // folder takes no file; `error` then says why.
    static std::optional<NewFile> make(
        const std::string& folder, unsigned int mode, std::error_code& error);

    NewFile(NewFile&&) noexcept;
    NewFile& operator=(NewFile&&) noexcept;
    ~NewFile();

    int descriptor() const;

    // Appends all of it.
    std::error_code write(const void* bytes, std::size_t count);
    // Returns when the disk has what was written.
    std::error_code flush();

    // What the disk has, bypassing the cache as far as the file system allows; flush() comes
    // before. Nothing if it cannot be read.
    std::optional<ContentDigest> contentOnDisk(std::error_code& error) const;

    // Nanoseconds since 1970.
    std::error_code setModified(std::int64_t time) const;

    // Gives it its name, in the same file system, unless something stands there already:
    // std::errc::file_exists; another name may be tried then. Its bytes and its name are on the
    // disk afterwards; if only that fails at its name, it has its name all the same.
    std::error_code place(const std::string& path);

private:
    explicit NewFile(std::unique_ptr<TemporaryFile> file);

    std::unique_ptr<TemporaryFile> m_file;
};

} // namespace Pt
