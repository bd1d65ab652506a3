#include "platform/common/services/SystemError.h"

#include <array>
#include <cerrno>

#include <string.h>

namespace Pt {

std::string systemErrorText(int error)
{
    // Unlike strerror it shares nothing between threads.
    std::array<char, 256> buffer{};
    // The form that returns a text, which may lie in the buffer or in the library.
    return ::strerror_r(error, buffer.data(), buffer.size());
}

std::error_code lastSystemError()
{
    return {errno, std::system_category()};
}

} // namespace Pt
