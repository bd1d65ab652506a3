#include "lexkit/private/unicode/MultibyteReader.h"

#include "lexkit/private/unicode/UnicodeUtil.h"

namespace lexkit_private {

namespace {

constexpr unsigned long kFirstCapacity = 256; // bytes of a line

} // namespace

MultibyteReader::MultibyteReader(const Source& source)
    : DictionaryReader(source)
    , m_bytes(kFirstCapacity)
{
}

// False at the end of the source and for a NUL.
bool MultibyteReader::ReadAByte(unsigned char& byte)
{
    return takeByte(byte) && byte != 0;
}

const unsigned short* MultibyteReader::ReadALine()
{
    m_bytes.Clear();
    unsigned char byte = 0;
    while (ReadAByte(byte)) {
        // U+2028 and U+2029 do not end a line here: before the conversion a line is just bytes.
        if (byte == '\n' || byte == '\r')
            return convertedLine(byte);
        m_bytes.Append(byte);
    }
    // The last line may lack an end. A NUL at the start of a line ends the text.
    return m_bytes.GetCount() > 0 ? convertedLine(0) : nullptr;
}

const unsigned short* MultibyteReader::convertedLine(unsigned char lineEnd)
{
    // Line by line and not byte by byte, because a character may take several bytes. A null
    // encoding means the default one.
    UnicodeUtil::StringToUnicode(m_bytes.GetData(), m_bytes.GetCount(), m_line, nullptr);
    return endLine(lineEnd);
}

} // namespace lexkit_private
