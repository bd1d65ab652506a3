#include "lexkit/private/unicode/ByteSwapUnicodeReader.h"

#include "lexkit/private/unicode/UnicodeChar.h"

namespace lexkit_private {

bool ByteSwapUnicodeReader::ReadACharacter(unsigned short& unit)
{
    if (!UnicodeReader::ReadACharacter(unit))
        return false;
    unit = UnicodeChar::ByteSwap(unit);
    return true;
}

} // namespace lexkit_private
