// What becomes of the raw files of a group for which DNGs are wanted: their conversion by the sink,
// and the DNGs that earlier runs have made of them.
//
// Borrows all that it is given. One thread, that of the sink.
#pragma once

#include "mfx/engine/run/DownloadAccount.h"
#include "mfx/engine/run/ProgressMeter.h"
#include "mfx/engine/saving/GroupWork.h"
#include "mfx/engine/saving/PlaceWatch.h"
#include "mfx/engine/sink/DownloadEvents.h"
#include "mfx/engine/sink/DownloadRequest.h"
#include "mfx/engine/sink/SinkSession.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace mfx {

class GroupConversion {
public:
    // What the download does for it.
    struct Hooks {
        // Why the run cannot go on with a group, and ends; nothing where it can.
        std::function<std::optional<std::string>(const GroupWork&)> stopWherePlaceIsLost;
        std::function<SinkItem(const GroupWork&, std::size_t member)> sinkItem;
        std::function<void(const std::string& path)> tellPutBack;
    };

    GroupConversion(const DownloadRequest& request,
        SinkSession& sink,
        const PlaceWatch& places,
        DownloadAccount& account,
        ProgressMeter& progress,
        Hooks hooks);

    // Notes which members await it; before the group is placed.
    void noteAwaited(GroupWork& work) const;

    // Those that are in their place now. What came of it stands in their events.
    void convert(GroupWork& work, std::vector<ItemEvent>& events);

    // That of an earlier run, in whose place the member is.
    void noteStandingDNG(const MemberWork& member, ItemEvent& event);

private:
    void convertMember(GroupWork& work, std::size_t member, ItemEvent& event);
    bool finishConversion(const GroupWork& work, MemberWork& member);
    void convertAlone(GroupWork& work, std::size_t member, ItemEvent& event);
    void bringBack(const GroupWork& work, MemberWork& file);
    void noteDNG(const MemberWork& member, const std::string& expected, ItemEvent& event);

    const DownloadRequest& m_request;
    SinkSession& m_sink;
    const PlaceWatch& m_places;
    DownloadAccount& m_account;
    ProgressMeter& m_progress;
    const Hooks m_hooks;
};

} // namespace mfx
