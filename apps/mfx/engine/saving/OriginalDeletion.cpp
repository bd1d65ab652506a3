#include "mfx/engine/saving/OriginalDeletion.h"

#include "mfx/engine/card/AsideFolder.h"
#include "mfx/texts/Texts.h"
#include "platform/common/files/FileAccess.h"
#include "platform/common/files/FileCopy.h"
#include "platform/common/files/FilePlacement.h"
#include "platform/common/services/SystemError.h"
#include "platform/common/text/NameText.h"

#include <filesystem>
#include <system_error>

namespace mfx {

namespace fs = std::filesystem;

namespace {

constexpr unsigned int kAsideMode = 0700;

bool hasSameTimes(const Pt::FileStatus& a, const Pt::FileStatus& b)
{
    return a.size == b.size && a.modified == b.modified && a.changed == b.changed;
}

// Without a time of change, the other times can be set back: only reading tells.
bool isProvablyUnchanged(const Pt::FileStatus& then, const Pt::FileStatus& now)
{
    return hasSameTimes(then, now) && now.changed != 0 && then.device == now.device;
}

bool isUnchanged(const Pt::FileStatus& then, const Pt::FileStatus& now)
{
    return isProvablyUnchanged(then, now) && then.inode == now.inode;
}

bool hasBytes(const std::string& path, const std::optional<Pt::ContentDigest>& digest)
{
    std::error_code error;
    return digest && Pt::digestOfFile(path, error) == digest;
}

// As it was when it was proven, or read anew and found to be the same.
bool isStillProven(KeptCopy& copy, const std::optional<Pt::ContentDigest>& digest)
{
    std::error_code error;
    const auto now = Pt::openedFileStatus(copy.path, error);
    if (!now)
        return false;
    if (isUnchanged(copy.status, *now))
        return true;
    copy.status = *now;
    return hasBytes(copy.path, digest);
}

bool isFile(const std::string& path)
{
    std::error_code error;
    const auto status = Pt::openedFileStatus(path, error);
    return status && status->size != 0;
}

// Inode numbers that a file system forgets are no change; the size and the times would be.
bool standsAsBefore(const std::optional<KeptCopy>& copy)
{
    std::error_code error;
    const auto now = copy ? Pt::openedFileStatus(copy->path, error) : std::nullopt;
    return !copy || (now && hasSameTimes(copy->status, *now));
}

// It cannot be read anew: nobody knows its bytes.
bool isDNGAsBefore(const KeptCopy& dng)
{
    return dng.status.changed != 0 && standsAsBefore(dng);
}

std::string refused(const std::error_code& error)
{
    return text("$$$/Mfx/Delete/Refused=not deleted: it cannot be deleted: %1", {error.message()});
}

// A full card may have no room for a folder, though it has for deletions.
std::string removeAtOnce(const std::string& path)
{
    return Pt::unlinkPath(path) == 0 ? std::string() : refused(Pt::lastSystemError());
}

} // namespace

OriginalDeletion::OriginalDeletion(const CardContents& card, const PlaceWatch& places)
    : m_card(card)
    , m_places(places)
{
}

OriginalDeletion::~OriginalDeletion()
{
    std::error_code ignored; // not empty: an original that could not go back; the next run tries
    for (const std::string& folder : m_asideFolders)
        fs::remove(folder, ignored);
}

std::string OriginalDeletion::remove(std::uint32_t item, KeptItem& kept)
{
    std::string reason = objection(item, kept);
    return reason.empty() ? removeAside(m_card.pathOf(m_card.items[item]), kept) : reason;
}

// Why the original may not go, as far as can be seen without touching it.
std::string OriginalDeletion::objection(std::uint32_t item, KeptItem& kept) const
{
    if (!kept.reasonToKeep.empty())
        return kept.reasonToKeep;
    const MediaItem& listed = m_card.items[item];
    const std::string path = m_card.pathOf(listed);
    std::error_code error;
    const auto original = Pt::fileStatus(path, error);
    if (!original)
        return text("$$$/Mfx/Delete/Missing=not deleted: it is no longer there");
    const bool isAsListed = isProvablyUnchanged(listed.status, *original);
    if (original->kind != Pt::FileStatus::Kind::kRegular
        || (!isAsListed && !hasBytes(path, kept.digest)))
        return text("$$$/Mfx/Delete/Changed=not deleted: it changed after it was copied");
    return copyObjection(kept);
}

std::string OriginalDeletion::copyObjection(KeptItem& kept) const
{
    const bool hasBackup = kept.backup && isStillProven(*kept.backup, kept.digest);
    if (m_places.backupPath() && !hasBackup)
        return copyGone(kept.backup);
    // A DNG that changed cannot be proven again; with the raw file in the backup it need not be.
    if (kept.dng)
        return isDNGAsBefore(*kept.dng) || (hasBackup && isFile(kept.dng->path))
            ? std::string()
            : copyGone(kept.dng);
    if (!kept.saved || !isStillProven(*kept.saved, kept.digest))
        return copyGone(kept.saved);
    const bool isOneFile = kept.backup && kept.backup->status.device == kept.saved->status.device
        && kept.backup->status.inode == kept.saved->status.inode;
    return isOneFile ? text("$$$/Mfx/Delete/OneFile=not deleted: its two copies are one file")
                     : std::string();
}

std::string OriginalDeletion::copyGone(const std::optional<KeptCopy>& copy) const
{
    return text("$$$/Mfx/Delete/CopyGone=not deleted: its copy is no longer at %1",
        {copy ? Pt::displayName(m_places.nameOf(copy->path)) : std::string()});
}

bool OriginalDeletion::copiesStand(const KeptItem& kept) const
{
    const bool isSaved =
        kept.dng ? (kept.backup || standsAsBefore(kept.dng)) : standsAsBefore(kept.saved);
    return isSaved && standsAsBefore(kept.backup);
}

std::error_code OriginalDeletion::makeAsideFolder(const std::string& folder)
{
    if (m_asideFolders.contains(folder))
        return {};
    const std::error_code error = Pt::makeFolders(folder, kAsideMode);
    if (!error)
        m_asideFolders.insert(folder);
    return error;
}

std::string OriginalDeletion::removeAside(const std::string& path, const KeptItem& kept)
{
    const fs::path original = path;
    const std::string folder = (original.parent_path() / kAsideFolder).string();
    const std::string aside = folder + '/' + original.filename().string();
    std::error_code error = makeAsideFolder(folder);
    if (error == std::errc::no_space_on_device && kept.isFresh)
        return removeAtOnce(path);
    if (!error)
        error = Pt::moveWithoutReplacing(path, aside);
    if (error)
        return refused(error);
    if (!copiesStand(kept)) {
        m_foundAlias = true;
        Pt::moveWithoutReplacing(aside, path);
        return text("$$$/Mfx/Delete/IsItsCopy=not deleted: its copy is the original itself under "
                    "another name");
    }
    std::string reason = removeAtOnce(aside);
    if (!reason.empty())
        Pt::moveWithoutReplacing(aside, path);
    return reason;
}

} // namespace mfx
