// Keeps exceptions inside the module: runs what an operation of the contract does and turns
// whatever it throws into a status.
#pragma once

#include "TevoroAppManager/contract/FxStatus.h"

template <typename Operation>
FxStatus fxGuard(Operation&& operation) noexcept
{
    try {
        return operation();
    } catch (...) {
        return kFxErrException;
    }
}
