#include "mfx/engine/saving/GroupStager.h"

#include "mfx/engine/saving/CopyText.h"
#include "mfx/engine/saving/NumberedCopies.h"
#include "mfx/texts/Texts.h"
#include "platform/common/text/PtUnicode.h"

#include <algorithm>
#include <iterator>

namespace mfx {

namespace {

constexpr std::size_t kThreads = 3; // flushes of several files share the disk's own
constexpr std::size_t kAhead = 8; // groups staged and not yet taken

// A folder text of the contract ends at 259 units, and the longest is that of an item folder.
constexpr std::size_t kMaxFolderLength = 259 - std::size("/.mfxdownload/4194304-4294967295");

// Nothing is to be copied: the names are those of the files that stand there.
void settle(GroupWork& work, const std::function<std::string(std::size_t member)>& nameOf)
{
    work.alreadyPresent = true;
    for (std::size_t i = 0; i < work.members.size(); ++i) {
        work.members[i].state = MemberState::kAlreadyPresent;
        work.members[i].finalName = nameOf(i);
    }
}

} // namespace

GroupStager::GroupStager(StagingPlan plan, FinalFolders& folders)
    : m_plan(std::move(plan))
    , m_folders(folders)
{
    const std::size_t count = std::min(kThreads, m_plan.groups.size());
    for (std::size_t i = 0; i < count; ++i)
        m_threads.emplace_back([this] { run(); });
}

GroupStager::~GroupStager()
{
    stop();
    for (std::thread& thread : m_threads)
        thread.join();
    for (auto& [group, work] : m_staged)
        if (!work->itemFolder.empty())
            work->folder->work.dropItemFolder(work->itemFolder);
}

void GroupStager::stop()
{
    // Under the lock: who has just found that nothing is stopped must not go to sleep after this.
    Pt::Locked locked(m_lock);
    m_stopped = true;
    m_roomMade.notify_all();
    m_groupStaged.notify_all();
}

std::unique_ptr<GroupWork> GroupStager::take()
{
    Pt::Locked locked(m_lock);
    const std::size_t wanted = m_nextToTake++;
    m_roomMade.notify_one();
    while (!m_staged.contains(wanted)) {
        if (m_stopped && wanted >= m_nextToStage)
            return nullptr;
        m_groupStaged.wait(m_lock);
    }
    std::unique_ptr<GroupWork> work = std::move(m_staged.extract(wanted).mapped());
    return work;
}

void GroupStager::run()
{
    for (;;) {
        std::size_t group = 0;
        {
            Pt::Locked locked(m_lock);
            while (!m_stopped && m_nextToStage >= m_nextToTake + kAhead)
                m_roomMade.wait(m_lock);
            if (m_nextToStage == m_plan.groups.size() || m_stopped)
                break;
            group = m_nextToStage++;
        }
        std::unique_ptr<GroupWork> work = stage(group);
        Pt::Locked locked(m_lock);
        m_staged[group] = std::move(work);
        m_groupStaged.notify_one();
    }
}

std::unique_ptr<GroupWork> GroupStager::stage(std::size_t group)
{
    auto work = std::make_unique<GroupWork>();
    work->group = group;
    for (const std::uint32_t item : m_plan.groups[group].members) {
        MemberWork member;
        member.item = item;
        member.source = m_plan.card.pathOf(m_plan.card.items[item]);
        work->members.push_back(std::move(member));
    }
    try {
        plan(*work);
        if (!work->failed)
            copyMembers(*work);
    } catch (const std::exception& failure) {
        failGroup(*work, work->members.size(), failure.what());
    }
    return work;
}

void GroupStager::plan(GroupWork& work)
{
    const ItemGroup& group = m_plan.groups[work.group];
    work.date = groupCaptureDate(m_plan.card, group);
    work.target =
        groupTarget(m_plan.card, group, work.date, m_plan.rules, m_plan.firstSequence + work.group);
    work.folder = &m_folders.open(work.target->subfolder());
    if (isTooDeep(work.folder->path)) {
        failGroup(work,
            work.members.size(),
            text(
                "$$$/Mfx/Download/FolderTooDeep=the folder %1 lies too deep", {work.folder->path}));
    } else if (!work.folder->objection.empty()) {
        work.problem = Pt::CopyProblem::kTargetUnusable;
        failGroup(work, work.members.size(), work.folder->objection);
    } else if (work.folder->error) {
        work.problem = work.folder->error == std::errc::no_space_on_device
            ? Pt::CopyProblem::kTargetFull
            : Pt::CopyProblem::kTargetUnusable;
        failGroup(work,
            work.members.size(),
            text("$$$/Mfx/Download/FolderUnusable=the folder %1 cannot be used: %2",
                {work.folder->path, work.folder->error.message()}));
    }
}

bool isTooDeep(const std::string& folder)
{
    return Pt::toUtf16(folder).size() > kMaxFolderLength;
}

// Under whatever number the group stands there, it is not copied once more.
bool GroupStager::settleNumbered(GroupWork& work) const
{
    if (!m_plan.rules.useNumbers())
        return false;
    const ItemGroup& group = m_plan.groups[work.group];
    const NameFields fields = nameFields(m_plan.card, group, work.date, 0);
    const auto stem = findNumberedCopies(work, m_plan.rules.rename->numberMatcher(fields));
    if (stem)
        settle(work, [&](std::size_t i) { return nameWithStem(work, i, *stem); });
    reportCompared(work);
    return stem.has_value();
}

// With numbers, what stands under the name of now says nothing: the group gets its number later.
TargetSpot GroupStager::spotOf(GroupWork& work) const
{
    if (!m_plan.rules.useNumbers()) {
        const TargetSpot spot = findSpot(work);
        reportCompared(work);
        return spot;
    }
    TargetSpot anywhere;
    anywhere.occupants.assign(work.members.size(), Occupant::kNone);
    return anywhere;
}

void GroupStager::copyMembers(GroupWork& work)
{
    if (settleNumbered(work))
        return;
    const TargetSpot spot = spotOf(work);
    if (spot.error) {
        work.problem = Pt::CopyProblem::kTargetUnusable;
        failUnreadable(work, spot.error);
        return;
    }
    if (spot.holdsAll())
        settle(work, [&](std::size_t i) { return work.target->fileName(i, spot.number); });
    if (spot.holdsAll() || m_plan.dryRun)
        return;
    std::error_code error;
    const auto itemFolder = work.folder->work.makeItemFolder(error);
    if (!itemFolder) {
        work.problem = Pt::CopyProblem::kTargetUnusable;
        failGroup(work,
            work.members.size(),
            text("$$$/Mfx/Download/FolderTakesNoFiles=the folder %1 takes no files: %2",
                {work.folder->path, error.message()}));
        return;
    }
    work.itemFolder = *itemFolder;
    for (std::size_t i = 0; i < work.members.size(); ++i) {
        if (spot.occupants[i] == Occupant::kSameBytes)
            continue;
        work.members[i].stagedName = work.target->fileName(i, spot.number);
        const Pt::CopyResult result = copyMember(work, i);
        if (!result.isProven()) {
            work.problem = result.problem;
            failGroup(work, i, copyText(result, work.itemFolder, work.members[i].stagedName));
            return;
        }
        work.members[i].digest = result.digest;
        work.members[i].state = MemberState::kStaged;
    }
}

// What was read to be compared came off the card as well.
void GroupStager::reportCompared(const GroupWork& work) const
{
    for (const MemberWork& member : work.members)
        if (member.digest)
            m_plan.progress(member.item, ProgressPhase::kCopy, member.digest->size);
}

Pt::CopyResult GroupStager::copyMember(GroupWork& work, std::size_t member)
{
    const std::uint32_t item = work.members[member].item;
    Pt::CopyOptions options;
    options.expected = m_plan.card.items[item].status;
    // All of the file is written before any of it is read back.
    std::uint64_t unread = options.expected->size;
    options.progress = [this, item, unread](std::uint64_t bytes) mutable {
        m_plan.progress(item, unread != 0 ? ProgressPhase::kCopy : ProgressPhase::kProve, bytes);
        unread -= std::min(unread, bytes);
        return !isStopped();
    };
    return Pt::writeProvenCopy(work.members[member].source,
        work.itemFolder + '/' + work.members[member].stagedName,
        options);
}

} // namespace mfx
