// The calls of the thread library return their error instead of setting errno: checked here.
#pragma once

#include "platform/common/services/PtExSystem.h"

namespace Pt {

// Throws ExSystem with the caller's place unless error is 0.
inline void requireSuccess(int error, const ExWhere& where = ExWhere::here())
{
    if (error != 0)
        throw ExSystem(error, where);
}

} // namespace Pt
