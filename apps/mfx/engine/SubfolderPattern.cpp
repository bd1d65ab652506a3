#include "mfx/engine/SubfolderPattern.h"

#include "mfx/engine/NamePattern.h"
#include "mfx/engine/TargetName.h"

namespace mfx {

namespace {

void requireFolderName(std::string_view component, std::string_view pattern)
{
    const std::string quoted = "The subfolder pattern \"" + std::string(pattern) + "\" ";
    if (component.empty()) {
        throw PatternError(quoted
            + "has an empty part; write it without \"/\" at its ends and "
              "without \"//\".");
    }
    if (component.front() == '.') {
        throw PatternError(
            quoted + "has the part \"" + std::string(component) + "\", which begins with a dot.");
    }
    if (component.size() > kLongestName) {
        throw PatternError(quoted + "has a part of more than 255 bytes.");
    }
}

} // namespace

SubfolderPattern::SubfolderPattern(std::string_view pattern)
    : m_format(pattern)
{
    requirePlainText(pattern);
    const std::string example = m_format.longestExample();
    std::string_view rest = example;
    for (std::size_t slash = rest.find('/'); slash != std::string_view::npos;
         slash = rest.find('/')) {
        requireFolderName(rest.substr(0, slash), pattern);
        rest.remove_prefix(slash + 1);
    }
    requireFolderName(rest, pattern);
}

std::string SubfolderPattern::folder(std::optional<CaptureMoment> const& date) const
{
    return date ? m_format.render(*date) : std::string(kUndated);
}

} // namespace mfx
