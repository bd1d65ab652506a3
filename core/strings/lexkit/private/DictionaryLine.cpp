#include "lexkit/private/DictionaryLine.h"

#include "lexkit/private/unicode/UnicodeUtil.h"

namespace lexkit_private {

const unsigned short* FindQuoteMark(
    const unsigned short* lineStart, const unsigned short* text, const unsigned short* end)
{
    for (;; ++text) {
        text = std::find(text, end, u'"');
        // Only the one unit before counts: after an escaped backslash, too, a quote mark is part of
        // the tag.
        if (text == end || text == lineStart || text[-1] != u'\\')
            return text;
    }
}

bool ParseEntry(const unsigned short* terminated, LiteralTag<unsigned short>& tag)
{
    // Without any quote mark the whole line is the tag: comments become entries that nobody looks
    // up.
    const unsigned short* start = terminated;
    const unsigned short* end = terminated + UnicodeUtil::StringLength(terminated);
    const unsigned short* const opening = FindQuoteMark(terminated, terminated, end);
    if (opening != end) {
        start = opening + 1;
        end = FindQuoteMark(terminated, start, end);
    }
    return ParseTag(start, static_cast<unsigned long>(end - start), tag);
}

} // namespace lexkit_private
