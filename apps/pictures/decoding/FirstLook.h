// What can be shown of a picture at once, while all of it is still to be decoded: the small one
// that cameras put into the EXIF of a JPEG file. A program that changed the picture may have left
// that as it was, so it is for the eye until the picture is there, and never for the store.
#pragma once

#include "pictures/decoding/PictureReader.h"

namespace pictures {

// Upright, in sRGB, and without the bars that cameras put beside a picture of another form. The
// box is not looked at. kBroken when there is nothing to show at once. Blocks for the first bytes
// of the file; any thread may call.
Picture firstLook(const ReadRequest& request);

} // namespace pictures
