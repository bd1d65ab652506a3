// The operations of a text that go over its words: blanks, ellipses, extensions, marks of menu
// accelerators, placeholders.

#include "lexkit/private/ZString.h"
#include "lexkit/private/unicode/UnicodeChar.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace lexkit_private {

namespace {

constexpr unsigned short kEllipsis = 0x2026;
constexpr unsigned long kShortcutLength = 4; // "(&S)"

using Units = std::vector<unsigned short>;

// Scripts without Latin letters append the accelerator to the word, and there it is taken out as a
// whole.
bool isShortcut(const unsigned short* at, const unsigned short* end)
{
    return end - at >= static_cast<std::ptrdiff_t>(kShortcutLength) && at[0] == u'('
        && at[1] == u'&' && at[3] == u')';
}

// Takes the marks out of what stands before the cut.
Units withoutMarks(const unsigned short* at, const unsigned short* end)
{
    Units out;
    out.reserve(static_cast<std::size_t>(end - at));
    bool keepNext = false;
    while (at != end) {
        if (isShortcut(at, end)) {
            at += kShortcutLength;
            continue;
        }
        const unsigned short unit = *at++;
        if (keepNext || unit != u'&') {
            out.push_back(unit);
            keepNext = false;
        } else if (at != end && *at != u' ') {
            keepNext = true; // the marked character, which may be "&" itself
        } else if (at != end) {
            out.push_back(unit); // "R & D"
        }
    }
    return out;
}

} // namespace

// Keeps the units from start up to end.
void ZString::cut(unsigned long start, unsigned long end)
{
    // A text that loses nothing stays shared with its copies.
    if (start > 0 || end < GetLength())
        *this = ZString(GetUnits() + start, end - start);
}

void ZString::exchangeUnits(unsigned short from, unsigned short to)
{
    Units units(GetUnits(), GetUnits() + GetLength());
    std::replace(units.begin(), units.end(), from, to);
    *this = ZString(units.data(), units.size());
}

void ZString::TrimBlanks()
{
    const unsigned short* const units = GetUnits();
    unsigned long start = 0;
    unsigned long end = GetLength();
    while (start < end && units[start] == u' ')
        ++start;
    while (end > start && units[end - 1] == u' ')
        --end;
    cut(start, end);
}

void ZString::TrimEllipsis()
{
    constexpr unsigned long kStops = 3;
    const unsigned short* const units = GetUnits();
    const unsigned long length = GetLength();
    if (length > 0 && units[length - 1] == kEllipsis) {
        cut(0, length - 1);
        return;
    }
    const auto isStop = [](unsigned short unit) { return unit == u'.'; };
    if (length >= kStops && std::all_of(units + length - kStops, units + length, isStop))
        cut(0, length - kStops);
}

void ZString::EllipsisToHostEllipsis() { }

bool ZString::RemoveExtension()
{
    const unsigned short* const units = GetUnits();
    for (unsigned long at = GetLength(); at > 0; --at) {
        if (units[at - 1] == u'.') {
            cut(0, at - 1);
            return true;
        }
    }
    return false;
}

void ZString::RemoveAccelerators()
{
    // Behind a blank and a backspace stands the name of a key combination, which goes with the
    // marks.
    static constexpr unsigned short kCutMark[] = {u' ', u'\b'};
    const unsigned short* const begin = GetUnits();
    const unsigned short* const end = begin + GetLength();
    const unsigned short* const cutAt =
        std::search(begin, end, std::begin(kCutMark), std::end(kCutMark));
    // Nothing to remove: the text stays shared.
    if (cutAt == end && std::find(begin, end, u'&') == end)
        return;
    const Units units = withoutMarks(begin, cutAt);
    *this = ZString(units.data(), units.size());
}

void ZString::RemoveBadFilenameCharacters()
{
    exchangeUnits(u':', u'-');
}

void ZString::ChangeNewLineCharacter()
{
    exchangeUnits(u'\n', u'\r');
}

unsigned long ZString::CountHatOccurrences(unsigned short c) const
{
    const unsigned short* const units = GetUnits();
    unsigned long count = 0;
    // Hats are not paired: values have had "^^" converted before they get here.
    for (unsigned long at = 1; at < GetLength(); ++at)
        if (units[at] == c && units[at - 1] == u'^')
            ++count;
    return count;
}

bool ZString::WillReplace(unsigned char digit) const
{
    return CountHatOccurrences(DigitCharacter(digit)) != 0;
}

void ZString::Replace(unsigned char digit, const ZString& with)
{
    const unsigned short wanted = DigitCharacter(digit);
    if (CountHatOccurrences(wanted) == 0)
        return;
    Units out;
    bool isHeld = false; // a "^" that the next unit decides about
    for (const unsigned short* at = GetUnits(); at != GetUnits() + GetLength(); ++at) {
        if (isHeld && *at == wanted) {
            // What is inserted is not searched again, so a file name with "^1" in it stays as it
            // is.
            out.insert(out.end(), with.GetUnits(), with.GetUnits() + with.GetLength());
            isHeld = false;
            continue;
        }
        if (isHeld)
            out.push_back(u'^');
        isHeld = *at == u'^';
        if (!isHeld)
            out.push_back(*at);
    }
    if (isHeld)
        out.push_back(u'^');
    *this = ZString(out.data(), out.size());
}

} // namespace lexkit_private
