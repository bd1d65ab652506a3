// Names the encoding of bytes that go into or come out of the library. A value to copy freely.
// Where a pointer to one is taken, null means the default encoding.
#pragma once

#include "lexkit/Export.h"

#include <cstdint>

namespace lexkit {

class EncodingInfo {
public:
    static constexpr std::uint32_t kSystem = 0; // the text encoding of the system's locale
    static constexpr std::uint32_t kUTF8 = 1;

    explicit constexpr EncodingInfo(std::uint32_t selector = kSystem)
        : m_selector(selector)
    {
    }

    constexpr std::uint32_t GetSelector() const { return m_selector; }

private:
    std::uint32_t m_selector;
};

// Sets the encoding that null stands for, also for text dictionaries without a byte-order mark.
// Null restores the system's encoding. The object is copied. Requires: no other thread uses the
// library meanwhile.
LEXKIT_EXPORT void SetDefaultEncoding(const EncodingInfo* encoding);

} // namespace lexkit
