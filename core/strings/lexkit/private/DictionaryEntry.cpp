#include "lexkit/private/DictionaryEntry.h"

#include <algorithm>
#include <ostream>
#include <utility>
#include <vector>

namespace lexkit_private {

namespace {

unsigned short letterOfEscape(unsigned short unit)
{
    // The backslash, "^" and "#" stay, on purpose. The command lexkit writes them as references
    // where they would be misread.
    switch (unit) {
    case u'\r':
        return u'r';
    case u'\n':
        return u'n';
    case u'"':
        return u'"';
    default:
        return 0;
    }
}

void copyEscaped(const unsigned short* text, unsigned long length, unsigned short* out)
{
    for (unsigned long at = 0; at < length; ++at) {
        const unsigned short letter = letterOfEscape(text[at]);
        if (letter != 0)
            *out++ = u'\\';
        *out++ = letter != 0 ? letter : text[at];
    }
}

// Up to the end of the line. The key has opened the quotes.
std::vector<unsigned short> escapedAndClosed(const UnicodeRun& value)
{
    unsigned long length = value.GetLength();
    const auto escaped = do_escapes(value.GetUnits(), length);
    const unsigned short* const text = escaped ? escaped.get() : value.GetUnits();
    std::vector<unsigned short> units(text, text + length);
    units.push_back(u'"');
    // Lines end with LF on every system.
    units.push_back(u'\n');
    return units;
}

} // namespace

DictionaryEntry::DictionaryEntry(
    const ByteRunKey& key, const unsigned short* value, unsigned long length)
    : ByteRunKey(key)
    , m_value(ConvertEscapeSequences(value, length))
{
}

DictionaryEntry::DictionaryEntry(const ByteRunKey& key, UnicodeRun value)
    : ByteRunKey(key)
    , m_value(std::move(value))
{
}

// The key's bytes stand behind the entry and go with it.
DictionaryEntry::DictionaryEntry(const ByteRunKey& key, UnicodeRun value, InOneBlock)
    : ByteRunKey(this + 1, key.GetLength(), false)
    , m_value(std::move(value))
{
}

std::unique_ptr<DictionaryEntry> DictionaryEntry::Make(const ByteRunKey& key, UnicodeRun value)
{
    // The constructor only points at the room behind the entry; its bytes are filled in afterwards.
    std::unique_ptr<DictionaryEntry> entry(
        new (KeyBytes{key.GetLength()}) DictionaryEntry(key, std::move(value), InOneBlock()));
    std::copy_n(key.GetData(), key.GetLength(), reinterpret_cast<unsigned char*>(entry.get() + 1));
    return entry;
}

unsigned long DictionaryEntry::SerializeValue(
    std::ostream& stream, bool binary, const lexkit::EncodingInfo* encoding) const
{
    if (binary)
        return m_value.Serialize(stream, binary, encoding);
    const std::vector<unsigned short> units = escapedAndClosed(m_value);
    const unsigned long size = units.size() * sizeof(unsigned short);
    stream.write(reinterpret_cast<const char*>(units.data()), static_cast<std::streamsize>(size));
    return size;
}

std::unique_ptr<unsigned short[]> do_escapes(const unsigned short* text, unsigned long& length)
{
    const auto isEscaped = [](unsigned short unit) { return letterOfEscape(unit) != 0; };
    const auto count = static_cast<unsigned long>(std::count_if(text, text + length, isEscaped));
    // Most texts have nothing to escape, and are written from where they are.
    if (count == 0)
        return nullptr;
    auto escaped = std::make_unique_for_overwrite<unsigned short[]>(length + count);
    copyEscaped(text, length, escaped.get());
    length += count;
    return escaped;
}

} // namespace lexkit_private
