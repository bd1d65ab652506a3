#include "messaging/TevoroTalkUtils.h"

namespace ScObjects::TevoroTalkUtils {

long parseOptions(const SoString& text, SoVector<SoString>& words)
{
    constexpr std::string_view kDelimiters = " =;\"':";
    std::string_view rest = text.view();
    for (;;) {
        const std::size_t start = rest.find_first_not_of(kDelimiters);
        if (start == std::string_view::npos)
            return words.length();
        rest.remove_prefix(start);
        const std::string_view word = rest.substr(0, rest.find_first_of(kDelimiters));
        words.append(new SoString(word));
        rest.remove_prefix(word.size());
    }
}

} // namespace ScObjects::TevoroTalkUtils
