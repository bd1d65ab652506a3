#include "lexkit/private/DictionaryLine.h"

#include "lexkit/private/unicode/UnicodeUtil.h"

namespace lexkit_private {

unsigned short const* FindQuoteMark(
    unsigned short const* lineStart, unsigned short const* text, unsigned short const* end)
{
    for (;; ++text) {
        text = std::find(text, end, u'"');
        if (text == end || text == lineStart || text[-1] != u'\\')
            return text;
    }
}

bool ParseEntry(unsigned short const* terminated, LiteralTag<unsigned short>& tag)
{
    unsigned short const* start = terminated;
    unsigned short const* end = terminated + UnicodeUtil::StringLength(terminated);
    unsigned short const* const opening = FindQuoteMark(terminated, terminated, end);
    if (opening != end) {
        start = opening + 1;
        end = FindQuoteMark(terminated, start, end);
    }
    return ParseTag(start, static_cast<unsigned long>(end - start), tag);
}

} // namespace lexkit_private
