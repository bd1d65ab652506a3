// Any bytes behind the head of a binary dictionary of version 1.0; the first one is the selector.

#include "fuzz/DictionaryChecks.h"
#include "lexkit/private/BinaryFormId.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2)
        return 0;
    std::string bytes = lexkit_private::zbfidstr;
    bytes += {'\1', '\0'};
    bytes.append(data, data + size);
    fuzz::checkBinary(bytes);
    return 0;
}
