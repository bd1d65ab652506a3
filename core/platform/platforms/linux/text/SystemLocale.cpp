#include "platform/common/text/SystemLocale.h"

#include <algorithm>
#include <cstdlib>
#include <initializer_list>

namespace Pt {

namespace {

std::string firstSet(std::initializer_list<const char*> variables)
{
    for (const char* const variable : variables) {
        const char* const value = std::getenv(variable);
        if (value && *value)
            return value;
    }
    return {};
}

// Not isalnum, which asks the locale.
bool isPlain(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_'
        || c == '-';
}

} // namespace

std::optional<std::string> systemLocale()
{
    const std::string value = firstSet({"LC_ALL", "LC_MESSAGES", "LANG"});
    const std::string locale = value.substr(0, value.find_first_of(".@"));
    // "C" and "POSIX" name no language.
    const bool isNone = locale.empty() || locale == "C" || locale == "POSIX";
    if (isNone || !std::all_of(locale.begin(), locale.end(), isPlain))
        return std::nullopt;
    return locale;
}

} // namespace Pt
