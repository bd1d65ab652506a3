#include "pictures/decoding/Fitting.h"

namespace pictures {

QSize fittedSize(QSize full, QSize box)
{
    if (box.isEmpty() || (full.width() <= box.width() && full.height() <= box.height()))
        return full;
    return full.scaled(box, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
}

QImage scaledInto(const QImage& image, QSize box)
{
    const QSize size = fittedSize(image.size(), box);
    return size == image.size()
        ? image
        : image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

QImage fitted(const QImage& image, QSize box)
{
    const QSize size = fittedSize(image.size(), box);
    if (image.width() <= 2 * size.width() && image.height() <= 2 * size.height())
        return image;
    return scaledInto(image, box);
}

qint64 pixelsOf(QSize size)
{
    return size.isEmpty() ? 0 : qint64{size.width()} * size.height();
}

} // namespace pictures
