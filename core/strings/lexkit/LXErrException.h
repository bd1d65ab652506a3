// The one exception of the string library: a 32-bit code, by convention four characters. Other
// codes are the status of a conversion procedure that failed.
#pragma once

#include "lexkit/Export.h"

#include <cstdint>
#include <exception>

class LEXKIT_EXPORT LXErrException : public std::exception {
public:
    static constexpr std::int32_t kBufferTooSmall = 0x42554646; // "BUFF"
    static constexpr std::int32_t kBadParameter = 0x5041524D; // "PARM"

    explicit LXErrException(std::int32_t code) noexcept;
    LXErrException(const LXErrException&) noexcept = default;
    LXErrException& operator=(const LXErrException&) noexcept = default;
    ~LXErrException() override;

    std::int32_t code() const noexcept { return m_code; }
    const char* what() const noexcept override;

private:
    std::int32_t m_code;
};
