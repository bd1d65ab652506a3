// One download from a card into a folder: reads, saves, has the sink back up and convert, and in
// the end deletes what may be deleted. Files are staged ahead on threads of its own; the sink, the
// events and everything that moves a file into place stay on the caller's thread.
//
// An original is offered for deletion only when its copy, and its backup if one was asked for, was
// proven in this run, all names are flushed to the disk, and places and files are looked at again
// right before it goes (see docs/promises.md).
#pragma once

#include "mfx/engine/card/CardScan.h"
#include "mfx/engine/names/TargetName.h"
#include "mfx/engine/run/BrowserWait.h"
#include "mfx/engine/run/DownloadAccount.h"
#include "mfx/engine/run/GroupConversion.h"
#include "mfx/engine/run/GuardedDeletion.h"
#include "mfx/engine/run/ProgressMeter.h"
#include "mfx/engine/saving/FinalFolders.h"
#include "mfx/engine/saving/GroupWork.h"
#include "mfx/engine/saving/PlaceWatch.h"
#include "mfx/engine/sink/DownloadEvents.h"
#include "mfx/engine/sink/DownloadRequest.h"
#include "mfx/engine/sink/GroupBackup.h"
#include "mfx/engine/sink/SinkSession.h"
#include "platform/common/threads/Lock.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace mfx {

class GroupStager;
struct StagingPlan;

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
    void openPlaces();
    void warnOfPlaces();
    void saveAll();
    StagingPlan stagingPlan();
    void runGroups();
    bool runNextGroup(GroupStager& stager);
    void sumUp();
    std::uint64_t firstNumber() const;
    void finishGroup(GroupWork& work);
    void decide(GroupWork& work);
    std::optional<std::string> lostPlace(const GroupWork& work) const;
    std::optional<std::string> stopWherePlaceIsLost(const GroupWork& work);
    void failWherePlaceIsLost(GroupWork& work);
    GroupConversion::Hooks conversionHooks();
    void save(GroupWork& work, std::vector<ItemEvent>& events);
    void backUp(GroupWork& work, std::vector<ItemEvent>& events);
    bool isOriginalItself(const MemberBackup& backup, std::uint32_t item) const;
    void noteBackup(
        const GroupWork& work, std::size_t member, MemberBackup backup, ItemEvent& event);
    bool isProven(const MemberWork& member, const ItemEvent& event) const;
    void noteUnprovenDNG(const MemberWork& member, const ItemEvent& event);
    void judge(GroupWork& work, std::vector<ItemEvent>& events);
    void judgeMember(const GroupWork& work, const MemberWork& member, ItemEvent& event);
    std::string reasonToKeep(const GroupWork& work, const MemberWork& member) const;
    void keepSaved(const GroupWork& work, const MemberWork& member, ItemEvent& event);
    void keep(const GroupWork& work, const MemberWork& member, ItemEvent& event);
    void conclude(const GroupWork& work, const std::vector<ItemEvent>& events);
    void noteFailure(const GroupWork& work);
    void stopAt(const std::string& reason);
    void failRest(std::size_t firstGroup, const std::string& reason);
    void failItem(std::uint32_t item, const std::string& reason);
    void reportRestored();
    void tellPutBack(const std::string& path);

    void closeDownload();
    void finishSink(const std::vector<std::uint32_t>& listed, bool deletes);
    void awaitBrowser(bool deletes);
    void endDeletion(bool deletes);
    void leavePlaces();
    void flushNames();
    SinkItem sinkItem(const GroupWork& work, std::size_t member, const std::string& folder) const;
    SinkItem finishedItem(std::uint32_t item) const;
    std::string deviceName(std::uint32_t item) const;

    void reportProgress();
    void tellSummary();

    const DownloadRequest m_request;
    const CardContents& m_card;
    SinkSession& m_sink;
    DownloadEvents& m_events;
    std::vector<ItemGroup> m_groups; // constant once the card was looked at
    PlaceWatch m_places;
    FinalFolders m_folders;
    GroupBackup m_backup;
    DownloadAccount m_account;
    GuardedDeletion m_deletion;
    std::uint64_t m_nextNumber = 0; // that of the next group which is saved
    std::optional<std::string> m_stopReason; // why no further group is begun
    bool m_targetRefused = false; // some folder of the target takes no files
    ProgressMeter m_progress;
    GroupConversion m_conversion;
    Pt::Lock m_tellingLock;
    bool m_isTold TEVORO_GUARDED_BY(m_tellingLock) = false; // the summary; no progress after it
    bool m_isOver = false; // the same, for the caller's thread
    BrowserWait m_browserWait;
};

} // namespace mfx
