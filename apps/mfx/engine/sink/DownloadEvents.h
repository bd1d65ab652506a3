// What a download tells while it runs, and what it asks. Implemented by each front end of the
// engine: the command line in text and in JSON, a window later. All calls come on the thread that
// runs the download, but for `progress`, which comes from another at the same time, twice a second,
// even while a question waits for its answer; once more when all is done, and never after the
// summary. Texts are UTF-8.
#pragma once

#include "mfx/engine/card/NotHandledReason.h"
#include "mfx/engine/saving/ProgressPhase.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace mfx {

enum class ItemStatus : std::uint8_t { kPending, kOk, kExists, kFailed, kBackupFailed, kDNGFailed };

struct ItemEvent {
    long key = 0;
    std::string name; // on the device
    std::optional<std::string> saved; // path
    std::optional<std::string> backup; // folder that holds a proven copy
    std::optional<std::string> dng; // path
    ItemStatus status = ItemStatus::kPending;
    std::optional<std::string> error;
    bool alreadyReported = false; // the error: it is the same for many and was told at the start
};

// Beside one that it has already.
void addError(ItemEvent& event, const std::string& reason);

struct ProgressEvent {
    std::uint64_t bytesDone = 0; // the share of all work, in bytes of the card; never shrinks
    std::uint64_t bytesTotal = 0; // those of the card
    std::size_t itemsDone = 0;
    std::size_t itemsTotal = 0;
    ProgressPhase phase = ProgressPhase::kCopy;
    std::uint64_t rate = 0; // bytes read off the card per second, over the last few seconds
    std::optional<double> secondsLeft; // as it goes now; nothing while nothing moves
};

enum class PassedOverKind : std::uint8_t {
    kNotHandled, // not taken by the scan, for a reason of its own
    kEmptyFile, // saved, but without bytes: what should be in it may still be on the card
    kNotAskedFor, // left out by the choice of names
};

// What is on the card and was not taken, or must stay on it, and would be missed. Each front end
// has words of its own for the kinds.
struct PassedOver {
    PassedOverKind kind = PassedOverKind::kNotHandled;
    NotHandledReason reason = NotHandledReason::kOther; // of kNotHandled
    std::size_t count = 0;
    std::vector<std::string> names; // the first few; paths on the card
};

enum class Answer : std::uint8_t { kNo, kYes, kNobody };

// Something that is not safe: what it is about, and what to do.
struct NotSafe {
    std::string name;
    std::string reason;
};

struct DownloadSummary {
    std::size_t items = 0;
    std::size_t saved = 0; // in this run
    std::size_t existing = 0; // already present, byte for byte
    std::size_t backups = 0; // proven second copies
    std::size_t proven = 0; // items whose save, and backup if asked for, was proven
    std::size_t converted = 0;
    std::size_t datedByFile = 0; // saved or existing items whose date is their file's time
    std::size_t failed = 0; // items that are not safe, or not as asked for
    std::size_t unsafe = 0; // those of them that are not safe
    std::size_t deleted = 0; // originals
    std::size_t notDeleted = 0; // originals that should have gone and did not
    std::uint64_t nextSequence = 0; // the number after the last one given
    std::string folder; // the target
    std::map<NotHandledReason, std::size_t> notHandled; // how many of each
    std::size_t mayHoldPhotos = 0; // how many of these might be missed
    std::size_t notAskedFor = 0; // left out by the choice of names
    std::vector<PassedOver> passedOver; // by kind
    std::vector<NotSafe> notSafe; // the first ones; `unsafe` counts all
    bool backupWanted = false;
    bool datesAreUsed = false; // for names or folders
    bool interrupted = false;
    bool browserNotAwaited = false; // an interrupt ended the wait for it; all else was done
    bool placeUnusable = false; // a place became full or unusable, and the run stopped
    bool sourceGone = false;
    bool dryRun = false;
    bool copiesOnCardsDevice = false; // wiping it would cost the copies too
    bool copiesOnOneDisk = false; // saved copies and backups may be lost together
    bool copiesInOneFolder = false; // they count as one, and no original is deleted
    bool deletionForbidden = false; // it was asked for, and nothing may go
    bool nobodyAnswered = false; // the question of deletion found nobody
    bool outputFailed = false; // nobody reads what is told, and the run stopped
    bool cardMayBeWiped = false;
    std::string verdict; // one or more sentences
};

class DownloadEvents {
public:
    // Front ends are made by choice at run time and owned through this interface.
    virtual ~DownloadEvents() = default;

    virtual void source(const std::string& name, std::size_t items, std::uint64_t bytes) = 0;
    virtual void item(const ItemEvent& event) = 0;
    virtual void message(const std::string& title, const std::string& text) = 0;

    // A question that the person answers with yes or no. The lines before the last one of the text
    // lead up to it.
    virtual Answer question(const std::string& title, const std::string& text) = 0;

    // Whether what was told so far could be written.
    virtual bool isHeard() const { return true; }
    virtual void progress(const ProgressEvent& event) = 0;
    virtual void summary(const DownloadSummary& summary) = 0;
};

} // namespace mfx
