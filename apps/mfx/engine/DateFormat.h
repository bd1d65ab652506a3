// A date format in the letters of strftime, always in English and always the same: neither the
// locale nor the zone of this machine plays a part, so letters that would ask for them (%s, %Z, %z,
// %E..., %O...) are refused. Constant after construction; any thread may render.
#pragma once

#include "mfx/engine/DateText.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace mfx {

// What is wrong with a pattern, as a sentence for the person who wrote it.
class PatternError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class DateFormat {
public:
    // Throws PatternError for a letter that is not known, and for '%' at the end.
    explicit DateFormat(std::string_view format);

    std::string render(CaptureMoment const& moment) const;

    // The longest text that render() gives has as many bytes as this one.
    std::string longestExample() const;

private:
    std::string m_format;
};

// Throws PatternError when the pattern is not UTF-8 or holds a control character.
void requirePlainText(std::string_view pattern);

} // namespace mfx
