// What lies on a card: every regular file below a folder, and everything that was passed over.
//
// The scan only reads. It follows no links (the source itself may be one), enters what is mounted
// below the source, and enters no folder twice, whatever is bound to where. What it passes over is
// listed with a reason, so that nobody wipes a card whose photos were not all taken. A scan keeps
// no state: any thread may run one; it blocks for as long as the card takes.
#pragma once

#include "mfx/engine/MediaItem.h"
#include "mfx/engine/NameFilter.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace mfx {

enum class NotHandledReason : std::uint8_t {
    Link,
    Socket,
    Pipe,
    Device,
    Hidden, // file or folder with a leading dot
    SystemFolder, // trash, indexes and thumbnails of systems and cameras
    JunkFile, // thumbnail caches and folder settings
    SameFolder, // a folder that was entered under another path already
    Other
};

// The word for programs, such as "symbolic link": the same in every language.
std::string_view reasonText(NotHandledReason reason);

// The same for people, in their language; a word that is none comes back as it is.
std::string translatedReason(std::string_view word);

// Whether what was passed over for this reason can hold no photo that would be missed.
bool isHarmless(NotHandledReason reason);

// A file or a folder; a folder that is not handled stands for all that is in it.
struct NotHandled {
    std::string name;
    std::uint32_t folder = 0;
    NotHandledReason reason = NotHandledReason::Other;
};

// Something that could not be looked at: photos may be in there.
struct ScanProblem {
    std::string path;
    std::error_code error;
};

struct CardContents {
    std::string root; // absolute, without links
    std::vector<std::string> folders; // relative to root, "" is root itself; sorted bytewise
    std::vector<MediaItem> items; // sorted by folder, then name, bytewise
    std::vector<NotHandled> notHandled; // sorted likewise
    std::vector<ScanProblem> problems;
    std::error_code rootError; // why the source itself cannot be read
    std::size_t notAskedFor = 0; // files that the filter left out
    bool stopped = false; // the scan was told to stop: the lists are not whole

    std::string pathOf(MediaItem const& item) const;
    std::string folderPath(std::uint32_t folder) const;
    std::size_t harmfulNotHandled() const; // how many are not harmless
};

struct ScanOptions {
    NameFilter only;
    std::atomic<bool> const* stop = nullptr; // looked at once per file; borrowed
};

CardContents scanCard(std::string const& source, ScanOptions const& options = {});

} // namespace mfx
