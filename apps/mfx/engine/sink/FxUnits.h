// Text fields of the host contract's records, from the engine's UTF-8.
#pragma once

#include "platform/common/text/PtUcs.h"
#include "platform/common/text/PtUnicode.h"

#include <cstddef>
#include <string_view>

namespace mfx {

// False when the text does not fit with its terminator; the field then holds its beginning. What
// is not UTF-8 is dropped: names come through displayName() first.
template <std::size_t N>
bool setField(unsigned short (&field)[N], std::string_view utf8)
{
    const Pt::WideText units = Pt::toUtf16(utf8);
    ptucsncpy(field, units.c_str(), N - 1);
    field[N - 1] = 0;
    return units.size() < N;
}

} // namespace mfx
