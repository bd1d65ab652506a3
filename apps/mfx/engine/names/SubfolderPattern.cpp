#include "mfx/engine/names/SubfolderPattern.h"

#include "mfx/engine/names/NamePattern.h"
#include "mfx/engine/names/TargetName.h"
#include "mfx/texts/Texts.h"

namespace mfx {

namespace {

void requireFolderName(std::string_view component, std::string_view pattern)
{
    if (component.empty()) {
        throw PatternError(
            text("$$$/Mfx/Pattern/EmptyFolder=The subfolder pattern \"%1\" has an empty part; "
                 "write it without \"/\" at its ends and without \"//\".",
                {std::string(pattern)}));
    }
    if (component.front() == '.') {
        throw PatternError(
            text("$$$/Mfx/Pattern/HiddenFolder=The subfolder pattern \"%1\" has the part \"%2\", "
                 "which begins with a dot.",
                {std::string(pattern), std::string(component)}));
    }
    if (component.size() > kMaxNameLength) {
        throw PatternError(
            text("$$$/Mfx/Pattern/LongFolder=The subfolder pattern \"%1\" has a part of more than "
                 "255 bytes.",
                {std::string(pattern)}));
    }
}

} // namespace

// Checked on the longest text that the format can give: each part of it is one folder. ".." begins
// with a dot, so that no pattern leads out of the target.
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

std::string SubfolderPattern::folder(const std::optional<CaptureMoment>& date) const
{
    return date ? m_format.render(*date) : std::string(kUndated);
}

} // namespace mfx
