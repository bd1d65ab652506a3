#include "mfx/cli/UsageText.h"

#include "mfx/texts/Texts.h"

#include <array>
#include <optional>
#include <string_view>
#include <vector>

namespace mfx {

namespace {

// The parser knows English alone, so its messages are recognised by their form: the default of each
// literal is one, in the parser's own words. The first one that fits holds.
constexpr auto kForms = std::to_array<const char*>({
    "$$$/Mfx/Usage/NoCommand=A subcommand is required",
    "$$$/Mfx/Usage/NotExpectedOne=The following argument was not expected: %1",
    "$$$/Mfx/Usage/NotExpected=The following arguments were not expected: %1",
    "$$$/Mfx/Usage/TooOften=%1: At Most %2 required but received %3",
    "$$$/Mfx/Usage/ValueMissing=%1: %2 required %3 missing",
    "$$$/Mfx/Usage/NotOneOf=%1: %2 not in %3",
    "$$$/Mfx/Usage/CannotConvert=Could not convert: %1 = %2",
    "$$$/Mfx/Usage/Excludes=%1 excludes %2",
    "$$$/Mfx/Usage/Required=%1 is required", // last: what a person typed may end so
});

// What stands for %1, %2 and so on in the message; nothing when it is of another form. Each place
// takes as little as it can, up to the words between it and the next; the last one takes the rest.
std::optional<std::vector<std::string>> fit(std::string_view form, std::string_view message)
{
    const std::size_t first = form.find('%');
    const std::string_view beginning = form.substr(0, first);
    if (!message.starts_with(beginning))
        return std::nullopt;
    message.remove_prefix(beginning.size());
    std::vector<std::string> found;
    for (std::size_t at = first; at != std::string_view::npos;) {
        const std::size_t next = form.find('%', at + 1);
        const std::string_view between = form.substr(at + 2, next - at - 2);
        const bool isLast = next == std::string_view::npos;
        const std::size_t end = isLast ? message.size() - std::min(message.size(), between.size())
                                       : message.find(between);
        if (end == std::string_view::npos || message.substr(end, between.size()) != between)
            return std::nullopt;
        found.emplace_back(message.substr(0, end));
        message.remove_prefix(end + between.size());
        at = next;
    }
    return message.empty() ? std::optional(found) : std::nullopt;
}

} // namespace

std::string usageText(const std::string& message)
{
    for (const char* literal : kForms) {
        const std::string_view whole = literal;
        if (const auto found = fit(whole.substr(whole.find('=') + 1), message))
            return text(literal, *found);
    }
    return message;
}

} // namespace mfx
