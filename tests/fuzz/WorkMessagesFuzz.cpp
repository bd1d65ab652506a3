// Any bytes from the other side of the conversion's talk: a message that is taken for one is
// exactly what would be sent for it.
#include "ZQPluginSupport/protocol/WorkMessages.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    if (const auto order = dng::parseOrder(bytes); order && dng::formatOrder(*order) != bytes)
        std::abort();
    if (const auto answer = dng::parseAnswer(bytes); answer && dng::formatAnswer(*answer) != bytes)
        std::abort();
    return 0;
}
