// JPEG pictures, MPO's first one among them: scaled while they are decoded, upright, in sRGB.
#pragma once

#include "pictures/decoding/ByteSource.h"
#include "pictures/decoding/PictureReader.h"

namespace pictures {

// A picture's EXIF says which way up it is; where it has none, `otherwise` does. The path of the
// request is not looked at.
Picture readJpeg(ByteSource& source, const ReadRequest& request, int otherwise = 1);

} // namespace pictures
