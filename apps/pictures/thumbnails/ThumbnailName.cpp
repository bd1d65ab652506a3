#include "pictures/thumbnails/ThumbnailName.h"

#include "pictures/folder/PathText.h"

#include <QCryptographicHash>

namespace pictures {

QByteArray fileUri(const QString& path)
{
    // Beside what is never encoded: letters, digits and "-._~".
    static const QByteArray kept("!*'()/:@&=+$,");
    return "file://" + QByteArray::fromStdString(pathBytes(path)).toPercentEncoding(kept);
}

QString thumbnailName(const QByteArray& uri)
{
    const QByteArray digest = QCryptographicHash::hash(uri, QCryptographicHash::Md5);
    return QString::fromLatin1(digest.toHex()) + QStringLiteral(".png");
}

} // namespace pictures
