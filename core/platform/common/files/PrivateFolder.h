// Temporary folders for the lifetime of one process, closed to other users. Any thread may call.
#pragma once

#include <string>

namespace Pt {

// Creates an empty folder, named after `purpose`, in the user's runtime folder or else in the
// system's folder for temporary files; the caller removes it. Also removes folders of the same
// purpose that ended processes left behind. Throws std::system_error.
std::string makePrivateFolder(const std::string& purpose);

} // namespace Pt
