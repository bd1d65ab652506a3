#include "lexkit/EntryLine.h"

#include "lexkit/private/DictionaryLine.h"

#include <algorithm>

namespace lexkit_cli {

namespace {

using lexkit_private::DictionaryEntry;
using lexkit_private::UnicodeRun;
using Units = std::vector<unsigned short>;

bool endsLine(unsigned short unit)
{
    return unit == 0 || unit == u'\n' || unit == u'\r' || unit == 0x2028 || unit == 0x2029;
}

void appendReference(Units& to, unsigned short unit)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    to.insert(to.end(), {u'#', u'{'});
    for (int shift = 12; shift >= 0; shift -= 4)
        to.push_back(static_cast<unsigned char>(kDigits[unit >> shift & 0xF]));
    to.push_back(u'}');
}

// As the library writes a value: CR, LF and the quote mark with a backslash.
void appendPlainly(Units& to, const unsigned short* text, unsigned long length)
{
    const auto escaped = lexkit_private::do_escapes(text, length);
    const unsigned short* const out = escaped ? escaped.get() : text;
    to.insert(to.end(), out, out + length);
}

// Whether a reader may take the unit for more than itself. Placeholders, "^" and a digit, stay as
// translators know them.
bool isSpecial(unsigned short unit, unsigned short next)
{
    switch (unit) {
    case u'\\':
        return true;
    // A hat at the very end is followed by 0 here, and becomes a reference to be safe.
    case u'^':
        return next < u'0' || next > u'9';
    case u'#':
        return next == u'{';
    default:
        // The other line ends have no escape of their own.
        return unit != u'\n' && unit != u'\r' && endsLine(unit);
    }
}

void appendByReferences(Units& to, const unsigned short* text, unsigned long length)
{
    for (unsigned long at = 0; at < length; ++at)
        if (isSpecial(text[at], at + 1 < length ? text[at + 1] : 0))
            appendReference(to, text[at]);
        else
            // One unit at a time: line ends and quote marks still get their backslash.
            appendPlainly(to, text + at, 1);
}

template <typename AppendValue>
Units lineOf(const DictionaryEntry& entry, AppendValue appendValue)
{
    Units line{u'"'};
    // A key that begins with a mark, or is none, is told by the marks in front of it.
    if (entry.GetLength() == 0 || *entry.GetData() == '$')
        line.insert(line.end(), {u'$', u'$', u'$'});
    line.insert(line.end(), entry.GetData(), entry.GetData() + entry.GetLength());
    line.push_back(u'=');
    appendValue(line, entry.GetValue().GetUnits(), entry.GetValue().GetLength());
    line.push_back(u'"');
    return line;
}

bool holdsKeyAndValue(
    const lexkit_private::LiteralTag<unsigned short>& tag, const DictionaryEntry& entry)
{
    const UnicodeRun value = DictionaryEntry::ConvertEscapeSequences(tag.value, tag.valueLength);
    const UnicodeRun& wanted = entry.GetValue();
    return std::equal(tag.key,
               tag.key + tag.keyLength,
               entry.GetData(),
               entry.GetData() + entry.GetLength())
        && std::equal(value.GetUnits(),
            value.GetUnits() + value.GetLength(),
            wanted.GetUnits(),
            wanted.GetUnits() + wanted.GetLength());
}

bool readsBack(Units line, const DictionaryEntry& entry)
{
    // A line end in the key, or one in the value that the short form cannot express.
    if (std::any_of(line.begin(), line.end(), endsLine))
        return false;
    line.push_back(0);
    lexkit_private::LiteralTag<unsigned short> tag;
    return lexkit_private::ParseEntry(line.data(), tag) && holdsKeyAndValue(tag, entry);
}

} // namespace

std::optional<std::vector<unsigned short>> entryLine(const DictionaryEntry& entry)
{
    Units line = lineOf(entry, appendPlainly);
    // The short form first: translators find a text easier to read without references.
    if (!readsBack(line, entry)) {
        line = lineOf(entry, appendByReferences);
        if (!readsBack(line, entry))
            return std::nullopt;
    }
    line.push_back(u'\n');
    return line;
}

} // namespace lexkit_cli
