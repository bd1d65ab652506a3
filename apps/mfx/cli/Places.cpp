#include "mfx/cli/Places.h"

#include "commandline/ExitCode.h"
#include "mfx/engine/saving/FolderStatus.h"
#include "mfx/engine/saving/GroupStager.h"
#include "mfx/texts/Texts.h"
#include "platform/common/files/FileAccess.h"
#include "platform/common/files/FilePlacement.h"
#include "platform/common/text/NameText.h"

#include <algorithm>
#include <filesystem>
#include <optional>

namespace mfx {

using namespace commandline;

namespace fs = std::filesystem;

namespace {

constexpr int kWriteAndEnter = Pt::kMayWrite | Pt::kMayExecute;
constexpr unsigned int kFolderMode = 0777; // less the process's mask

// One sentence for each purpose of a folder, %1; %2 is the system's reason.
struct Refusal {
    const char* target;
    const char* backup;
};

constexpr Refusal kNotUtf8{
    "$$$/Mfx/Place/TargetNotUtf8=the target %1 has a name that is not UTF-8: choose another folder",
    "$$$/Mfx/Place/BackupNotUtf8=the backup folder %1 has a name that is not UTF-8: choose another "
    "folder"};
constexpr Refusal kIsFile{"$$$/Mfx/Place/TargetIsFile=the target %1 is a file: name a folder",
    "$$$/Mfx/Place/BackupIsFile=the backup folder %1 is a file: name a folder"};
constexpr Refusal kInSource{
    "$$$/Mfx/Place/TargetInSource=the target %1 lies inside the source: choose a folder outside it",
    "$$$/Mfx/Place/BackupInSource=the backup folder %1 lies inside the source: choose a folder "
    "outside it"};
constexpr Refusal kTooDeep{
    "$$$/Mfx/Place/TargetTooDeep=the target %1 lies too deep: choose a folder with a shorter path",
    "$$$/Mfx/Place/BackupTooDeep=the backup folder %1 lies too deep: choose a folder with a "
    "shorter path"};
constexpr Refusal kCannotMake{"$$$/Mfx/Place/TargetCannotMake=the target %1 cannot be made: %2",
    "$$$/Mfx/Place/BackupCannotMake=the backup folder %1 cannot be made: %2"};
constexpr Refusal kUnusable{"$$$/Mfx/Place/TargetUnusable=the target %1 cannot be used: %2",
    "$$$/Mfx/Place/BackupUnusable=the backup folder %1 cannot be used: %2"};
constexpr Refusal kCannotWrite{
    "$$$/Mfx/Place/TargetCannotWrite=the target %1 cannot be written: check its permissions",
    "$$$/Mfx/Place/BackupCannotWrite=the backup folder %1 cannot be written: check its "
    "permissions"};

[[noreturn]] void refuse(const Refusal& refusal,
    Purpose purpose,
    const std::string& folder,
    const std::error_code& error = {})
{
    const char* literal = purpose == Purpose::kTarget ? refusal.target : refusal.backup;
    throw CommandError(
        ExitCode::kPlaceUnusable, text(literal, {Pt::displayName(folder), error.message()}));
}

constexpr Refusal kUnmounted{"$$$/Mfx/Place/TargetUnmounted=the target %1 is not there, and its "
                             "disk is probably not mounted: "
                             "connect the disk, or make the folder with --make-folders",
    "$$$/Mfx/Place/BackupUnmounted=the backup folder %1 is not there, and its disk is probably not "
    "mounted: connect the disk, or make the folder with --make-folders"};

bool isBelow(const fs::path& path, const fs::path& folder)
{
    const auto [end, rest] = std::mismatch(folder.begin(), folder.end(), path.begin(), path.end());
    return end == folder.end();
}

// A second copy on the system's own disk, in a folder that a later mount hides, would be worse than
// none. Where disks are mounted, a folder whose parents are missing is that of a disk that is not
// there, and so is one that would be made beside the mount points instead of on a disk.
bool isProbablyUnmounted(const fs::path& folder)
{
    std::error_code error;
    if (fs::exists(folder, error))
        return false;
    for (const char* mounts : {"/media", "/run/media", "/mnt"}) {
        if (!isBelow(folder, mounts) || folder == fs::path(mounts))
            continue;
        const fs::path parent = folder.parent_path();
        return !fs::exists(parent, error) || deviceOf(parent.string()) == deviceOf(mounts);
    }
    return false;
}

} // namespace

// By the text alone: a link is resolved when the folder is made, and may point elsewhere until
// then.
std::string absolutePath(const std::string& path)
{
    if (path.empty())
        return path;
    const fs::path whole = fs::absolute(path).lexically_normal();
    return whole.has_filename() || !whole.has_relative_path() ? whole.string()
                                                              : whole.parent_path().string();
}

// The source may lie in the target (a card's image in the pictures folder), but not the other way
// round: the copies would be found as new pictures by the next run.
void requireUsablePlace(const std::string& folder, const std::string& source, Purpose purpose)
{
    std::error_code error;
    if (!Pt::isUtf8(folder))
        refuse(kNotUtf8, purpose, folder);
    if (fs::exists(folder, error) && !fs::is_directory(folder, error))
        refuse(kIsFile, purpose, folder);
    const fs::path whole = fs::weakly_canonical(folder, error);
    const fs::path card = fs::weakly_canonical(source, error);
    if (isBelow(whole, card))
        refuse(kInSource, purpose, folder);
    if (isTooDeep(whole.string()))
        refuse(kTooDeep, purpose, folder);
}

// Permission is asked for here and not found out at the first file: the message names the folder
// then, and nothing has been read from the card.
std::string makePlace(const std::string& folder, Purpose purpose, bool mayMakeOnMounts)
{
    if (!mayMakeOnMounts && isProbablyUnmounted(folder))
        refuse(kUnmounted, purpose, folder);
    if (const std::error_code error = Pt::makeFolders(folder, kFolderMode))
        refuse(kCannotMake, purpose, folder, error);
    std::error_code error;
    const fs::path whole = fs::canonical(folder, error);
    if (error)
        refuse(kUnusable, purpose, folder, error);
    if (Pt::accessPath(whole.string(), kWriteAndEnter) != 0)
        refuse(kCannotWrite, purpose, folder);
    return whole.string();
}

} // namespace mfx
