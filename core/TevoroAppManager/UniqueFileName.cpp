#include "TevoroAppManager/UniqueFileName.h"

#include "TevoroAppManager/FxText.h"
#include "platform/common/devices/PtIoDeviceFile.h"
#include "platform/common/files/NameJournal.h"
#include "platform/common/services/PtExSystem.h"
#include "platform/common/text/PtUcs.h"

#include <QDir>

#include <cerrno>
#include <string>

namespace {

constexpr int kRounds = 10000;
constexpr qsizetype kLongName = 253; // characters

// "IMG_1.jpg" gives "IMG_1-1.jpg". Only the last dot parts the extension.
QString numbered(const QString& base, qint64 index)
{
    const qsizetype dot = base.lastIndexOf(u'.');
    QString stem = dot < 0 ? base : base.left(dot);
    const QString extension = dot < 0 ? QString() : base.mid(dot);
    const QString number = QString::number(index);
    const qsizetype length = stem.size() + number.size() + extension.size();
    if (length > kLongName)
        stem = stem.left(kLongName - length); // a negative count: the whole stem, deliberately
    return stem + u'-' + number + extension;
}

// Noted while it lives, for the case that this process is killed beside the empty file.
class JournalEntry {
public:
    JournalEntry(const QString& folder, const QString& name)
        : m_journal(Pt::nameJournalPath(folder.toStdString() + "/.mfxdownload"))
    {
        Pt::noteTriedName(m_journal, name.toStdString());
    }
    ~JournalEntry() { Pt::noteTriedName(m_journal, {}); }
    JournalEntry(const JournalEntry&) = delete;
    JournalEntry& operator=(const JournalEntry&) = delete;

private:
    const std::string m_journal;
};

enum class Probe { kFree, kTaken, kRefused };

Probe tryToMake(const QString& path)
{
    try {
        PtIoDeviceFile::Pointer file = PtIoDeviceFile::Create(fxUnits(path), kPtIoTemporary);
        file->flush(); // a file system may take a name and only now find itself full
        file = 0; // closes the file, which removes it
        return Probe::kFree;
    } catch (const Pt::ExSystem& failure) {
        return failure.errorCode() == EEXIST ? Probe::kTaken : Probe::kRefused;
    }
}

Probe probe(const QString& folder, const QString& name)
{
    const QString path = folder + QDir::separator() + name;
    // Asked first although making the file would tell as well: a test is cheap, and where there are
    // many numbered copies most names are taken.
    if (ptucsaccess(fxUnits(path), kUcsExists) == 0)
        return Probe::kTaken;
    const JournalEntry entry(folder, name);
    return tryToMake(path);
}

} // namespace

bool generateUniqueFileName(
    const QString& folder, const QString& name, QString& out, int firstIndex, bool forceNumber)
{
    const QString base = out.isEmpty() ? name : out;
    qint64 index = firstIndex; // the rounds may count beyond the highest int
    for (int round = 0; round < kRounds; ++round) {
        out = round == 0 && !forceNumber ? base : numbered(base, index++);
        // Anything but a taken name ends the search: a folder that takes no file takes none of the
        // other names either.
        const Probe result = probe(folder.trimmed(), out);
        if (result != Probe::kTaken)
            return result == Probe::kFree;
    }
    return false;
}

// Without a dash the whole name goes to the number, extension and all: "123" is a number, and
// "IMG_0012.jpg" is none and gives 0.
int utilBaseFilename(const QString& name, QString& base)
{
    QString digits = name;
    base = name;
    const qsizetype dot = name.lastIndexOf(u'.');
    if (dot >= 0)
        base = name.left(dot);
    const QString stem = dot >= 0 ? base : name;
    const qsizetype dash = stem.lastIndexOf(u'-');
    if (dash >= 0) {
        digits = stem.mid(dash + 1);
        base = stem.left(dash);
    }
    return digits.toInt();
}
