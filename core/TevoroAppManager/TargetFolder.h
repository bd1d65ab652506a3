// Folders that files go into, and copying one file into such a folder. Plain functions without
// state; failures come back as a false result.
#pragma once

#include "platform/common/files/FileCopy.h"

class QString;

// Whether this process may write into the folder.
bool isFolderWritable(const QString& path);

// Makes the folder and those above it. True when it stands at the end.
bool mkdirFromAbsPath(const QString& path);

// Clears what locks a file against changes, where the process may. Failures are passed over.
void unLockFile(const QString& path);

// Copies sourceFolder/sourceName to destFolder/destName, whole or not at all: true only for a copy
// that was read back from the disk and compared. Never replaces a file. Makes the folder. The copy
// is for this user alone (mode 0600).
bool copyFileIntoTargetFolder(const QString& sourceFolder,
    const QString& sourceName,
    const QString& destFolder,
    const QString& destName);

// The same, and why there is no copy.
Pt::CopyResult copyProvenIntoTargetFolder(const QString& sourceFolder,
    const QString& sourceName,
    const QString& destFolder,
    const QString& destName);
