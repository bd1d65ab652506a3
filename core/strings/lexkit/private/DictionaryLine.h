// One line of a text dictionary. Pure functions: any thread.
#pragma once

#include "lexkit/private/LiteralTag.h"

namespace lexkit_private {

// The first quote mark from `text` on that no backslash directly precedes, or `end`. The unit
// before `text` counts, from `lineStart` on.
const unsigned short* FindQuoteMark(
    const unsigned short* lineStart, const unsigned short* text, const unsigned short* end);

// Splits the tag between the first two quote marks; behind one without a second; the whole line
// without any. False when the tag is bad.
bool ParseEntry(const unsigned short* terminated, LiteralTag<unsigned short>& tag);

} // namespace lexkit_private
