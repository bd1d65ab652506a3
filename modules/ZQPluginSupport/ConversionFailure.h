// Why a conversion cannot be done, thrown from wherever it turns out to the place that answers for
// the whole conversion.
#pragma once

#include "ZQPluginSupport/ZQPluginSupport.h"

#include <exception>

namespace dng {

class ConversionFailure : public std::exception {
public:
    explicit ConversionFailure(ZQPluginResult reason)
        : m_reason(reason)
    {
    }

    ZQPluginResult reason() const { return m_reason; }
    const char* what() const noexcept override { return "the raw file cannot be converted"; }

private:
    ZQPluginResult m_reason;
};

} // namespace dng
