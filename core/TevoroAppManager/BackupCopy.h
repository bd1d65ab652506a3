// The backup copy of one saved item: a second, proven copy of its file in the user's backup folder,
// under the name that the device gave it or a numbered form of that. Never replaces a file. Plain
// functions without state, for the host's main thread; they block for as long as the copy takes.
#pragma once

#include "TevoroAppManager/contract/FxEnums.h"
#include "TevoroAppManager/contract/FxRecords.h"
#include "TevoroAppManager/contract/FxStatus.h"
#include "TevoroAppManager/contract/IDisplayMsgHandler.h"

class QString;

// Where the user hears of a backup; each may be null.
struct BackupNotices {
    FxStatusTextCallback label; // that a copy is being made
    FxStatusTextCallback detail; // the folder that is worked in
    IDisplayMsgHandler* display; // the notice of a failed copy
};

// kFxErrBadArgument when the folder cannot be made, kFxErrNoUniqueName when no name is free, and
// kFxErrBackupFailed, after a notice, when the copy failed for whatever reason.
FxStatus makeBackupCopy(
    const CPropSinkMediaItem& item, const QString& backupFolder, const BackupNotices& notices);
