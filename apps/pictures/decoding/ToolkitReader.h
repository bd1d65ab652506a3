// PNG, TIFF, WebP, GIF, BMP by the toolkit's plug-ins, chosen by content. Of several pages or
// frames the first.
#pragma once

#include "pictures/decoding/PictureReader.h"

class QIODevice;

namespace pictures {

// From the device's first byte; it is borrowed, open for reading.
Picture readWithToolkit(QIODevice& device, const ReadRequest& request);

// Upright; invalid where the header does not tell.
QSize sizeWithToolkit(QIODevice& device);

} // namespace pictures
