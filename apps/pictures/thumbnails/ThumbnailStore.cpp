#include "pictures/thumbnails/ThumbnailStore.h"

#include "pictures/decoding/Fitting.h"
#include "pictures/thumbnails/ThumbnailName.h"
#include "pictures/thumbnails/ThumbnailPng.h"
#include "platform/common/files/AtomicFile.h"
#include "platform/common/files/FilePlacement.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "platform/common/services/UserFolders.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

#include <array>
#include <filesystem>

namespace pictures {

namespace {

constexpr unsigned int kOwnFolder = 0700;
constexpr std::size_t kMaxFileBytes = std::size_t{16} * 1024 * 1024; // 1024 x 1024, not packed
constexpr const char16_t* kFailures = u"/fail/tevoro-2.0";
constexpr const char* kSoftware = "tevoro";

struct Step {
    ThumbnailSize size;
    const char16_t* folder;
};

constexpr auto kSteps = std::to_array<Step>({{ThumbnailSize::kNormal, u"/normal"},
    {ThumbnailSize::kLarge, u"/large"},
    {ThumbnailSize::kXLarge, u"/x-large"},
    {ThumbnailSize::kXXLarge, u"/xx-large"}});

int edgeOf(ThumbnailSize size)
{
    return static_cast<int>(size);
}

QString folderName(ThumbnailSize size)
{
    for (const Step& step : kSteps)
        if (step.size == size)
            return QString::fromUtf16(step.folder);
    return {};
}

QString usersOwn()
{
    const std::string cache = Pt::userCacheFolder();
    return cache.empty() ? QString()
                         : QFile::decodeName(cache.c_str()) + QStringLiteral("/thumbnails");
}

// Other programs write a fraction of a second behind the time.
bool isNumber(const QString& text, qint64 wanted)
{
    bool isWhole = false;
    return text.section(u'.', 0, 0).toLongLong(&isWhole) == wanted && isWhole;
}

bool isOf(const QImage& image, const ThumbnailSubject& subject, const QByteArray& uri)
{
    const QString bytes = image.text(QLatin1String(kBytesText));
    return image.text(QLatin1String(kUriText)) == QLatin1String(uri)
        && isNumber(image.text(QLatin1String(kTimeText)), subject.modified)
        && (bytes.isEmpty() || isNumber(bytes, subject.bytes));
}

std::optional<QImage> readThumbnail(
    const QString& path, int maxEdge, const ThumbnailSubject& subject, const QByteArray& uri)
{
    const Pt::FileContent file = Pt::readFile(QFile::encodeName(path).toStdString(), kMaxFileBytes);
    if (file.state != Pt::FileContent::State::kRead)
        return std::nullopt;
    auto image = thumbnailImage(
        QByteArray::fromRawData(file.bytes.data(), static_cast<qsizetype>(file.bytes.size())),
        maxEdge);
    return image && isOf(*image, subject, uri) ? image : std::nullopt;
}

PngTexts textsOf(const ThumbnailSubject& subject, const QByteArray& uri, const QImage& image)
{
    PngTexts texts{{kUriText, uri},
        {kTimeText, QByteArray::number(subject.modified)},
        {kBytesText, QByteArray::number(subject.bytes)},
        {kSoftwareText, kSoftware}};
    for (const char* key : {kWidthText, kHeightText}) {
        const int value = image.text(QLatin1String(key)).toInt();
        if (value > 0)
            texts.append({key, QByteArray::number(value)});
    }
    return texts;
}

// A folder of another user's, or a link to wherever, would have us read what others lay down there,
// and write for them. The store itself may be a link, to another disk.
bool isTrusted(const QString& folder, const QString& store)
{
    for (QString each = folder; each.size() >= store.size(); each = QFileInfo(each).path()) {
        const QFileInfo info(each);
        const bool mayBeLink = each.size() == store.size();
        if (info.isSymLink() && !mayBeLink)
            return false;
        if (info.exists() && (!info.isDir() || info.ownerId() != Pt::effectiveUser()))
            return false;
    }
    return true;
}

// Not flushed to the disk, which would take longer than making the thumbnail: what a power cut
// leaves is refused and made again. The temporary file's mode is 0600.
bool writeWhole(const QString& folder, const QString& name, const QByteArray& bytes)
{
    if (bytes.isEmpty() || Pt::makeFolders(QFile::encodeName(folder).toStdString(), kOwnFolder))
        return false;
    const QString path = folder + u'/' + name;
    QTemporaryFile file(folder + QStringLiteral("/tevoro-XXXXXX.tmp"));
    if (!file.open() || file.write(bytes) != bytes.size() || !file.flush())
        return false;
    std::error_code error;
    const QString written = file.fileName();
    std::filesystem::rename(
        QFile::encodeName(written).toStdString(), QFile::encodeName(path).toStdString(), error);
    file.setAutoRemove(static_cast<bool>(error));
    return !error;
}

// A scaled image bears no texts.
QImage scaledWithTexts(const QImage& image, int edge)
{
    QImage scaled = scaledInto(image, {edge, edge});
    for (const char* key : {kWidthText, kHeightText})
        scaled.setText(QLatin1String(key), image.text(QLatin1String(key)));
    return scaled;
}

bool isBelow(const QString& path, const QString& folder)
{
    return !folder.isEmpty() && path.startsWith(folder + u'/');
}

// Where the links in both lead counts, too.
bool liesInside(const QString& path, const QString& folder)
{
    return isBelow(path, folder)
        || isBelow(QFileInfo(path).canonicalFilePath(), QFileInfo(folder).canonicalFilePath());
}

bool isUsable(const ThumbnailSubject& subject, const QString& folder)
{
    return subject.path.startsWith(u'/') && folder.startsWith(u'/');
}

} // namespace

ThumbnailStore::ThumbnailStore(const QString& folder)
    : m_folder(folder.isEmpty() ? usersOwn() : QDir::cleanPath(folder))
{
}

std::optional<QImage> ThumbnailStore::find(
    const ThumbnailSubject& subject, ThumbnailSize size) const
{
    if (!isUsable(subject, m_folder) || isBelow(subject.path, m_folder))
        return std::nullopt;
    const QByteArray uri = fileUri(subject.path);
    const QString name = thumbnailName(uri);
    for (const Step& step : kSteps) {
        if (step.size < size)
            continue;
        const QString folder = m_folder + QString::fromUtf16(step.folder);
        if (!isTrusted(folder, m_folder))
            continue;
        if (const auto image = readThumbnail(folder + u'/' + name, edgeOf(step.size), subject, uri))
            return scaledWithTexts(*image, edgeOf(size));
    }
    return std::nullopt;
}

bool ThumbnailStore::isKnownToFail(const ThumbnailSubject& subject) const
{
    if (!isUsable(subject, m_folder))
        return false;
    const QByteArray uri = fileUri(subject.path);
    const QString folder = m_folder + QString::fromUtf16(kFailures);
    const QString path = folder + u'/' + thumbnailName(uri);
    return isTrusted(folder, m_folder)
        && readThumbnail(path, edgeOf(ThumbnailSize::kNormal), subject, uri).has_value();
}

bool ThumbnailStore::save(
    const ThumbnailSubject& subject, ThumbnailSize size, const QImage& image) const
{
    if (!isUsable(subject, m_folder) || liesInside(subject.path, m_folder))
        return false;
    const QByteArray uri = fileUri(subject.path);
    const QString folder = m_folder + folderName(size);
    if (!isTrusted(folder, m_folder))
        return false;
    const QImage small = scaledInto(image, {edgeOf(size), edgeOf(size)});
    return writeWhole(
        folder, thumbnailName(uri), thumbnailPng(small, textsOf(subject, uri, image)));
}

bool ThumbnailStore::saveFailure(const ThumbnailSubject& subject) const
{
    if (!isUsable(subject, m_folder) || liesInside(subject.path, m_folder))
        return false;
    const QString folder = m_folder + QString::fromUtf16(kFailures);
    if (!isTrusted(folder, m_folder))
        return false;
    const QByteArray uri = fileUri(subject.path);
    QImage note(1, 1, QImage::Format_ARGB32);
    note.fill(Qt::transparent);
    return writeWhole(folder, thumbnailName(uri), thumbnailPng(note, textsOf(subject, uri, note)));
}

ThumbnailSize thumbnailSizeFor(int pixels)
{
    for (const Step& step : kSteps)
        if (edgeOf(step.size) >= pixels)
            return step.size;
    return ThumbnailSize::kXXLarge;
}

} // namespace pictures
