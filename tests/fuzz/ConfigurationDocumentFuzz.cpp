// Any bytes as a configuration document: refused with a line that it has, or read; and what is read
// comes back from what is written.

#include "fuzz/Require.h"
#include "velmo-caps/ConfigurationDocument.h"

#include <algorithm>
#include <cstdint>

using namespace velmo_caps_cli;
using fuzz::require;

namespace {

bool isSame(const DocumentBlock& one, const DocumentBlock& other)
{
    const auto isSameValue = [](const DocumentValue& a, const DocumentValue& b) {
        return a.key == b.key && a.value == b.value;
    };
    return one.kind == other.kind && one.name == other.name && one.collection == other.collection
        && std::equal(one.values.begin(),
            one.values.end(),
            other.values.begin(),
            other.values.end(),
            isSameValue);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const ConfigurationDocument document = readDocument(text);
        const ConfigurationDocument again = readDocument(writeDocument(document));
        require(std::equal(document.begin(), document.end(), again.begin(), again.end(), isSame));
    } catch (const DocumentError& error) {
        const auto lines = std::count(text.begin(), text.end(), '\n') + 1;
        require(error.line() >= 1 && error.line() <= static_cast<std::size_t>(lines));
    }
    return 0;
}
