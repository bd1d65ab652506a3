#include "pictures/scheduling/DrawnForm.h"

namespace pictures {

QImage drawnForm(const QImage& image, QSize box)
{
    if (image.isNull())
        return image;
    const bool isTooLarge =
        !box.isEmpty() && (image.width() > box.width() || image.height() > box.height());
    const QImage scaled =
        isTooLarge ? image.scaled(box, Qt::KeepAspectRatio, Qt::SmoothTransformation) : image;
    return scaled.convertToFormat(
        scaled.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
}

} // namespace pictures
