// One download from a card into a folder: reads, saves, has the sink back up and convert, and in
// the end deletes what may be deleted. Files are staged ahead on threads of its own; the sink, the
// events and everything that moves a file into place stay on the caller's thread.
//
// An original is offered for deletion only when its copy, and its backup if one was asked for, was
// proven in this run, all names are flushed to the disk, and places and files are looked at again
// right before it goes (see docs/promises.md).
#pragma once

#include "mfx/engine/card/CardScan.h"
#include "mfx/engine/card/CardWatch.h"
#include "mfx/engine/names/TargetName.h"
#include "mfx/engine/run/ProgressMeter.h"
#include "mfx/engine/saving/FinalFolders.h"
#include "mfx/engine/saving/GroupWork.h"
#include "mfx/engine/saving/KeptItem.h"
#include "mfx/engine/saving/OriginalDeletion.h"
#include "mfx/engine/saving/PlaceWatch.h"
#include "mfx/engine/sink/DownloadEvents.h"
#include "mfx/engine/sink/DownloadRequest.h"
#include "mfx/engine/sink/GroupBackup.h"
#include "mfx/engine/sink/SinkSession.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace mfx {

class Download {
public:
    // Borrows all but the request.
    Download(DownloadRequest request,
        const CardContents& card,
        SinkSession& sink,
        DownloadEvents& events);

    // Runs to the end, or to the interrupt, and tells the summary. Throws PlaceError where two
    // places are one, and std::system_error where a place cannot be used, before anything is
    // copied; never for what happens to files.
    DownloadSummary run();

private:
    struct ItemState {
        bool isProven = false; // saved, and backed up if asked for, as far as its whole group is
        FinalFolder* folder = nullptr; // null: not saved
        std::string finalName;
        KeptItem kept;
    };

    void openPlaces();
    void warnOfPlaces();
    void runGroups();
    std::uint64_t firstNumber() const;
    void finishGroup(GroupWork& work);
    void decide(GroupWork& work);
    std::optional<std::string> lostPlace(const GroupWork& work) const;
    void backUp(GroupWork& work, std::vector<ItemEvent>& events);
    void noteBackup(
        const GroupWork& work, std::size_t member, MemberBackup backup, ItemEvent& event);
    void convert(GroupWork& work, std::vector<ItemEvent>& events);
    bool isToConvert(const GroupWork& work, const MemberWork& member) const;
    void noteDNG(const MemberWork& member, const std::string& dng, ItemEvent& event);
    void judge(GroupWork& work, std::vector<ItemEvent>& events);
    void keep(const GroupWork& work, const MemberWork& member, ItemEvent& event);
    void conclude(const GroupWork& work, const std::vector<ItemEvent>& events);
    void noteFailure(const GroupWork& work);
    void stopAt(const std::string& reason);
    void failRest(std::size_t firstGroup, const std::string& reason);
    void failItem(std::uint32_t item, const std::string& reason);
    void tellRestored();

    void closeDownload();
    void flushNames();
    void lookAgain();
    void noteNews();
    bool isCardGone() const;
    void forbidDeletion(const std::string& reason);
    std::vector<std::uint32_t> deletable() const;
    std::string deletionQuestion(const std::vector<std::uint32_t>& items) const;
    DeletionOutcome deleteOriginal(std::uint32_t item);
    SinkItem sinkItem(const GroupWork& work, std::size_t member, const std::string& folder) const;
    SinkItem finishedItem(std::uint32_t item) const;
    std::string deviceName(std::uint32_t item) const;

    void addPassedOver();
    void addNotHandled();
    void addNotSafe(const std::string& name, const std::string& reason);
    void addUnsafe(const std::string& name, const std::string& reason);
    void tellProgress();

    const DownloadRequest m_request;
    const CardContents& m_card;
    SinkSession& m_sink;
    DownloadEvents& m_events;
    std::set<std::string> m_putBack; // paths of what an earlier run had in hand when it was cut off
    std::vector<ItemGroup> m_groups; // constant once the card was looked at
    PlaceWatch m_places;
    FinalFolders m_folders;
    GroupBackup m_backup;
    OriginalDeletion m_deletion;
    CardWatch m_cardWatch;
    std::vector<ItemState> m_items;
    DownloadSummary m_summary;
    std::uint64_t m_nextNumber = 0; // that of the next group which is saved
    std::optional<std::string> m_stopReason; // why no further group is begun
    std::string m_deletionObjection; // why no original may go; empty while they may
    bool m_targetRefused = false; // some folder of the target takes no files
    bool m_hasLookedAgain = false; // since the question was answered
    ProgressMeter m_progress;
};

} // namespace mfx
