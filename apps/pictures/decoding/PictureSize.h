// How many pixels a picture or a movie has, upright, from its header: the same as readPicture()
// gives, without decoding. Blocks while it reads. Any thread may call.
#pragma once

#include <QSize>
#include <QString>

namespace pictures {

// Invalid where that cannot be told. Throws nothing but std::bad_alloc.
QSize pictureSize(const QString& path);

} // namespace pictures
