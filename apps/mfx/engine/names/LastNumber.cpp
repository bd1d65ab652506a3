#include "mfx/engine/names/LastNumber.h"

#include <algorithm>
#include <filesystem>

namespace mfx {

namespace fs = std::filesystem;

// Folders with a dot in front are not entered: work folders of runs are among them, whose numbers
// may never be given.
std::optional<std::uint64_t> lastNumberIn(const std::string& folder,
    const NumberMatcher& allNames,
    bool looksBelow,
    const std::function<bool()>& shouldStop)
{
    std::optional<std::uint64_t> last;
    std::error_code error; // what cannot be listed has no names that ours could meet
    constexpr auto kOptions = fs::directory_options::skip_permission_denied;
    for (fs::recursive_directory_iterator it(folder, kOptions, error), end;
         !error && it != end && !shouldStop();
         it.increment(error)) {
        const std::string name = it->path().filename().string();
        if (!looksBelow || name.starts_with('.'))
            it.disable_recursion_pending();
        if (const auto match = allNames.match(name))
            last = std::max(last.value_or(0), match->number);
    }
    return last;
}

} // namespace mfx
