// Reads a text dictionary without a mark, in the default encoding.
#pragma once

#include "lexkit/private/DictionaryReader.h"

namespace lexkit_private {

class MultibyteReader final : public DictionaryReader {
public:
    explicit MultibyteReader(const Source& source);

    // Throws LXErrException when the conversion of the line fails.
    const unsigned short* ReadALine() override;

    // The bytes of the line that was read last.
    const Buffer<unsigned char>& GetLineBytes() const { return m_bytes; }

private:
    bool ReadAByte(unsigned char& byte);
    const unsigned short* convertedLine(unsigned char lineEnd);

    Buffer<unsigned char> m_bytes;
};

} // namespace lexkit_private
