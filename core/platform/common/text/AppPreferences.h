#pragma once

#include <optional>
#include <string>

namespace Pt {

// One value of another application's settings: the file velmo/<domain>.ini in the user's
// configuration folder, with lines Key=Value, bare or under [General]. Blanks around key and value
// do not count, lines that begin with ; or # are comments, and of a key given twice the last holds.
// Nothing when the file or the key is missing, and for a domain that is empty or has a slash or a
// NUL in it. The file is read at each call; any thread may call.
std::optional<std::string> appPreference(const std::string& domain, const std::string& key);

} // namespace Pt
