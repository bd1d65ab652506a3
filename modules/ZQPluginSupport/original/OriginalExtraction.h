// Gets the raw file out of a DNG again. Plain function; any thread. Blocks on the disk. Memory does
// not grow with the file.
#pragma once

#include <string>

namespace dng {

enum class ExtractOutcome {
    kExtracted,
    kExists, // a file with the same bytes stands there under that name already
    kNotThere, // no such DNG, or it cannot be read
    kNotADng,
    kNoOriginal, // there is no raw file inside
    kDamaged, // it is not whole, or not the file that the DNG was made of
    kCannotWrite, // no such folder, no permission, or the disk failed
    kNoSpace,
};

struct ExtractResult {
    ExtractOutcome outcome = ExtractOutcome::kNotThere;
    std::string path; // of the raw file; empty when there is none
    bool isProven = false; // its digest is the one that the DNG bears, not just a block's checksums

    bool isThere() const
    {
        return outcome == ExtractOutcome::kExtracted || outcome == ExtractOutcome::kExists;
    }
};

// Writes the raw file into the folder, under the name that the DNG bears for it, else the DNG's own
// with the suffix .raw. It has a temporary name until it is whole, flushed, read back and compared
// with its digest, and never replaces a file: where another stands, it becomes name-1, name-2 and
// so on, the number before the suffix. On failure nothing is left there; only if the flush of the
// folder failed does the raw file stand there nevertheless.
ExtractResult extractOriginal(const std::string& dngPath, const std::string& folder);

} // namespace dng
