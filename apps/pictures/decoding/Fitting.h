// Sizes of pictures that are to fit into a box. An empty box stands for all pixels.
#pragma once

#include <QImage>
#include <QSize>

namespace pictures {

// The size that a picture has in the box: its own where that fits. At least one pixel each way.
QSize fittedSize(QSize full, QSize box);

// Scaled down into the box where it is larger.
QImage scaledInto(const QImage& image, QSize box);

// Scaled down into the box when it is more than twice as large, as it is otherwise: whoever draws
// it scales once more anyway.
QImage fitted(const QImage& image, QSize box);

// 0 for an empty size.
qint64 pixelsOf(QSize size);

} // namespace pictures
