#include "mfx/engine/saving/PlaceWatch.h"

#include "mfx/engine/saving/FolderStatus.h"
#include "mfx/texts/Texts.h"
#include "platform/common/files/FileStatus.h"
#include "platform/common/files/FileSystemFacts.h"
#include "platform/common/ports/SecureRandom.h"
#include "platform/common/text/NameText.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <system_error>
#include <utility>

namespace mfx {

namespace fs = std::filesystem;

namespace {

// By chance, so that a marker that is seen elsewhere is this run's: one that a killed run left in a
// copied folder must not be taken for it.
std::string randomName(const std::string& prefix)
{
    constexpr char kDigits[] = "0123456789abcdef";
    const auto bytes = Pt::secureRandom16();
    if (!bytes)
        throw std::system_error(std::make_error_code(std::errc::function_not_supported));
    std::string name = prefix;
    for (const unsigned char byte : *bytes) {
        name += kDigits[byte >> 4U];
        name += kDigits[byte & 15U];
    }
    return name;
}

bool exists(const std::string& path)
{
    std::error_code error;
    return Pt::fileStatus(path, error).has_value();
}

Pt::HeldFolder held(const std::string& path)
{
    std::error_code error;
    auto folder = Pt::HeldFolder::open(path, error);
    if (!folder)
        throw std::system_error(error, Pt::displayName(path));
    return std::move(*folder);
}

PlaceError backupIsCardFolder(const std::string& backup, const std::string& cardFolder)
{
    return PlaceError(text("$$$/Mfx/Place/BackupIsCardFolder=the backup folder %1 and the "
                           "card's folder %2 are one folder under two names: choose another "
                           "backup folder",
        {Pt::displayName(backup), Pt::displayName(cardFolder)}));
}

} // namespace

PlaceWatch::PlaceWatch(
    const CardContents& card, std::string target, std::optional<std::string> backup, bool looksOnly)
    : m_card(card)
    , m_targetPath(std::move(target))
    , m_backupPath(std::move(backup))
    , m_looksOnly(looksOnly)
    , m_marker(randomName("target-"))
    , m_cardRoom(card, looksOnly)
{
}

// The folders are held first and compared then: what is compared is what will be written into, even
// if somebody mounts a disk over one of them in between.
void PlaceWatch::open()
{
    if (!m_looksOnly)
        m_target = held(m_targetPath);
    if (!m_backupPath)
        return;
    m_backupDisks = Pt::disksOf(*m_backupPath);
    m_backupKeepsOwnFiles = Pt::keepsItsOwnFiles(*m_backupPath);
    if (!m_looksOnly)
        openBackup();
    if (const FolderKinship kinship = backupKinship(); kinship.toCard == Kinship::kAlias)
        throw backupIsCardFolder(*m_backupPath, kinship.cardFolder);
}

// Where the backup names the target, the final folder's own work folder serves: a marker is in it.
void PlaceWatch::openBackup()
{
    m_backup = held(*m_backupPath);
    if (*m_backupPath == m_targetPath)
        return;
    m_backupWork = std::make_unique<WorkFolder>(m_backup->ownPath());
    std::error_code error;
    // What could not be cleared is no reason to make no backup. What becomes of raw files there is
    // for a run to say that saves into this folder.
    m_backupWork->recover(error, CutOffConversions::kAwaited);
    error = m_backupWork->layMarker(randomName("backup-"), true);
    if (error)
        throw std::system_error(error, Pt::displayName(*m_backupPath));
}

std::string PlaceWatch::ownPath(
    const std::optional<Pt::HeldFolder>& held, const std::string& otherwise)
{
    return held ? held->ownPath() : otherwise;
}

// Paths below a held folder lead through its descriptor, and mean nothing to people.
std::string PlaceWatch::nameOf(const std::string& ownPathBelow) const
{
    for (const auto* folder : {&m_target, &m_backup})
        if (*folder && ownPathBelow.starts_with((*folder)->ownPath()))
            return (*folder)->path() + ownPathBelow.substr((*folder)->ownPath().size());
    return Pt::HeldFolder::nameOf(ownPathBelow);
}

FolderKinship PlaceWatch::kinshipOf(const std::string& path,
    const std::string& ownPath,
    const WorkFolder& work,
    const FolderKinship* known) const
{
    FolderKinship kinship;
    kinship.toCard = kinshipToCard(path, ownPath, work.markerBelow(), kinship.cardFolder);
    // A trial writes a file and takes its time: once for each folder, and not again at the last
    // look, where a device that was found shared then still counts.
    if (!known)
        kinship.toCard = withTrial(kinship.toCard, work.trialFolder());
    else if (kinship.toCard == Kinship::kApart)
        kinship.toCard = known->toCard;
    if (m_backupPath)
        kinship.toBackup = kinshipToBackup(path, ownPath, work);
    return kinship;
}

FolderKinship PlaceWatch::backupKinship() const
{
    FolderKinship kinship;
    if (m_backupPath)
        kinship.toCard = kinshipToCard(*m_backupPath,
            backupOwnPath(),
            m_backupWork ? m_backupWork->markerBelow() : std::string(),
            kinship.cardFolder);
    return kinship;
}

std::string PlaceWatch::backupTrialFolder() const
{
    return m_backupWork ? m_backupWork->trialFolder() : backupOwnPath();
}

bool PlaceWatch::isBackupOnCardsDevice() const
{
    return m_backupPath
        && withTrial(backupKinship().toCard, backupTrialFolder()) != Kinship::kApart;
}

// In itself or at any depth.
bool PlaceWatch::holdsItems(std::uint32_t folder) const
{
    const std::string below = m_card.folders[folder].empty() ? "" : m_card.folders[folder] + '/';
    for (std::uint32_t other = 0; other < m_card.folders.size(); ++other)
        if (m_card.folderIds[other].items != 0
            && (other == folder || m_card.folders[other].starts_with(below)))
            return true;
    return false;
}

// Two tests, for each alone can be fooled: a file system may make up numbers of devices and inodes,
// and a marker is not seen where a view shows only a part of a folder.
bool PlaceWatch::isCardFolder(std::uint32_t folder,
    const std::optional<Pt::FileStatus>& status,
    const std::string& markerBelow) const
{
    const CardFolderId& id = m_card.folderIds[folder];
    return (status && status->device == id.device && status->inode == id.inode)
        || (!markerBelow.empty() && exists(m_card.folderPath(folder) + '/' + markerBelow));
}

// A folder of the card with items in it would be "copied" onto itself. One without is a place of
// its own, on the card's device.
Kinship PlaceWatch::kinshipToCard(const std::string& path,
    const std::string& ownPath,
    const std::string& markerBelow,
    std::string& cardFolder) const
{
    const auto status = folderStatus(ownPath);
    for (std::uint32_t folder = 0; folder < m_card.folders.size(); ++folder) {
        if (!isCardFolder(folder, status, markerBelow))
            continue;
        cardFolder = m_card.folderPath(folder);
        // Photos may be sorted into the folder in which they lie: below the target, by its own
        // name.
        const bool isBelowTarget = cardFolder == path && path.starts_with(m_targetPath + '/');
        return holdsItems(folder) && !isBelowTarget ? Kinship::kAlias : Kinship::kSameDevice;
    }
    const bool isOnDevice = status && m_cardRoom.isOnDevice(status->device);
    return isOnDevice || isSeenAboveCard(path, markerBelow) ? Kinship::kSameDevice
                                                            : Kinship::kApart;
}

Kinship PlaceWatch::withTrial(Kinship kinship, const std::string& folder) const
{
    return kinship == Kinship::kApart && m_cardRoom.isTakenBy(folder) ? Kinship::kSameDevice
                                                                      : kinship;
}

// The end of the path may lead to the folder from one above the card too, on another mount of the
// same disk whose devices have other numbers.
bool PlaceWatch::isSeenAboveCard(const std::string& path, const std::string& markerBelow) const
{
    if (markerBelow.empty())
        return false;
    const fs::path parts = fs::path(path).relative_path();
    // Each end of the path, from its last name to all of it, below each folder above the card.
    for (fs::path above = m_card.root;; above = above.parent_path()) {
        fs::path end;
        for (auto part = parts.end(); part != parts.begin();) {
            end = end.empty() ? *--part : *--part / end;
            const std::string other = (above / end).string();
            if (other != path && exists(other + '/' + markerBelow))
                return true;
        }
        if (!above.has_relative_path())
            return false;
    }
}

// A folder that is named twice was chosen so, and its copies count as one. Under two names it is
// more likely a mistake, by which no second copy would come into being: that is refused.
Kinship PlaceWatch::kinshipToBackup(
    const std::string& path, const std::string& ownPath, const WorkFolder& work) const
{
    if (path == *m_backupPath || m_targetPath == *m_backupPath)
        return Kinship::kSameName;
    if (isBackup(ownPath, work))
        return Kinship::kAlias;
    const std::set<std::string> disks = Pt::disksOf(ownPath);
    const bool isShared = std::any_of(disks.begin(), disks.end(), [this](const std::string& disk) {
        return m_backupDisks.contains(disk);
    });
    return isShared ? Kinship::kSameDevice : Kinship::kApart;
}

// By its number, or by the marker of the one that is seen in the other. Both ways round: of two
// views of one folder, one may answer from a cache that does not know yet of a file just made.
bool PlaceWatch::isBackup(const std::string& ownPath, const WorkFolder& work) const
{
    const auto here = folderStatus(ownPath);
    const auto there = folderStatus(backupOwnPath());
    if (here && there && here->device == there->device && here->inode == there->inode)
        return true;
    return m_backupWork && !work.markerBelow().empty()
        && (exists(backupOwnPath() + '/' + work.markerBelow())
            || exists(ownPath + '/' + m_backupWork->markerBelow()));
}

std::optional<std::string> PlaceWatch::objectionTo(
    const std::string& path, const FolderKinship& kinship) const
{
    if (kinship.toCard == Kinship::kAlias)
        return text("$$$/Mfx/Place/TargetIsCardFolder=the target %1 and the card's folder %2 are "
                    "one folder under two names: choose another target",
            {Pt::displayName(path), Pt::displayName(kinship.cardFolder)});
    if (kinship.toBackup == Kinship::kAlias)
        return text("$$$/Mfx/Place/TargetIsBackup=the target %1 and the backup folder %2 are one "
                    "folder under two names: choose another backup folder",
            {Pt::displayName(path), Pt::displayName(*m_backupPath)});
    return std::nullopt;
}

// The descriptors would still write to a disk that was unmounted lazily, or that lies beneath
// another by now: the copies would be where nobody finds them.
std::optional<std::string> PlaceWatch::lostPlace() const
{
    if (m_target && !m_target->isAtItsPath())
        return text("$$$/Mfx/Place/TargetLost=the target %1 is no longer where it was: its disk "
                    "was taken out, or the folder was moved",
            {Pt::displayName(m_targetPath)});
    if (!isBackupThere())
        return text("$$$/Mfx/Place/BackupLost=the backup folder %1 is no longer where it was: its "
                    "disk was taken out, or the folder was moved",
            {Pt::displayName(*m_backupPath)});
    return std::nullopt;
}

bool PlaceWatch::isBackupThere() const
{
    return !m_backup || m_backup->isAtItsPath();
}

void PlaceWatch::leave()
{
    if (m_backupWork)
        m_backupWork->leave();
}

} // namespace mfx
