#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Pt {

// The lines of a small settings file, without their ends ("\n" or "\r\n"). None for what is
// missing, unreadable, no regular file, or larger than a megabyte.
std::vector<std::string> readSettingsLines(const std::string& path);

// Without blanks and tabs at both ends.
std::string_view trimmed(std::string_view text);

} // namespace Pt
