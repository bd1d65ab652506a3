// A still for a movie: the THM that the camera laid beside it, where that is large enough, or a
// frame out of the movie itself.
#pragma once

#include "pictures/decoding/PictureReader.h"

namespace pictures {

// The descriptor of the open movie is borrowed. A movie that keeps its reader busy is given up
// after some seconds.
Picture readMovie(int descriptor, const ReadRequest& request);

} // namespace pictures
