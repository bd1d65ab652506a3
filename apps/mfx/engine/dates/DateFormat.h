// A date format in the letters of strftime, always in English and always the same: neither the
// locale nor the zone of this machine plays a part, so letters that would ask for them (%s, %Z, %z,
// %E..., %O...) are refused. Constant after construction; any thread may render.
#pragma once

#include "mfx/engine/dates/DateText.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace mfx {

// What is wrong with a pattern, as a sentence for the person who wrote it.
class PatternError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A part of a rendered date.
struct DatePiece {
    enum class Kind : std::uint8_t { kText, kDigits, kName };
    Kind kind = Kind::kText;
    std::string text; // of Text
    std::size_t width = 0; // of Digits
};

class DateFormat {
public:
    // Throws PatternError for a letter that is not known, and for '%' at the end.
    explicit DateFormat(std::string_view format);

    std::string render(const CaptureMoment& moment) const;

    // The longest text that render() gives has as many bytes as this one.
    std::string longestExample() const;

    // What render() gives, whatever the moment: for those who read it.
    std::vector<DatePiece> shape() const;

private:
    std::string m_format;
};

// Throws PatternError when the pattern is not UTF-8 or holds a control character.
void requirePlainText(std::string_view pattern);

} // namespace mfx
