// Room for texts that are made of many pieces. A text grows by a fixed step, so that a long one
// would be copied again and again.
#pragma once

#include "messaging/SoString.h"

namespace ScObjects {

// Room for that many bytes more and, if there is none, for as many again as are there.
inline void growFor(SoString& text, long more)
{
    if (text.length() + more >= text.capacity())
        text.reserve(2 * text.length() + more);
}

} // namespace ScObjects
