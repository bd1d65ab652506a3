#include "pictures/decoding/ColorProfile.h"

#include <utility>

namespace pictures {

QImage inSrgb(QImage image, const QColorSpace& space)
{
    const QColorSpace srgb(QColorSpace::SRgb);
    if (space.isValid() && space != srgb) {
        image.setColorSpace(space);
        image.convertToColorSpace(srgb);
    }
    image.setColorSpace({});
    return image;
}

QImage inSrgb(QImage image, const QByteArray& iccProfile)
{
    return inSrgb(std::move(image),
        iccProfile.isEmpty() ? QColorSpace() : QColorSpace::fromIccProfile(iccProfile));
}

} // namespace pictures
