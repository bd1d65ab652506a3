// What the sink does for each saved item: the backup copy, and the conversion to DNG.

#include "TevoroAppManager/CAppSource.h"
#include "TevoroAppManager/FxGuard.h"
#include "TevoroAppManager/RawConversion.h"
#include "TevoroAppManager/TargetFolder.h"
#include "TevoroAppManager/UniqueFileName.h"
#include "strings/PtZString.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <limits>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int kAttempts = 100; // somebody may take a name between our look and our copy

void tell(FxStatusTextCallback callback, const QString& text)
{
    if (callback)
        callback(fxUnits(text), 0);
}

// The folder that the item will stand in, whether or not the host still works on it.
QString targetFolder(const QString& itemFolder)
{
    const qsizetype temporary = itemFolder.lastIndexOf(QDir::separator() + u".mfxdownload"_s);
    return temporary < 0 ? itemFolder : itemFolder.left(temporary);
}

struct CopyNumbering {
    int firstIndex = 1;
    bool forced = false;
};

// A copy beside its original never takes the original's name, and goes on from its number.
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

void reportFailedBackup(IDisplayMsgHandler* display)
{
    if (!display)
        return;
    int style = kFxStyleFailure;
    const QString text = PtZString::getZString(
        u"$$$/AppSource/LowDiskSpaceFailure=The backup destination folder is low on disk space, and could not obtain all files from the device. Please select a different folder or cleanup disk space and try again."_s);
    display->DisplayMessage(fxUnits(u""_s), fxUnits(text), &style, nullptr, nullptr);
}

bool isItemRecord(const CPropSinkMediaItem* item)
{
    return item && item->size == kFxSizeSinkMediaItem;
}

// Under a name that is free; one that somebody took in the meantime is looked for anew.
FxStatus copyBesideOthers(
    const CPropSinkMediaItem& item, const QString& backupFolder, const QString& target)
{
    const QString deviceName = toQString(item.deviceName);
    const QString fileName = toQString(item.fileName);
    CopyNumbering numbering;
    if (target == backupFolder)
        numbering = numberingBeside(deviceName, fileName);
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        QString name;
        if (!generateUniqueFileName(
                backupFolder, deviceName, name, numbering.firstIndex, numbering.forced))
            return kFxErrNoUniqueName;
        const auto problem =
            copyProvenIntoTargetFolder(toQString(item.folder), fileName, backupFolder, name)
                .problem;
        if (problem == Pt::CopyProblem::kNone)
            return kFxOk;
        if (problem != Pt::CopyProblem::kTargetTaken)
            break;
    }
    return kFxErrBackupFailed;
}

} // namespace

FxStatus CAppSource::DoPreProcessing(CPropSinkMediaItem* item,
    FxStatusTextCallback label,
    FxStatusTextCallback detail,
    FxStatusTextCallback,
    FxPerItemCallback,
    IDisplayMsgHandler* display)
{
    if (!isChecked(m_panel.controls().saveCopiesCheckbox))
        return kFxOk;
    if (!isItemRecord(item))
        return kFxErrBadArgument;
    return fxGuard([=, this] {
        tell(label,
            PtZString::getZString(u"$$$/AppSource/CreatingBackupCopy=Creating Backup Copy..."_s));
        tell(detail, m_panel.backupFolder());
        if (!mkdirFromAbsPath(m_panel.backupFolder()))
            return kFxErrBadArgument;
        const QString target = targetFolder(toQString(item->folder));
        const FxStatus status = copyBesideOthers(*item, m_panel.backupFolder(), target);
        if (status == kFxErrBackupFailed)
            reportFailedBackup(display);
        if (status == kFxOk)
            tell(detail, target);
        return status;
    });
}

FxStatus CAppSource::DoPostProcessing(CPropSinkMediaItem* item,
    FxStatusTextCallback label,
    FxStatusTextCallback,
    FxStatusTextCallback error,
    FxPerItemCallback,
    IDisplayMsgHandler*)
{
    if (!isChecked(m_panel.controls().dngCheckbox))
        return kFxOk;
    if (!isItemRecord(item))
        return kFxWarnPostProcess;
    return fxGuard([=, this] {
        const QString path =
            toQString(item->folder) + QDir::separator() + toQString(item->fileName);
        if (QFile::exists(path) && convertToDNG(path, label, error))
            return kFxOk;
        ++m_dngFailures;
        return kFxWarnPostProcess;
    });
}

bool CAppSource::isCameraRAWFile(const QString& path) const
{
    const QString list = toQString(m_rdxExtensions.c_str()) + u',';
    const QString suffix = QFileInfo(path).suffix();
    if (suffix.isEmpty())
        return false;
    return list.contains(suffix.toLower() + u',', Qt::CaseSensitive);
}

bool CAppSource::convertToDNG(
    const QString& path, FxStatusTextCallback label, FxStatusTextCallback error)
{
    if (!isCameraRAWFile(path) || QFileInfo(path).suffix().toLower() == u"dng"_s)
        return true;
    unLockFile(path); // a file that came locked from the card would not be moved
    if (!m_convertToDNG) {
        tell(error,
            PtZString::getZString(
                u"$$$/AppSource/NotDNGConverter=Cannot find the DNG converter."_s));
        return false;
    }
    tell(label, PtZString::getZString(u"$$$/AppSource/ConvertingToDNG=Converting to DNG..."_s));
    RawConversion conversion(path);
    const bool isAside = conversion.setRawAside();
    if (std::exchange(m_deleteXMP, false))
        conversion.setSidecarAside();
    const bool isConverted = isAside
        && convertToDNGThruRDX(conversion.temporaryRaw(), conversion.temporaryDNG())
        && conversion.placeDNG();
    if (isConverted) {
        conversion.dropRaw();
    } else {
        tell(error,
            PtZString::getZString(
                u"$$$/AppSource/CouldNotConvertDNG=Could not convert to DNG..."_s));
        conversion.restore();
    }
    conversion.leave();
    return isConverted;
}

// Whatever the library throws is a failure like any other: the raw file must get back.
bool CAppSource::convertToDNGThruRDX(const QString& source, const QString& destination)
{
    if (!m_convertToDNG)
        return false;
    const DNGSettings& settings = m_panel.settings();
    try {
        return m_convertToDNG(QFile::encodeName(source).constData(),
                   QFile::encodeName(destination).constData(),
                   settings.jpegPreviewSize,
                   settings.uncompressed ? 0 : 1,
                   settings.linear ? 1 : 0,
                   settings.embedRaw ? 1 : 0)
            == 0;
    } catch (...) {
        return false;
    }
}
