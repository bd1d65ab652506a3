#include "mfx/texts/Columns.h"

#include "platform/common/text/NameText.h"

#include <algorithm>
#include <iterator>

namespace mfx {

namespace {

struct Range {
    char32_t first;
    char32_t last;
};

// Marks that stand on the letter before them, and letters without any width.
constexpr Range kNarrowest[] = {{0x0300, 0x036F},
    {0x0483, 0x0489},
    {0x0591, 0x05BD},
    {0x064B, 0x065F},
    {0x1160, 0x11FF},
    {0x1AB0, 0x1AFF},
    {0x1DC0, 0x1DFF},
    {0x200B, 0x200F},
    {0x20D0, 0x20F0},
    {0x302A, 0x302D},
    {0x3099, 0x309A},
    {0xFE00, 0xFE0F},
    {0xFE20, 0xFE2F},
    {0xFEFF, 0xFEFF}};

// Wide and full-width letters, and pictures.
constexpr Range kWide[] = {{0x1100, 0x115F},
    {0x2E80, 0x303E},
    {0x3041, 0x3247},
    {0x3250, 0x4DBF},
    {0x4E00, 0xA4C6},
    {0xA960, 0xA97C},
    {0xAC00, 0xD7A3},
    {0xF900, 0xFAFF},
    {0xFE30, 0xFE6B},
    {0xFF01, 0xFF60},
    {0xFFE0, 0xFFE6},
    {0x1F300, 0x1F64F},
    {0x1F680, 0x1F6FC},
    {0x1F900, 0x1F9FF},
    {0x20000, 0x3FFFD}};

template <typename Ranges>
bool holds(const Ranges& ranges, char32_t code)
{
    return std::any_of(std::begin(ranges), std::end(ranges), [code](const Range& range) {
        return code >= range.first && code <= range.last;
    });
}

// A byte that is no UTF-8 is shown as one sign of replacement.
std::size_t widthOf(const Pt::NameCharacter& character)
{
    if (!character.valid)
        return 1;
    if (holds(kNarrowest, character.code))
        return 0;
    return holds(kWide, character.code) ? 2 : 1;
}

} // namespace

std::size_t columnsOf(std::string_view text)
{
    std::size_t columns = 0;
    for (std::size_t at = 0; at < text.size();) {
        const auto character = Pt::nameCharacterAt(text, at);
        columns += widthOf(character);
        at += character.length;
    }
    return columns;
}

// A letter of two columns that does not fit any more leaves one blank: half of it would shift the
// line.
std::string fittedTo(std::string_view text, std::size_t columns)
{
    std::size_t used = 0;
    std::size_t end = 0;
    while (end < text.size()) {
        const auto character = Pt::nameCharacterAt(text, end);
        const std::size_t width = widthOf(character);
        if (used + width > columns)
            break;
        used += width;
        end += character.length;
    }
    return std::string(text.substr(0, end)) + std::string(columns - used, ' ');
}

} // namespace mfx
