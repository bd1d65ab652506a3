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

// Without a time of change, the other times can be set back: only reading tells. The inode's time
// of change is set by the kernel at each write and rename, and no program can choose it.
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

// As it was when it was proven, or read anew and found to be the same. The status of an opened file
// is asked for: a file system that answers from a cache would vouch for a copy that another machine
// has deleted.
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

// Not empty: a converter that was killed may have left a name without bytes.
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

// It cannot be read anew: the sink made and verified it, and nobody else knows its bytes.
bool isDNGAsBefore(const KeptCopy& dng)
{
    return dng.status.changed != 0 && standsAsBefore(dng);
}

std::string refused(const std::error_code& error)
{
    return text("$$$/Mfx/Delete/Refused=not deleted: it cannot be deleted: %1", {error.message()});
}

std::string removeAtOnce(const std::string& path)
{
    return Pt::unlinkPath(path) == 0 ? std::string() : refused(Pt::lastSystemError());
}

// By its status where that proves it, else by its bytes.
bool isStillOriginal(const std::string& path,
    const Pt::FileStatus& listed,
    const Pt::FileStatus& now,
    const std::optional<Pt::ContentDigest>& digest)
{
    const bool isAsListed = isProvablyUnchanged(listed, now);
    return now.kind == Pt::FileStatus::Kind::kRegular && (isAsListed || hasBytes(path, digest));
}

bool areOneFile(const Pt::FileStatus& a, const Pt::FileStatus& b)
{
    return a.device == b.device && a.inode == b.inode;
}

// A DNG that changed cannot be proven again; with the raw file in the backup it need not be.
bool isEnough(const KeptCopy& dng, bool hasBackup)
{
    return isDNGAsBefore(dng) || (hasBackup && isFile(dng.path));
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

// Why the original may not go, as far as can be seen without touching it: it must be the file that
// was listed and copied. A camera may have written another picture under its name since.
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
    if (!isStillOriginal(path, listed.status, *original, kept.digest))
        return text("$$$/Mfx/Delete/Changed=not deleted: it changed after it was copied");
    return copyObjection(kept);
}

// The backup is looked at first: it is the raw file's own bytes, and can make good for a DNG that
// somebody has edited meanwhile.
std::string OriginalDeletion::copyObjection(KeptItem& kept) const
{
    const bool hasBackup = kept.backup && isStillProven(*kept.backup, kept.digest);
    if (m_places.backupPath() && !hasBackup)
        return copyGone(kept.backup);
    if (kept.dng)
        return isEnough(*kept.dng, hasBackup) ? std::string() : copyGone(kept.dng);
    if (!kept.saved || !isStillProven(*kept.saved, kept.digest))
        return copyGone(kept.saved);
    const bool isOneFile = kept.backup && areOneFile(kept.backup->status, kept.saved->status);
    return isOneFile ? text("$$$/Mfx/Delete/OneFile=not deleted: its two copies are one file")
                     : std::string();
}

std::string OriginalDeletion::copyGone(const std::optional<KeptCopy>& copy) const
{
    return text("$$$/Mfx/Delete/CopyGone=not deleted: its copy is no longer at %1",
        {copy ? Pt::displayName(m_places.nameOf(copy->path)) : std::string()});
}

// After the original was moved aside. Only status is asked, for the bytes were proven right before,
// and an original of a gigabyte must not stay aside for minutes.
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

// The original is moved aside first, and its copies are looked at then. If one of them vanishes or
// changes with it, that copy was the original itself under another name, whatever devices and
// inodes had said: it goes back, and nothing is lost. Only then is it deleted.
std::string OriginalDeletion::removeAside(const std::string& path, const KeptItem& kept)
{
    const fs::path original = path;
    const std::string folder = (original.parent_path() / kAsideFolder).string();
    const std::string aside = folder + '/' + original.filename().string();
    std::error_code error = makeAsideFolder(folder);
    // On a full card there is no room for the folder. Copies that were both written in this run are
    // no view of the original, so that it may go without the test.
    if (error == std::errc::no_space_on_device && kept.isFresh)
        return removeAtOnce(path);
    if (!error)
        error = Pt::moveWithoutReplacing(path, aside);
    if (error)
        return refused(error);
    std::string reason = removeWhereCopiesStand(aside, kept);
    // A file that stays behind in the folder is put back by the next run.
    if (!reason.empty())
        Pt::moveWithoutReplacing(aside, path);
    return reason;
}

std::string OriginalDeletion::removeWhereCopiesStand(const std::string& aside, const KeptItem& kept)
{
    if (copiesStand(kept))
        return removeAtOnce(aside);
    m_foundAlias = true;
    return text("$$$/Mfx/Delete/IsItsCopy=not deleted: its copy is the original itself under "
                "another name");
}

} // namespace mfx
