// Reads the number out of a file name that a name pattern with {seq} may have given.
//
// The whole name has to fit: what the pattern says, then "-k" where the name was taken, then an
// extension. Where a name can be read in several ways, fields are as long as they can be and
// numbers as short. Constant after construction; any thread may ask.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mfx {

class NumberMatcher {
public:
    struct Part {
        enum class Kind : std::uint8_t { kText, kAnything, kDigits, kLetters, kNumber };
        Kind kind = Kind::kText;
        std::string text; // of Text
        std::size_t width = 0; // of Digits: so many; of Number: so many at least
    };
    using Parts = std::vector<Part>;

    struct Match {
        std::uint64_t number = 0;
        std::string_view stem; // with its "-k"
        std::string_view extension; // without the dot
    };

    // The first of the alternatives that fits holds.
    explicit NumberMatcher(std::vector<Parts> alternatives)
        : m_alternatives(std::move(alternatives))
    {
    }

    // The views last as long as the name.
    std::optional<Match> match(std::string_view fileName) const;

private:
    std::vector<Parts> m_alternatives;
};

} // namespace mfx
