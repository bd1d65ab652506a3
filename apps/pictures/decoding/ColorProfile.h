// Colours of pictures, turned into sRGB. Any thread may call.
#pragma once

#include <QByteArray>
#include <QColorSpace>
#include <QImage>

namespace pictures {

// In sRGB by what the profile says; as it is, where the space is unknown, cannot be read or is sRGB
// already. The result bears no colour space.
QImage inSrgb(QImage image, const QColorSpace& space);
QImage inSrgb(QImage image, const QByteArray& iccProfile);

} // namespace pictures
