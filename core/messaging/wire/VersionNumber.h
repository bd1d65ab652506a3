// The number at the beginning of a version text. Any thread may call.
#pragma once

#include "messaging/SoString.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace ScObjects::TevoroTalkData {

// As atof reads it, but with a point in every locale; 0 for a text that begins otherwise.
inline double versionNumber(const SoString& version)
{
    std::string_view text = version.view();
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    double number = 0.0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

} // namespace ScObjects::TevoroTalkData
