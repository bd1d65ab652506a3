// Reads a text dictionary in UTF-16 in the order that is not the host's.
#pragma once

#include "lexkit/private/unicode/UnicodeReader.h"

namespace lexkit_private {

class ByteSwapUnicodeReader final : public UnicodeReader {
public:
    using UnicodeReader::UnicodeReader;

    bool ReadACharacter(unsigned short& unit) override;
};

} // namespace lexkit_private
