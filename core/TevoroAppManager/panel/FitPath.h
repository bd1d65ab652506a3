// Shortens a path to the width of a label.
#pragma once

#include <QString>

class QFontMetrics;
class QRect;

// Puts the longest form of `path` into `out` that is narrower than the rectangle: the whole path;
// its root, "..." and as many last components as fit; "..." and the last components; the file name
// alone; the end of the file name behind "...". A path without a separator stays whole, however
// long. Widths are those of the font, in its pixels.
void fitPath(const QString& path, QString& out, const QFontMetrics& metrics, const QRect& rect);
