// Raw files of cameras, DNG among them: shown by a preview that they carry. Without one that is
// large enough the sensor's values are developed at half the size, with the camera's white balance.
#pragma once

#include "pictures/decoding/PictureReader.h"

namespace pictures {

// The descriptor of the open file is borrowed; its position moves.
Picture readRaw(int descriptor, const ReadRequest& request);

} // namespace pictures
