#include "platform/common/text/AppPreferences.h"

#include "platform/common/services/UserFolders.h"
#include "platform/platforms/linux/files/TextFile.h"

#include <string_view>

namespace Pt {

namespace {

// The value of a line "Key=Value" with that key.
std::optional<std::string> valueIn(std::string_view line, std::string_view key)
{
    const std::size_t sign = line.find('=');
    if (sign == std::string_view::npos || trimmed(line.substr(0, sign)) != key)
        return std::nullopt;
    return std::string(trimmed(line.substr(sign + 1)));
}

bool isFileName(const std::string& domain)
{
    // The domain comes from a file: a slash in it would lead to another folder.
    return !domain.empty() && domain.find_first_of(std::string("/\0", 2)) == std::string::npos;
}

} // namespace

std::optional<std::string> appPreference(const std::string& domain, const std::string& key)
{
    const std::string config = userConfigFolder();
    if (config.empty() || !isFileName(domain))
        return std::nullopt;
    std::optional<std::string> value;
    bool isGeneral = true;
    for (const std::string& each : readSettingsLines(config + "/velmo/" + domain + ".ini")) {
        const std::string_view line = trimmed(each);
        if (line.empty() || line.front() == ';' || line.front() == '#')
            continue;
        if (line.front() == '[')
            isGeneral = line == "[General]";
        // The last line with the key counts.
        else if (const auto found = isGeneral ? valueIn(line, key) : std::nullopt)
            value = found;
    }
    return value;
}

} // namespace Pt
