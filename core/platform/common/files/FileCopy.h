// Copies one file, whole or not at all, and proves the copy: read once and written with a digest,
// flushed, dropped from the cache, read back from the disk and compared. A copy never replaces a
// file and never shares extents with its source: a second copy must be bytes of its own.
//
// Paths are bytes, as the system takes them. Nothing is kept between calls; any thread may call,
// and the calls block for as long as the disk takes.
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
    kCancelled, // the caller's progress function said so
    kSourceMissing,
    kSourceUnreadable, // `error` is the system's word
    kSourceChanged, // it was not, or did not stay, what was expected
    kTargetTaken, // something stands there
    kTargetFull, // no space, or a quota
    kTargetUnusable, // `error` is the system's word
    kNotProven, // what was read back is not what was written
};

struct CopyOptions {
    // Permissions of the copy; taken as they are where `exactMode`, else less the process's mask.
    unsigned int mode = 0666;
    bool exactMode = false;

    // What the source must still be: size and time of modification. Its inode number says nothing:
    // some file systems forget it. A link is then refused.
    std::optional<FileStatus> expected;

    // Told of each piece of bytes that was written or read back; false ends the copy.
    std::function<bool(std::uint64_t bytes)> progress;
};

struct CopyResult {
    CopyProblem problem = CopyProblem::kNone;
    std::error_code error;
    ContentDigest digest; // of a proven copy
    bool timesKept = true; // false where the target's file system refused the source's time

    bool isProven() const { return problem == CopyProblem::kNone; }
};

// Makes the file `target` a proven copy of `source`, with the source's time of modification. The
// name must be free. On failure nothing is left under it.
CopyResult writeProvenCopy(
    const std::string& source, const std::string& target, const CopyOptions& options = {});

// Makes folder/name a proven copy: written under a temporary name in the folder, then moved into
// place without replacing.
CopyResult copyFile(const std::string& source,
    const std::string& folder,
    const std::string& name,
    const CopyOptions& options = {});

// Removes what killed processes left of copyFile in a folder; copies that are being written stay.
// Returns how many were removed.
std::size_t removeStaleCopies(const std::string& folder);

// Reads a file from the disk, past the cache as far as the file system allows.
std::optional<ContentDigest> digestOfFile(const std::string& path, std::error_code& error);

} // namespace Pt
