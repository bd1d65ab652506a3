// What lies on a card: every regular file below a folder, and everything that was passed over.
//
// The scan only reads, but for what it is told to put back. It follows no links (the source itself
// may be one), enters what is mounted below the source, and enters no folder twice, whatever is
// bound to where. What it passes over is listed with a reason, so that nobody wipes a card whose
// photos were not all taken. A scan keeps no state: any thread may run one; it blocks for as long
// as the card takes.
#pragma once

#include "mfx/engine/card/MediaItem.h"
#include "mfx/engine/card/NameFilter.h"
#include "mfx/engine/card/NotHandledReason.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace mfx {

// A file or a folder; a folder that is not handled stands for all that is in it.
struct NotHandled {
    std::string name;
    std::uint32_t folder = 0;
    NotHandledReason reason = NotHandledReason::kOther;
    std::vector<std::string> pictures; // found in it, relative to the card's root; the first few
    std::size_t pictureCount = 0;

    // Whether something in it would be missed.
    bool mayHoldPhotos() const { return !isHarmless(reason) || pictureCount != 0; }
};

// By what a folder is known on every way that leads to it, and how many items lie in it itself.
struct CardFolderId {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::size_t items = 0;
};

// Something that could not be looked at: photos may be in there.
struct ScanProblem {
    std::string path;
    std::error_code error;
};

struct CardContents {
    std::string root; // absolute, without links
    std::vector<std::string> folders; // relative to root, "" is root itself; sorted bytewise
    std::vector<CardFolderId> folderIds; // of the folders, in their order
    std::vector<MediaItem> items; // sorted by folder, then name, bytewise
    std::vector<NotHandled> notHandled; // sorted likewise
    std::vector<ScanProblem> problems;
    std::error_code rootError; // why the source itself cannot be read
    std::size_t notAskedFor = 0; // files that the filter left out
    std::set<std::string> leftOut; // these; paths relative to the root
    std::vector<std::string> putBack; // originals that a killed deletion had set aside; paths
    bool keepsOwnFiles = true; // its file systems' word on times and numbers can be believed
    bool stopped = false; // the scan was told to stop: the lists are not whole

    std::string pathOf(const MediaItem& item) const;
    std::string pathBelow(const MediaItem& item) const; // relative to root
    std::string folderPath(std::uint32_t folder) const;
    bool wasLeftOut(const std::string& path) const { return leftOut.contains(path); }
    std::size_t harmfulNotHandled() const; // how many are not harmless, or have pictures in them
};

struct ScanOptions {
    NameFilter only;
    bool putsBack = false; // whether originals that a killed deletion set aside go back
    const std::atomic<bool>* stop = nullptr; // looked at once per file; borrowed
};

CardContents scanCard(const std::string& source, const ScanOptions& options = {});

} // namespace mfx
