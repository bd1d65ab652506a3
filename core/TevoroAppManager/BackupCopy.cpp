#include "TevoroAppManager/BackupCopy.h"

#include "TevoroAppManager/FxNotice.h"
#include "TevoroAppManager/FxText.h"
#include "TevoroAppManager/TargetFolder.h"
#include "TevoroAppManager/UniqueFileName.h"
#include "strings/PtZString.h"

#include <QDir>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr int kAttempts = 100; // somebody may take a name between our look and our copy

// The folder that the item will stand in, whether or not the host still works on it. The last
// temporary folder counts: one further up is a folder of the user's that has the same name.
QString targetFolder(const QString& itemFolder)
{
    const qsizetype temporary = itemFolder.lastIndexOf(QDir::separator() + u".mfxdownload"_s);
    return temporary < 0 ? itemFolder : itemFolder.left(temporary);
}

struct CopyNumbering {
    int firstIndex = 1;
    bool forced = false;
};

// A copy beside its original is numbered even when the device's name is free there, as it is once
// the host has renamed the item. It goes on from the higher of the two numbers.
CopyNumbering numberingBeside(const QString& deviceName, const QString& fileName)
{
    QString deviceStem;
    QString fileStem;
    const int deviceNumber = utilBaseFilename(deviceName, deviceStem);
    const int fileNumber = utilBaseFilename(fileName, fileStem);
    if (deviceStem != fileStem)
        return {};
    const int highest = std::max(deviceNumber, fileNumber);
    const bool goesOn = highest > 0 && highest < std::numeric_limits<int>::max();
    return {goesOn ? highest + 1 : 1, true};
}

// The same text whatever went wrong, and no title: the contract's notice has none.
void reportFailedBackup(IDisplayMsgHandler* display)
{
    if (!display)
        return;
    notify(*display,
        u""_s,
        PtZString::getZString(
            u"$$$/AppSource/LowDiskSpaceFailure=The backup destination folder is low on disk space, and could not obtain all files from the device. Please select a different folder or cleanup disk space and try again."_s),
        kFxStyleFailure);
}

FxStatus copyOnce(const CPropSinkMediaItem& item,
    const QString& folder,
    const CopyNumbering& numbering,
    Pt::CopyProblem& problem)
{
    QString name;
    if (!generateUniqueFileName(
            folder, toQString(item.deviceName), name, numbering.firstIndex, numbering.forced))
        return kFxErrNoUniqueName;
    // From the item's folder as it stands, with the temporary folder: the file is still in there.
    problem =
        copyProvenIntoTargetFolder(toQString(item.folder), toQString(item.fileName), folder, name)
            .problem;
    return problem == Pt::CopyProblem::kNone ? kFxOk : kFxErrBackupFailed;
}

// Under a name that is free; one that somebody took in the meantime is looked for anew. All other
// failures are final: another name would not mend them.
FxStatus copyBesideOthers(
    const CPropSinkMediaItem& item, const QString& folder, const QString& target)
{
    CopyNumbering numbering;
    if (target == folder)
        numbering = numberingBeside(toQString(item.deviceName), toQString(item.fileName));
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        auto problem = Pt::CopyProblem::kNone;
        const FxStatus status = copyOnce(item, folder, numbering, problem);
        if (problem != Pt::CopyProblem::kTargetTaken)
            return status;
    }
    return kFxErrBackupFailed;
}

} // namespace

// The user reads where the work is: the backup folder while the copy runs, the target again once it
// is done. After a failure the detail stays on the folder that the notice is about.
FxStatus makeBackupCopy(
    const CPropSinkMediaItem& item, const QString& backupFolder, const BackupNotices& notices)
{
    tell(notices.label,
        PtZString::getZString(u"$$$/AppSource/CreatingBackupCopy=Creating Backup Copy..."_s));
    tell(notices.detail, backupFolder);
    if (!mkdirFromAbsPath(backupFolder))
        return kFxErrBadArgument;
    const QString target = targetFolder(toQString(item.folder));
    const FxStatus status = copyBesideOthers(item, backupFolder, target);
    if (status == kFxErrBackupFailed)
        reportFailedBackup(notices.display);
    if (status == kFxOk)
        tell(notices.detail, target);
    return status;
}
