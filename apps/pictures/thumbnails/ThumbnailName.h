// Under which address and name the desktop keeps a picture's thumbnail. Any thread may call.
#pragma once

#include <QByteArray>
#include <QString>

namespace pictures {

// "file:///a%20b.jpg": bytes that are no letter, no digit and none of "-_.!~*'()/:@&=+$," as
// hexadecimal numbers in capitals. All programs of a desktop write it alike, or do not find each
// other's thumbnails. Requires: the path is absolute.
QByteArray fileUri(const QString& path);

// The MD5 of the address and ".png".
QString thumbnailName(const QByteArray& uri);

} // namespace pictures
