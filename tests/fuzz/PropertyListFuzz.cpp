// Any bytes as the host's configuration: the reader gives a text or nothing.

#include "platform/common/text/PropertyList.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto text = Pt::propertyListText(bytes, "AppPreferenceID");
    // Wrapped in a list that is well made, whatever was found before is found again.
    if (text && text->find_first_of("<&]\r") == std::string::npos && !text->empty()
        && text->find_first_not_of(" \t\n") != std::string::npos) {
        const std::string again =
            "<plist><dict><key>AppPreferenceID</key><string>" + *text + "</string></dict></plist>";
        if (Pt::propertyListText(again, "AppPreferenceID") != text)
            std::abort();
    }
    return 0;
}
