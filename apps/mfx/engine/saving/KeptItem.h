// What is known of the copies of one item: where each lies, and what it was when it was proven.
#pragma once

#include "platform/common/files/ContentDigest.h"
#include "platform/common/files/FileStatus.h"

#include <cstdint>
#include <optional>
#include <string>

namespace mfx {

// A proven copy. It is taken to be unchanged while device, inode, size and times are what they
// were.
struct KeptCopy {
    std::string path; // for work of this process
    Pt::FileStatus status; // when it was proven, under its final name
};

struct KeptItem {
    std::optional<Pt::ContentDigest> digest; // of the original, and so of its copies
    std::optional<KeptCopy> saved;
    std::optional<KeptCopy> dng; // took the place of the saved raw file
    std::optional<KeptCopy> backup;
    bool isFresh = false; // all copies were written in this run
    std::string reasonToKeep; // why the original stays, whatever is answered; empty where it may go
};

} // namespace mfx
