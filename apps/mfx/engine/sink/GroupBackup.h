// The second copies of one group after another, made by the sink. The group keeps one stem in the
// backup folder too: a clash of one member numbers them all.
//
// Programs with one backup folder take turns by a lock on it, since the sink chooses a free name
// before it copies. Before and after each call of the sink the places are looked at: it takes
// paths, and a disk may be pulled under them. Borrows all; for the thread that owns the sink.
#pragma once

#include "mfx/engine/saving/GroupWork.h"
#include "mfx/engine/saving/KeptItem.h"
#include "mfx/engine/saving/PlaceWatch.h"
#include "mfx/engine/saving/TargetSpot.h"
#include "mfx/engine/sink/SinkSession.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace mfx {

struct MemberBackup {
    bool isMade = false; // a proven copy stands in the backup folder
    bool alreadyPresent = false; // before this run
    std::optional<KeptCopy> copy; // where it lies; nothing beside the saved copies themselves
    std::string error; // why there is none
};

class GroupBackup {
public:
    GroupBackup(const CardContents& card,
        const std::vector<ItemGroup>& groups,
        SinkSession& sink,
        const PlaceWatch& places);

    // One for each member; `done` is told of each member that is through. When a place is lost, the
    // rest is not tried, and `lost` says so.
    std::vector<MemberBackup> backUp(
        GroupWork& work, const std::function<void(std::size_t member)>& done);

    const std::optional<std::string>& lost() const { return m_lost; }

private:
    NoCopyTest noCopyTest(const GroupWork& work) const;
    GroupTarget deviceNames(const GroupWork& work) const;
    bool isBesideSaved(const GroupWork& work) const;
    MemberBackup backUpAt(
        const TargetSpot& spot, GroupWork& work, std::size_t member, const GroupTarget& names);
    std::optional<KeptCopy> makeMember(
        GroupWork& work, std::size_t member, const std::string& name, std::string& why);
    bool stageRawFile(GroupWork& work, std::size_t member, std::string& why);
    static SinkItem itemFor(const GroupWork& work, const MemberWork& file, const std::string& name);
    MemberBackup backUpMember(
        GroupWork& work, std::size_t member, const std::string& name, bool isThere);
    MemberBackup backUpBeside(GroupWork& work, std::size_t member, const std::string& name);
    bool callSink(
        const GroupWork& work, std::size_t member, const std::string& name, std::string& error);
    std::optional<KeptCopy> madeCopy(const MemberWork& member,
        const std::string& name,
        const Pt::FileStatus& saved,
        std::int64_t since) const;
    void removeStray(
        const std::string& name, const Pt::FileStatus& saved, std::int64_t since) const;
    std::string lookReason(const std::string& name, const std::error_code& error) const;
    std::string reason(const std::string& name, const std::string& sinksReason) const;

    const CardContents& m_card;
    const std::vector<ItemGroup>& m_groups;
    SinkSession& m_sink;
    const PlaceWatch& m_places;
    StemRegister m_stems; // of the backup folder, once it was read
    bool m_hasReadStems = false;
    std::optional<std::string> m_lost;
};

} // namespace mfx
