#include "mfx/engine/saving/GroupStager.h"

#include "mfx/engine/saving/CopyText.h"
#include "mfx/engine/saving/NumberedCopies.h"
#include "mfx/texts/Texts.h"
#include "platform/common/text/NameText.h"
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

bool isConvertible(std::string_view extension)
{
    return mediaKind(extension) == MediaKind::kRaw && !Pt::equalIgnoringAsciiCase(extension, "dng");
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

// The threads are joined before anything is undone: one may be about to add its group to m_staged.
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

// In the order of the groups, though a later one may be staged sooner: numbers and free names are
// given in that order, and would depend on the speed of threads otherwise. Taking makes room for
// one more, so that the threads are woken before the wait and not after it.
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

// The next group to stage, once there is room; nothing when all are begun or it was stopped. The
// room is limited, for staged copies take space in the target before they are placed.
std::optional<std::size_t> GroupStager::nextGroup()
{
    Pt::Locked locked(m_lock);
    while (!m_stopped && m_nextToStage >= m_nextToTake + kAhead)
        m_roomMade.wait(m_lock);
    if (m_nextToStage == m_plan.groups.size() || m_stopped)
        return std::nullopt;
    return m_nextToStage++;
}

// The lock is held only between groups, never while a file is read or written.
void GroupStager::run()
{
    while (const auto group = nextGroup()) {
        std::unique_ptr<GroupWork> work = stage(*group);
        Pt::Locked locked(m_lock);
        m_staged[*group] = std::move(work);
        m_groupStaged.notify_one();
    }
}

// What is thrown on the way (a name that the pattern cannot give, no memory) fails this group and
// no other: the thread goes on, and take() waits for each group in turn.
std::unique_ptr<GroupWork> GroupStager::stage(std::size_t group)
{
    std::unique_ptr<GroupWork> work = begin(group);
    try {
        plan(*work);
        if (!work->failed)
            copyMembers(*work);
    } catch (const std::exception& failure) {
        failGroup(*work, work->members.size(), failure.what());
    }
    return work;
}

std::unique_ptr<GroupWork> GroupStager::begin(std::size_t group) const
{
    auto work = std::make_unique<GroupWork>();
    work->group = group;
    for (const std::uint32_t item : m_plan.groups[group].members) {
        MemberWork member;
        member.item = item;
        member.source = m_plan.card.pathOf(m_plan.card.items[item]);
        member.wantsDNG = m_plan.wantsDNG
            && isConvertible(
                memberExtension(m_plan.card, m_plan.groups[group], work->members.size()));
        work->members.push_back(std::move(member));
    }
    return work;
}

void GroupStager::plan(GroupWork& work)
{
    const ItemGroup& group = m_plan.groups[work.group];
    work.date = groupCaptureDate(m_plan.card, group);
    // With {seq}, this name is one for the item folder only. The number that counts is given when
    // the group is placed, for groups before it may turn out to be there already.
    work.target =
        groupTarget(m_plan.card, group, work.date, m_plan.rules, m_plan.firstSequence + work.group);
    work.folder = &m_folders.open(work.target->subfolder());
    requireUsableFolder(work);
}

void GroupStager::requireUsableFolder(GroupWork& work)
{
    const FinalFolder& folder = *work.folder;
    const auto fail = [&work](const std::string& reason) {
        failGroup(work, work.members.size(), reason);
    };
    if (isTooDeep(folder.path)) {
        fail(text("$$$/Mfx/Download/FolderTooDeep=the folder %1 lies too deep", {folder.path}));
    } else if (!folder.objection.empty()) {
        work.problem = Pt::CopyProblem::kTargetUnusable;
        fail(folder.objection);
    } else if (folder.error) {
        // A full disk ends the run; one sub-folder that refuses does not.
        work.problem = folder.error == std::errc::no_space_on_device
            ? Pt::CopyProblem::kTargetFull
            : Pt::CopyProblem::kTargetUnusable;
        fail(text("$$$/Mfx/Download/FolderUnusable=the folder %1 cannot be used: %2",
            {folder.path, folder.error.message()}));
    }
}

bool isTooDeep(const std::string& folder)
{
    return Pt::toUtf16(folder).size() > kMaxFolderLength;
}

// Under whatever number the group stands there, it is not copied once more. With {seq}, a second
// run over the same card would otherwise save every picture again under the next free numbers.
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
        TargetSpot spot = findSpot(work);
        reportCompared(work);
        return spot;
    }
    TargetSpot anywhere;
    anywhere.occupants.assign(work.members.size(), Occupant::kNone);
    anywhere.dngs.resize(work.members.size());
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
    if (spot.holdsAll()) {
        settle(work, [&](std::size_t i) { return work.target->fileName(i, spot.number); });
        for (std::size_t i = 0; i < work.members.size(); ++i)
            work.members[i].dng = spot.dngs[i];
    }
    if (spot.holdsAll() || m_plan.dryRun || !openItemFolder(work))
        return;
    for (std::size_t i = 0; i < work.members.size() && !work.failed; ++i)
        if (!spot.holds(i))
            stageMember(work, i, work.target->fileName(i, spot.number));
}

// False when the group failed for want of a folder.
bool GroupStager::openItemFolder(GroupWork& work) const
{
    std::error_code error;
    const auto itemFolder = work.folder->work.makeItemFolder(error);
    if (itemFolder) {
        work.itemFolder = *itemFolder;
        return true;
    }
    work.problem = Pt::CopyProblem::kTargetUnusable;
    failGroup(work,
        work.members.size(),
        text("$$$/Mfx/Download/FolderTakesNoFiles=the folder %1 takes no files: %2",
            {work.folder->path, error.message()}));
    return false;
}

// The name is set before the copy is begun: where copying fails, the item folder may hold a part of
// the file, and is then not taken for empty.
void GroupStager::stageMember(GroupWork& work, std::size_t index, const std::string& name)
{
    MemberWork& member = work.members[index];
    member.stagedName = name;
    const Pt::CopyResult result = copyMember(work, index);
    if (!result.isProven()) {
        work.problem = result.problem;
        failGroup(work, index, copyText(result, work.itemFolder, name));
        return;
    }
    member.digest = result.digest;
    member.state = MemberState::kStaged;
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
    // All of the file is written before any of it is read back, so that the first bytes that are
    // reported are those of the copy and the rest those of the proof.
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
