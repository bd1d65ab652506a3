// Reads groups from the card ahead of the thread that moves them into place: plans their names and
// makes proven copies in their item folders, on a few threads, in the order of the groups.
//
// Borrows the card and the rules, which stay as they are while it works. `take` is for one thread;
// the destructor stops the work and waits for it; staged groups that nobody took are undone.
#pragma once

#include "mfx/engine/saving/FinalFolders.h"
#include "mfx/engine/saving/GroupWork.h"
#include "mfx/engine/saving/ProgressPhase.h"
#include "mfx/engine/saving/TargetSpot.h"
#include "platform/common/threads/Lock.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace mfx {

// Whether a folder lies too deep for the texts in which items are handed over.
bool isTooDeep(const std::string& folder);

struct StagingPlan {
    const CardContents& card;
    const std::vector<ItemGroup>& groups;
    const NamingRules& rules;
    std::uint64_t firstSequence = 1; // for names in item folders; final ones are decided later
    bool dryRun = false; // plan and compare, but copy nothing
    bool wantsDNG = false; // raw files that stand there as DNGs are there
    // Told of an item's bytes that were read off the card or proven, from several threads.
    std::function<void(std::uint32_t item, ProgressPhase phase, std::uint64_t bytes)> progress;
    // Whether to give up copies in hand and begin no more.
    std::function<bool()> shouldStop;
};

class GroupStager {
public:
    GroupStager(StagingPlan plan, FinalFolders& folders);
    ~GroupStager();
    GroupStager(const GroupStager&) = delete;
    GroupStager& operator=(const GroupStager&) = delete;

    // Waits for the next group in order. None when it was stopped before that group was begun.
    // Requires: not called more often than there are groups.
    std::unique_ptr<GroupWork> take();

    // Begins no further group; copies in hand are given up.
    void stop();

private:
    void run();
    std::optional<std::size_t> nextGroup();
    std::unique_ptr<GroupWork> stage(std::size_t group);
    std::unique_ptr<GroupWork> begin(std::size_t group) const;
    void plan(GroupWork& work);
    static void requireUsableFolder(GroupWork& work);
    bool settleNumbered(GroupWork& work) const;
    TargetSpot spotOf(GroupWork& work) const;
    void copyMembers(GroupWork& work);
    bool openItemFolder(GroupWork& work) const;
    void stageMember(GroupWork& work, std::size_t index, const std::string& name);
    void reportCompared(const GroupWork& work) const;
    Pt::CopyResult copyMember(GroupWork& work, std::size_t member);
    bool isStopped() const { return m_stopped || m_plan.shouldStop(); }

    const StagingPlan m_plan;
    FinalFolders& m_folders;
    std::atomic<bool> m_stopped{false};

    Pt::Lock m_lock;
    std::condition_variable_any m_roomMade; // for the threads that stage
    std::condition_variable_any m_groupStaged; // for the one that takes
    std::size_t m_nextToStage TEVORO_GUARDED_BY(m_lock) = 0;
    std::size_t m_nextToTake TEVORO_GUARDED_BY(m_lock) = 0;
    std::map<std::size_t, std::unique_ptr<GroupWork>> m_staged TEVORO_GUARDED_BY(m_lock);

    std::vector<std::thread> m_threads;
};

} // namespace mfx
