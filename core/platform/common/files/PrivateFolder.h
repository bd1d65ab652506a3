// Folders for the time of one process, closed to other users. Any thread may call.
#pragma once

#include <string>

namespace Pt {

// Makes an empty folder of its own, named after `purpose`, in the user's runtime folder or else in
// the system's folder for temporary files; the caller removes it. Folders of the same purpose that
// ended processes left behind go on this occasion. Throws std::system_error.
std::string makePrivateFolder(const std::string& purpose);

} // namespace Pt
