// Copies one file, completely or not at all, and proves the copy: reads the source once, writes it
// with a digest, flushes, drops it from the cache, reads it back from the disk, and compares. A
// copy never replaces a file and never shares extents with its source: it has bytes of its own.
//
// Paths are bytes, as the system takes them. No state is kept between calls. Any thread may call;
// the calls block for as long as the disk takes.
#pragma once

#include "platform/common/files/ContentDigest.h"
#include "platform/common/files/FileStatus.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <system_error>

namespace Pt {

enum class CopyProblem {
    kNone,
    kCancelled, // the caller's progress function returned false
    kSourceMissing,
    kSourceUnreadable, // `error` is the system's error
    kSourceChanged, // it was not, or did not stay, what was expected
    kTargetTaken, // the path exists
    kTargetFull, // no space left, or a quota exceeded
    kTargetUnusable, // `error` is the system's error
    kNotProven, // what was read back is not what was written
};

struct CopyOptions {
    // Permissions of the copy: exactly these with `exactMode`, else less the process's mask.
    unsigned int mode = 0666;
    bool exactMode = false;

    // What the source must still be: size and time of modification. The inode number is not
    // compared: some file systems forget it. With this, a link is refused.
    std::optional<FileStatus> expected;

    // Called for each piece that was written or read back, with its bytes; false ends the copy.
    std::function<bool(std::uint64_t bytes)> progress;
};

struct CopyResult {
    CopyProblem problem = CopyProblem::kNone;
    std::error_code error;
    ContentDigest digest; // of a proven copy
    bool timesKept = true; // false if the target's file system refused the source's time

    bool isProven() const { return problem == CopyProblem::kNone; }
};

// Creates `target` as a proven copy of `source`, with the source's time of modification. The path
// must not exist. On failure nothing is left there.
CopyResult writeProvenCopy(
    const std::string& source, const std::string& target, const CopyOptions& options = {});

// Creates folder/name as a proven copy: writes it under a temporary name in the folder, then
// renames it without replacing anything.
CopyResult copyFile(const std::string& source,
    const std::string& folder,
    const std::string& name,
    const CopyOptions& options = {});

// Removes temporary files that killed processes left in a folder; copies that are being written
// stay. Returns how many were removed.
std::size_t removeStaleCopies(const std::string& folder);

// Reads a file from the disk, bypassing the cache as far as the file system allows.
std::optional<ContentDigest> digestOfFile(const std::string& path, std::error_code& error);

} // namespace Pt
