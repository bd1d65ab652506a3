#include "TevoroAppManager/TargetFolder.h"

#include "TevoroAppManager/FxText.h"
#include "platform/common/files/FileFlags.h"
#include "platform/common/text/PtUcs.h"

#include <QDir>
#include <QString>

namespace {

constexpr unsigned int kCopyMode = 0600;

// Makes each folder of a path that ends in a separator, from the root on; the first that cannot be
// made ends the walk, and the copy then tells.
void makeFolders(const QString& path)
{
    if (QDir(path).exists())
        return;
    for (qsizetype n = path.indexOf(u'/'); n >= 0; n = path.indexOf(u'/', n + 1)) {
        const QString prefix = path.left(n);
        if (!prefix.isEmpty() && !QDir(prefix).exists() && !QDir().mkdir(prefix))
            return;
    }
}

} // namespace

bool isFolderWritable(const QString& path)
{
    return ptucsaccess(fxUnits(path), kUcsWrite) == 0;
}

// From the top down, by calling itself. A path without a slash counts as made.
bool mkdirFromAbsPath(const QString& path)
{
    const QDir folder(path);
    if (folder.exists())
        return true;
    const QString absolute = folder.absolutePath();
    const qsizetype slash = absolute.lastIndexOf(u'/', -1, Qt::CaseSensitive);
    if (slash < 0)
        return true;
    constexpr qsizetype kRootLength = 2; // a parent this short counts as a root, which nobody makes
    if (slash > kRootLength && !mkdirFromAbsPath(absolute.left(slash)))
        return false;
    return QDir().mkdir(absolute) || QDir(absolute).exists(); // somebody else may have been first
}

void unLockFile(const QString& path)
{
    Pt::clearLock(path.toStdString());
}

bool copyFileIntoTargetFolder(const QString& sourceFolder,
    const QString& sourceName,
    const QString& destFolder,
    const QString& destName)
{
    return copyProvenIntoTargetFolder(sourceFolder, sourceName, destFolder, destName).isProven();
}

// The user's own permissions and no others, whatever the card's files have: backups are private.
Pt::CopyResult copyProvenIntoTargetFolder(const QString& sourceFolder,
    const QString& sourceName,
    const QString& destFolder,
    const QString& destName)
{
    const QString source = sourceFolder.trimmed() + QDir::separator() + sourceName;
    makeFolders(destFolder + QDir::separator());
    Pt::CopyOptions options;
    options.mode = kCopyMode;
    options.exactMode = true;
    return Pt::copyFile(
        source.toStdString(), destFolder.toStdString(), destName.toStdString(), options);
}
