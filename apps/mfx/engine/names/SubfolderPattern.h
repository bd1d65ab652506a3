// Which folder below the target an item goes to: a strftime pattern over the capture date, such as
// %Y/%Y-%m-%d. Items without a date go to the folder "undated". Constant after construction; any
// thread may render.
#pragma once

#include "mfx/engine/dates/DateFormat.h"

#include <optional>
#include <string>
#include <string_view>

namespace mfx {

class SubfolderPattern {
public:
    // Throws PatternError when the pattern is empty or absolute, and when a component is empty,
    // begins with a dot (as "." and ".." do, and folders of this system's own) or is above 255
    // bytes.
    explicit SubfolderPattern(std::string_view pattern);

    // Relative to the target, components joined by "/".
    std::string folder(const std::optional<CaptureMoment>& date) const;

private:
    DateFormat m_format;
};

} // namespace mfx
