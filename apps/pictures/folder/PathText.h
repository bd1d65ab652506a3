// Paths as texts, of files whose names need not be UTF-8: cards and old disks have such. A byte
// that is no part of UTF-8 becomes half a character, U+DC80 to U+DCFF, which no name in UTF-8 has,
// and turns back into that byte. Such a text is for opening files and comparing; people are shown
// displayText() of it.
//
// Free functions without state: any thread may call them.
#pragma once

#include <QByteArrayView>
#include <QString>

#include <string>

namespace pictures {

QString pathText(QByteArrayView bytes);
std::string pathBytes(const QString& path);

// On one line: what would break it, move the cursor or turn the reading direction, and what is no
// UTF-8, stands as %XX, byte by byte.
QString displayText(const QString& path);

} // namespace pictures
