// Pictures in places that a download passes over, such as trashes and folders of systems: whoever
// wipes the card would lose them too. Looks only. Free functions; any thread; block on the disk.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace mfx {

struct FoundPictures {
    std::vector<std::string> names; // relative to the root; the first few
    std::size_t count = 0;
};

// Whether a file is a picture, a movie or a recording, by its first bytes. A file whose name says
// so counts unless its first bytes are those of a system's notes on another file ("._X.JPG"), or
// there are none.
bool isPicture(const std::string& path);

// All those in a folder, at any depth, links left aside. `folder` is relative to the root. Small
// pictures in a camera's folder of thumbnails do not count.
FoundPictures picturesBelow(const std::string& root, const std::string& folder);

} // namespace mfx
