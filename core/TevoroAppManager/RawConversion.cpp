#include "TevoroAppManager/RawConversion.h"

#include "TevoroAppManager/FxText.h"
#include "platform/common/devices/PtIoDeviceFile.h"
#include "platform/common/files/FilePlacement.h"
#include "platform/common/services/PtExSystem.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

// Never over another file: whatever took the name in the meantime is somebody's picture.
bool move(const QString& from, const QString& to)
{
    return !Pt::moveWithoutReplacing(
        QFile::encodeName(from).toStdString(), QFile::encodeName(to).toStdString());
}

// A failure here is the only word that a full or broken disk may give of a file just written.
bool flushFile(const QString& path)
{
    try {
        PtIoDeviceFile::Create(fxUnits(path), kPtIoOpenExisting)->flush();
        return true;
    } catch (const Pt::ExSystem&) {
        return false;
    }
}

} // namespace

RawConversion::RawConversion(const QString& path)
{
    const QFileInfo file(path);
    m_folder = file.absolutePath();
    m_base = file.completeBaseName();
    const QString stem = m_folder + QDir::separator() + m_base;
    m_raw = stem + u'.' + file.suffix();
    m_sidecar = stem + u".xmp"_s;
    m_temporaryFolder = m_folder + QDir::separator() + u".mfxdownload"_s;
    const QString temporaryStem = m_temporaryFolder + QDir::separator() + m_base;
    m_temporaryRaw = temporaryStem + u'.' + file.suffix();
    m_temporarySidecar = temporaryStem + u".xmp"_s;
    m_temporaryDNG = temporaryStem + u".dng"_s;
}

bool RawConversion::setRawAside()
{
    QDir(m_folder).mkdir(u".mfxdownload"_s); // an existing one is as good
    // What lies here under these names is left from a conversion that failed: a raw file that a
    // crash left here has been put back by the host when its run began.
    for (const QString& stale : {m_temporaryRaw, m_temporaryDNG, m_temporarySidecar})
        QFile::remove(stale);
    return move(m_raw, m_temporaryRaw);
}

void RawConversion::setSidecarAside()
{
    move(m_sidecar, m_temporarySidecar);
}

QString RawConversion::freeDNGPath() const
{
    const QString stem = m_folder + QDir::separator() + m_base;
    QString path = stem + u".dng"_s;
    for (int k = 1; QFileInfo::exists(path); ++k)
        path = stem + u'_' + QString::number(k) + u".dng"_s;
    return path;
}

// The raw file is about to go: the DNG must outlast a loss of power before that.
bool RawConversion::placeDNG()
{
    return flushFile(m_temporaryDNG) && move(m_temporaryDNG, freeDNGPath())
        && !Pt::flushFolder(QFile::encodeName(m_folder).toStdString());
}

// The raw file before its sidecar: a crash in between leaves edits without a picture, never a
// picture without its edits.
void RawConversion::dropRaw()
{
    QFile::remove(m_temporaryRaw);
    QFile::remove(m_temporarySidecar);
}

// A move that fails leaves its file where the host's next run looks for it.
void RawConversion::restore()
{
    move(m_temporaryRaw, m_raw);
    move(m_temporarySidecar, m_sidecar);
}

// Only when it is empty: the library may have left half a DNG, which the next conversion clears.
void RawConversion::leave()
{
    QDir(m_folder).rmdir(u".mfxdownload"_s);
}
