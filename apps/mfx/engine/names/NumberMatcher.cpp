#include "mfx/engine/names/NumberMatcher.h"

#include <algorithm>
#include <charconv>

namespace mfx {

namespace {

using Part = NumberMatcher::Part;
using Parts = NumberMatcher::Parts;
using Match = NumberMatcher::Match;

constexpr std::size_t kMaxDigits = 9; // more are no number that was given

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

template <typename Test>
std::size_t runLength(std::string_view text, Test belongs)
{
    const auto end = std::find_if_not(text.begin(), text.end(), belongs);
    return static_cast<std::size_t>(end - text.begin());
}

std::uint64_t numberIn(std::string_view digits)
{
    std::uint64_t number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return number;
}

// One try to read a name; the number is that of all its places.
class Reading {
public:
    Reading(const Parts& parts, std::string_view name)
        : m_parts(parts)
        , m_name(name)
    {
    }

    std::optional<Match> read() { return fits(0, 0) ? m_match : std::nullopt; }

private:
    bool fits(std::size_t part, std::size_t at);
    bool fitsLength(std::size_t part, std::size_t at, std::size_t length);
    bool fitsNumber(std::size_t part, std::size_t at);
    bool fitsEnd(std::size_t at);

    const Parts& m_parts;
    const std::string_view m_name;
    std::optional<std::uint64_t> m_number;
    std::optional<Match> m_match;
};

// Tries one part after the other and goes back where the rest does not fit. Names are short and
// patterns have few open parts, so that this ends soon.
bool Reading::fits(std::size_t part, std::size_t at)
{
    if (part == m_parts.size())
        return fitsEnd(at);
    const Part& wanted = m_parts[part];
    const std::string_view rest = m_name.substr(at);
    switch (wanted.kind) {
    case Part::Kind::kText:
        return rest.starts_with(wanted.text) && fits(part + 1, at + wanted.text.size());
    case Part::Kind::kDigits: // a day may have a blank for its first one
        return runLength(
                   rest.substr(0, wanted.width), [](char c) { return isDigit(c) || c == ' '; })
            == wanted.width
            && fits(part + 1, at + wanted.width);
    case Part::Kind::kLetters:
        return fitsLength(part, at, runLength(rest, isLetter));
    case Part::Kind::kAnything:
        return fitsLength(part, at, rest.size());
    case Part::Kind::kNumber:
        break;
    }
    return fitsNumber(part, at);
}

// With at least one character, and as many as can be.
bool Reading::fitsLength(std::size_t part, std::size_t at, std::size_t length)
{
    for (; length > 0; --length)
        if (fits(part + 1, at + length))
            return true;
    return false;
}

// A number has at least the digits of the pattern, and zeros in front only to fill these up: "0042"
// is no way in which {seq:3} writes forty-two. Where {seq} comes twice, both say the same.
bool Reading::fitsNumber(std::size_t part, std::size_t at)
{
    const std::string_view rest = m_name.substr(at);
    const std::size_t most = std::min(runLength(rest, isDigit), kMaxDigits);
    const auto before = m_number;
    for (std::size_t length = m_parts[part].width; length <= most; ++length) {
        const std::uint64_t number = numberIn(rest.substr(0, length));
        const bool isPadded = length > m_parts[part].width && rest.front() == '0';
        m_number = number;
        if (!isPadded && (!before || before == number) && fits(part + 1, at + length))
            return true;
    }
    m_number = before;
    return false;
}

// A clash may have added "-1" and so on behind the stem; a sidecar's extension may have two parts.
bool Reading::fitsEnd(std::size_t at)
{
    std::string_view rest = m_name.substr(at);
    if (rest.size() >= 2 && rest[0] == '-' && rest[1] != '0') {
        const std::size_t digits = runLength(rest.substr(1), isDigit);
        rest.remove_prefix(digits > 0 ? 1 + digits : 0);
    }
    const bool hasExtension = rest.size() >= 2 && rest.front() == '.';
    if (!m_number || (!rest.empty() && !hasExtension))
        return false;
    m_match = Match{*m_number,
        m_name.substr(0, m_name.size() - rest.size()),
        rest.substr(hasExtension ? 1 : 0)};
    return true;
}

} // namespace

std::optional<Match> NumberMatcher::match(std::string_view fileName) const
{
    for (const Parts& parts : m_alternatives)
        if (auto match = Reading(parts, fileName).read())
            return match;
    return std::nullopt;
}

} // namespace mfx
