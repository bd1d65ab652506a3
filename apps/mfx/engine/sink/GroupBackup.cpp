#include "mfx/engine/sink/GroupBackup.h"

#include "mfx/engine/saving/CopyIdentity.h"
#include "mfx/engine/saving/CopyText.h"
#include "mfx/engine/saving/TargetSpot.h"
#include "mfx/engine/sink/BackupSearch.h"
#include "mfx/texts/Texts.h"
#include "platform/common/files/FileAccess.h"
#include "platform/common/files/FilePlacement.h"
#include "platform/common/files/FolderLock.h"
#include "platform/common/services/Clock.h"
#include "platform/common/text/NameText.h"

#include <cstdlib>
#include <filesystem>

namespace mfx {

namespace {

constexpr std::int64_t kNanosecondsPerMillisecond = 1'000'000;
constexpr std::int64_t kClockStep = 20 * kNanosecondsPerMillisecond;

// Where the member's proven copy lies now: in its item folder, or in its final place already.
bool isInPlace(const MemberWork& member)
{
    return member.alreadyPresent() && !member.standsAsDNG();
}

std::string savedPath(const GroupWork& work, const MemberWork& member)
{
    return isInPlace(member) ? work.folder->ownPath + '/' + member.finalName
                             : work.itemFolder + '/' + member.stagedName;
}

// Nothing for a raw file of which only the DNG stands.
std::optional<Pt::FileStatus> savedStatus(const GroupWork& work, const MemberWork& member)
{
    std::error_code error;
    if (!isInPlace(member) && member.stagedName.empty())
        return std::nullopt;
    return Pt::fileStatus(savedPath(work, member), error);
}

std::vector<std::optional<Pt::FileStatus>> savedCopies(const GroupWork& work)
{
    std::vector<std::optional<Pt::FileStatus>> all;
    for (const MemberWork& member : work.members)
        all.push_back(savedStatus(work, member));
    return all;
}

// Another file, with size and time of the saved one; FAT keeps even seconds. The bytes were proven
// by the sink, so that this only has to tell its copy from a stranger's file of that name.
bool isCopyOf(const Pt::FileStatus& copy, const Pt::FileStatus& saved)
{
    constexpr std::int64_t kTimeStep = 2'000 * kNanosecondsPerMillisecond;
    return copy.kind == Pt::FileStatus::Kind::kRegular && copy.size == saved.size
        && std::abs(copy.modified - saved.modified) < kTimeStep
        && (copy.device != saved.device || copy.inode != saved.inode);
}

// In the file system's own time, which may lag behind the clock: the kernel stamps files with the
// time of its last tick.
std::int64_t now()
{
    return Pt::systemClock().wallMilliseconds() * kNanosecondsPerMillisecond - kClockStep;
}

} // namespace

GroupBackup::GroupBackup(const CardContents& card,
    const std::vector<ItemGroup>& groups,
    SinkSession& sink,
    const PlaceWatch& places)
    : m_card(card)
    , m_groups(groups)
    , m_sink(sink)
    , m_places(places)
{
}

// The lock on the folder is held from the look for a free stem to the last copy of the group: of
// two programs, the second looks when the first has its files in place. Where nothing can be locked
// (some shares), the sink still never writes over a file; two groups might then share a stem.
std::vector<MemberBackup> GroupBackup::backUp(
    GroupWork& work, const std::function<void(std::size_t member)>& done)
{
    if (!m_hasReadStems)
        m_stems.read(m_places.backupOwnPath());
    m_hasReadStems = true;
    std::error_code noTurns; // where nothing can be locked, there are no turns
    const auto turn = Pt::FolderLock::waitAlone(m_places.backupOwnPath(), noTurns);
    const GroupTarget names = deviceNames(work);
    const bool isBeside = isBesideSaved(work);
    TargetSpot spot;
    if (!isBeside)
        spot = findSpotIn(m_places.backupOwnPath(), names, work, m_stems, noCopyTest(work));
    std::vector<MemberBackup> backups(work.members.size());
    for (std::size_t i = 0; i < work.members.size() && !m_lost; ++i) {
        backups[i] =
            isBeside ? backUpBeside(work, i, names.fileName(i, 0)) : backUpAt(spot, work, i, names);
        done(i);
    }
    return backups;
}

// Whether the second copies go into the very folder of the saved ones.
bool GroupBackup::isBesideSaved(const GroupWork& work) const
{
    return work.folder->kinship.toBackup == Kinship::kSameName
        && work.folder->path == *m_places.backupPath();
}

MemberBackup GroupBackup::backUpAt(
    const TargetSpot& spot, GroupWork& work, std::size_t member, const GroupTarget& names)
{
    if (!spot.error)
        return backUpMember(work,
            member,
            names.fileName(member, spot.number),
            spot.occupants[member] == Occupant::kSameBytes);
    MemberBackup backup;
    backup.error = lookReason(names.fileName(member, 0), spot.error);
    return backup;
}

// The saved copy or the original, seen through an overlay or a pool, is no second copy.
NoCopyTest GroupBackup::noCopyTest(const GroupWork& work) const
{
    const bool ownFiles = m_places.backupKeepsOwnFiles();
    return [this, &work, ownFiles, saved = savedCopies(work)](
               std::size_t member, const Pt::FileStatus& there) {
        const Pt::FileStatus& original = m_card.items[work.members[member].item].status;
        return !isToldApart(there, original, ownFiles && m_card.keepsOwnFiles)
            || (saved[member]
                && !isToldApart(there, *saved[member], ownFiles && work.folder->keepsOwnFiles));
    };
}

// The names that the card gave, fit for a file: the backup is the card as it was, whatever the
// saved copies are called.
GroupTarget GroupBackup::deviceNames(const GroupWork& work) const
{
    const ItemGroup& group = m_groups[work.group];
    std::vector<std::string> extensions;
    for (std::size_t i = 0; i < group.members.size(); ++i)
        extensions.push_back(Pt::displayName(memberExtension(m_card, group, i)));
    return {{}, safeStem(Pt::displayName(groupStem(m_card, group))), std::move(extensions)};
}

MemberBackup GroupBackup::backUpMember(
    GroupWork& work, std::size_t member, const std::string& name, bool isThere)
{
    MemberBackup backup;
    backup.alreadyPresent = isThere;
    const std::string path = m_places.backupOwnPath() + '/' + name;
    std::error_code error;
    if (!isThere)
        backup.copy = makeMember(work, member, name, backup.error);
    else if (const auto status = Pt::fileStatus(path, error))
        backup.copy = KeptCopy{path, *status};
    backup.isMade = backup.copy.has_value();
    if (backup.isMade)
        m_stems.take(name);
    else if (backup.error.empty())
        backup.error = reason(name, {});
    return backup;
}

// The moment before the call is taken first: what has the name and was changed before it was not
// made by this call.
std::optional<KeptCopy> GroupBackup::makeMember(
    GroupWork& work, std::size_t member, const std::string& name, std::string& why)
{
    const MemberWork& file = work.members[member];
    const std::int64_t since = now();
    if (!stageRawFile(work, member, why))
        return std::nullopt;
    const auto saved = savedStatus(work, file);
    return saved && callSink(work, member, name, why) ? madeCopy(file, name, *saved, since)
                                                      : std::nullopt;
}

// The raw file of a member that stands as a DNG is on the card alone. The sink gets a proven copy
// of it as it gets any other, from the item folder, with which it goes.
bool GroupBackup::stageRawFile(GroupWork& work, std::size_t member, std::string& why)
{
    MemberWork& file = work.members[member];
    if (!file.standsAsDNG())
        return true;
    std::error_code error;
    const auto folder = work.itemFolder.empty() ? work.folder->work.makeItemFolder(error)
                                                : std::optional(work.itemFolder);
    if (!folder) {
        why = text("$$$/Mfx/Download/FolderTakesNoFiles=the folder %1 takes no files: %2",
            {work.folder->path, error.message()});
        return false;
    }
    work.itemFolder = *folder;
    file.stagedName = file.finalName;
    Pt::CopyOptions options;
    options.expected = m_card.items[file.item].status;
    Pt::CopyResult result =
        Pt::writeProvenCopy(file.source, work.itemFolder + '/' + file.stagedName, options);
    if (result.isProven() && result.digest != file.digest)
        result.problem = Pt::CopyProblem::kSourceChanged;
    if (!result.isProven())
        why = copyText(result, work.itemFolder, file.stagedName);
    return result.isProven();
}

// In the very folder of the saved copies the sink numbers the second copy by rules of its own. It
// counts as made, but no original goes for it: both would be lost with one folder.
MemberBackup GroupBackup::backUpBeside(GroupWork& work, std::size_t member, const std::string& name)
{
    MemberBackup backup;
    const MemberWork& file = work.members[member];
    const auto saved = savedStatus(work, file);
    backup.alreadyPresent =
        file.digest && findBackup(m_places.backupOwnPath(), name, *file.digest, saved).has_value();
    backup.isMade = backup.alreadyPresent
        || (stageRawFile(work, member, backup.error) && callSink(work, member, name, backup.error));
    return backup;
}

// The sink takes paths. The places are looked at before the call, so that it does not write beneath
// a mount point, and after it: a disk that went in between makes whatever it says worthless.
bool GroupBackup::callSink(
    const GroupWork& work, std::size_t member, const std::string& name, std::string& error)
{
    const MemberWork& file = work.members[member];
    const auto saved = savedStatus(work, file);
    const std::int64_t start = now();
    m_lost = m_places.lostPlace();
    if (m_lost)
        return false;
    std::string sinksReason;
    const bool isMade = m_sink.makeBackup(itemFor(work, file, name), sinksReason);
    m_lost = m_places.lostPlace();
    if (m_lost) {
        if (isMade && saved && !m_places.isBackupThere())
            removeStray(name, *saved, start);
        return false;
    }
    if (!isMade)
        error = reason(name, sinksReason);
    return isMade;
}

// With a folder as others understand it: the sink resolves paths in its own way.
SinkItem GroupBackup::itemFor(
    const GroupWork& work, const MemberWork& file, const std::string& name)
{
    const std::string folder =
        isInPlace(file) ? work.folder->path : work.folder->nameOf(work.itemFolder);
    return {static_cast<long>(file.item) + 1, name, file.finalName, folder};
}

// The sink says that it made a proven copy, and was given a name that was free. If somebody took
// that name meanwhile, the copy has another, and is looked for.
std::optional<KeptCopy> GroupBackup::madeCopy(const MemberWork& member,
    const std::string& name,
    const Pt::FileStatus& saved,
    std::int64_t since) const
{
    const std::string folder = m_places.backupOwnPath() + '/';
    std::error_code error;
    auto status = Pt::fileStatus(folder + name, error);
    if (status && isCopyOf(*status, saved) && status->changed >= since)
        return KeptCopy{folder + name, *status};
    const auto found = member.digest
        ? findBackup(m_places.backupOwnPath(), name, *member.digest, saved)
        : std::nullopt;
    if (!found)
        return std::nullopt;
    status = Pt::fileStatus(folder + *found, error);
    return status ? std::optional(KeptCopy{folder + *found, *status}) : std::nullopt;
}

// The sink made the folder again where the disk had been, and a copy in it. Goes: what has our
// name, size and time and was made since the call, and its folder if that was made too.
void GroupBackup::removeStray(
    const std::string& name, const Pt::FileStatus& saved, std::int64_t since) const
{
    const std::string folder = *m_places.backupPath();
    const std::string path = folder + '/' + name;
    std::error_code error;
    const auto stray = Pt::fileStatus(path, error);
    const auto born = Pt::birthTime(path);
    if (!stray || !isCopyOf(*stray, saved) || !born || *born < since)
        return;
    Pt::unlinkPath(path);
    if (const auto folderBorn = Pt::birthTime(folder); folderBorn && *folderBorn >= since)
        std::filesystem::remove(folder, error);
}

// Why the folder does not tell what is under a name. Nothing is made to find out: the sink has not
// been called.
std::string GroupBackup::lookReason(const std::string& name, const std::error_code& error) const
{
    const auto letter =
        letterText(m_places.backupOwnPath(), name, error, Pt::LetterTest::kLooksOnly);
    return letter ? *letter : reason(name, systemReason(error));
}

// The sink gives one reason for many: the folder itself is asked.
std::string GroupBackup::reason(const std::string& name, const std::string& sinksReason) const
{
    const std::string folder = m_places.backupTrialFolder();
    if (const std::error_code error = Pt::tryFolder(folder))
        return text("$$$/Mfx/Backup/FolderTakesNoFile=the backup folder %1 takes no file: %2",
            {Pt::displayName(*m_places.backupPath()), systemReason(error)});
    const auto refusal = std::make_error_code(std::errc::invalid_argument);
    if (const auto letter = letterText(folder, name, refusal, Pt::LetterTest::kMakesFiles))
        return *letter;
    return sinksReason.empty()
        ? text("$$$/Mfx/Backup/NotProven=the backup copy could not be written and proven")
        : sinksReason;
}

} // namespace mfx
