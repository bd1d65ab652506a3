#include "lexkit/private/unicode/UnicodeReader.h"

#include <cstring>

namespace lexkit_private {

namespace {

constexpr bool isLineEnd(unsigned short unit)
{
    return unit == u'\n' || unit == u'\r' || unit == 0x2028 || unit == 0x2029;
}

} // namespace

bool UnicodeReader::ReadACharacter(unsigned short& unit)
{
    unsigned char bytes[2];
    // Half a unit at the end of the source is dropped.
    if (!takeByte(bytes[0]) || !takeByte(bytes[1]))
        return false;
    std::memcpy(&unit, bytes, sizeof unit);
    return unit != 0;
}

// A NUL ends the text where a line begins, and only the line elsewhere.
const unsigned short* UnicodeReader::ReadALine()
{
    m_line.Clear();
    unsigned short unit = 0;
    while (ReadACharacter(unit)) {
        if (isLineEnd(unit))
            return endLine(unit);
        m_line.Append(unit);
    }
    return m_line.GetCount() > 0 ? endLine(0) : nullptr;
}

} // namespace lexkit_private
