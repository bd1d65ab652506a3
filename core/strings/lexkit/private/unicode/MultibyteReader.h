// Reads a text dictionary without a mark, in the default encoding.
#pragma once

#include "lexkit/private/DictionaryReader.h"

namespace lexkit_private {

class MultibyteReader final : public DictionaryReader {
public:
    explicit MultibyteReader(Source const& source);

    // Throws LXErrException when the conversion of the line fails.
    unsigned short const* ReadALine() override;

    // The bytes of the line that was read last.
    Buffer<unsigned char> const& GetLineBytes() const { return m_bytes; }

private:
    bool ReadAByte(unsigned char& byte);
    unsigned short const* convertedLine(unsigned char lineEnd);

    Buffer<unsigned char> m_bytes;
};

} // namespace lexkit_private
