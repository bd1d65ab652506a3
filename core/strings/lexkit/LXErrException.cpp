#include "lexkit/LXErrException.h"

LXErrException::LXErrException(std::int32_t code) noexcept
    : m_code(code)
{
}

// Here, so that the type's information has one home in the shared library.
LXErrException::~LXErrException() = default;

const char* LXErrException::what() const noexcept
{
    switch (m_code) {
    case kBufferTooSmall:
        return "lexkit: the buffer is too small";
    case kBadParameter:
        return "lexkit: bad parameter";
    default:
        return "lexkit: the conversion of a text failed";
    }
}
