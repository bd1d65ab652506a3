#include "mfx/engine/card/NameFilter.h"

#include "platform/common/text/NameText.h"

#include <algorithm>
#include <optional>

namespace mfx {

namespace {

// Invalid bytes become codes of their own, so that '?' matches one and a literal matches itself.
constexpr char32_t kInvalidByte = 0x110000;

std::u32string foldedCodes(std::string_view text)
{
    std::u32string codes;
    for (std::size_t at = 0; at < text.size();) {
        const Pt::NameCharacter character = Pt::nameCharacterAt(text, at);
        codes += character.valid ? Pt::asciiLower(character.code) : kInvalidByte + character.code;
        at += character.length;
    }
    return codes;
}

struct Step {
    bool matches = false;
    std::size_t next = 0; // where the glob goes on
};

// The position of the ']' that ends the set opened at `open`, if there is one. A ']' that comes
// first in the set belongs to it.
std::optional<std::size_t> setEnd(const std::u32string& glob, std::size_t open)
{
    std::size_t first = open + 1;
    if (first < glob.size() && (glob[first] == U'!' || glob[first] == U'^'))
        ++first;
    const std::size_t end = glob.find(U']', first + 1);
    return end == std::u32string::npos ? std::nullopt : std::optional(end);
}

Step matchSet(const std::u32string& glob, std::size_t open, std::size_t end, char32_t code)
{
    std::size_t at = open + 1;
    const bool inverted = glob[at] == U'!' || glob[at] == U'^';
    at += inverted ? 1 : 0;
    bool found = false;
    while (at < end) {
        const bool range = at + 2 < end && glob[at + 1] == U'-';
        const char32_t last = range ? glob[at + 2] : glob[at];
        found = found || (code >= glob[at] && code <= last);
        at += range ? 3 : 1;
    }
    return {found != inverted, end + 1};
}

// Holds one character against what stands at `at` in the glob, which is not '*'.
Step matchOne(const std::u32string& glob, std::size_t at, char32_t code)
{
    if (glob[at] == U'?')
        return {true, at + 1};
    if (glob[at] == U'[') {
        if (const auto end = setEnd(glob, at))
            return matchSet(glob, at, *end, code);
    }
    if (glob[at] == U'\\' && at + 1 < glob.size())
        ++at;
    return {glob[at] == code, at + 1};
}

// Walks both texts once; on a mismatch only the last '*' takes one more character, which keeps
// the worst case at the product of the lengths.
bool matches(const std::u32string& glob, const std::u32string& name)
{
    std::size_t at = 0;
    std::size_t position = 0;
    std::optional<std::size_t> star;
    std::size_t starPosition = 0;
    while (position < name.size()) {
        if (at < glob.size() && glob[at] == U'*') {
            star = at++;
            starPosition = position;
            continue;
        }
        const Step step = at < glob.size() ? matchOne(glob, at, name[position]) : Step{};
        if (step.matches) {
            at = step.next;
            ++position;
        } else if (star) {
            at = *star + 1;
            position = ++starPosition;
        } else {
            return false;
        }
    }
    return glob.find_first_not_of(U'*', at) == std::u32string::npos;
}

} // namespace

NameFilter::NameFilter(const std::vector<std::string>& globs)
{
    m_globs.reserve(globs.size());
    for (const std::string& glob : globs)
        m_globs.push_back(foldedCodes(glob));
}

bool NameFilter::accepts(std::string_view name) const
{
    if (acceptsAll())
        return true;
    const std::u32string codes = foldedCodes(name);
    return std::any_of(m_globs.begin(), m_globs.end(), [&codes](const std::u32string& glob) {
        return matches(glob, codes);
    });
}

} // namespace mfx
