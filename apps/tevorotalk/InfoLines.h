// The lines of a diagnostics tree, as far as they can be read: a line that is none is stepped over.
#pragma once

#include "messaging/TevoroTalkUtils.h"

#include <string>
#include <string_view>

namespace tevorotalk {

struct InfoLine {
    ScObjects::SoString path;
    ScObjects::SoString label;
    ScObjects::SoString value;
    bool hasChildren = false;
};

// Calls take(InfoLine const&) for each.
template <typename Take>
void forEachInfoLine(std::string_view lines, Take take)
{
    while (!lines.empty()) {
        const std::size_t length = lines.find('\n');
        const std::string text(lines.substr(0, length));
        lines.remove_prefix(length == std::string_view::npos ? lines.size() : length + 1);
        InfoLine line;
        if (ScObjects::TevoroTalkUtils::parseInfoLine(
                text.c_str(), line.path, line.label, line.value, line.hasChildren)
            != nullptr)
            take(line);
    }
}

} // namespace tevorotalk
