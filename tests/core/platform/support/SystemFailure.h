#pragma once

#include "platform/common/services/PtExSystem.h"

#include <functional>

namespace test {

// The system's error that an action failed with; 0 when it did not.
inline int failureOf(const std::function<void()>& action)
{
    try {
        action();
    } catch (const Pt::ExSystem& failure) {
        return failure.errorCode();
    }
    return 0;
}

} // namespace test
