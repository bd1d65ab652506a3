#include "platform/common/text/SystemLocale.h"

#include <algorithm>
#include <cstdlib>
#include <initializer_list>

namespace Pt {

namespace {

std::string firstSet(std::initializer_list<char const*> variables)
{
    for (char const* const variable : variables) {
        char const* const value = std::getenv(variable);
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
    std::string const value = firstSet({"LC_ALL", "LC_MESSAGES", "LANG"});
    std::string const locale = value.substr(0, value.find_first_of(".@"));
    bool const isNone = locale.empty() || locale == "C" || locale == "POSIX";
    if (isNone || !std::all_of(locale.begin(), locale.end(), isPlain))
        return std::nullopt;
    return locale;
}

} // namespace Pt
