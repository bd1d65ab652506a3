// Reads a text dictionary in UTF-16 in host order.
#pragma once

#include "lexkit/private/DictionaryReader.h"

namespace lexkit_private {

class UnicodeReader : public DictionaryReader {
public:
    using DictionaryReader::DictionaryReader;

    const unsigned short* ReadALine() override;

    // False at the end of the source and for a NUL.
    virtual bool ReadACharacter(unsigned short& unit);
};

} // namespace lexkit_private
