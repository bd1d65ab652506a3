#include "platform/common/SystemError.h"

#include <array>

#include <string.h>

namespace Pt {

std::string systemErrorText(int error)
{
    // Unlike strerror it shares nothing between threads.
    std::array<char, 256> buffer{};
    return ::strerror_r(error, buffer.data(), buffer.size());
}

} // namespace Pt
