// Which files of one folder are taken where names were asked for: those that match, and what
// belongs to them and would be of no use without them.
//
// Of one stem (see MediaItem.h), a file that matches brings its sidecars, and a photo or movie its
// voice notes. Thumbnails and small versions come with the movie, or with what else there is where
// no movie lies beside them. A chained sidecar, a.cr2.xmp, comes with a.cr2 and only then. Twins,
// such as the JPEG of a raw file, match themselves or stay.
//
// Constant after construction; any thread may ask.
#pragma once

#include "mfx/engine/card/NameFilter.h"

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace mfx {

class NameChoice {
public:
    // `names` are those of all files in the folder. Borrows the filter, and the names while it is
    // made.
    NameChoice(const NameFilter& only, const std::vector<std::string>& names);

    bool takes(const std::string& name) const;

private:
    const NameFilter& m_only;
    std::unordered_set<std::string> m_taken; // where not all are
};

} // namespace mfx
