// Any bytes as a preference file: read, and when they are one, the same values must come back
// from what is written, and writing must have settled after the first time.

#include "fuzz/Require.h"
#include "preference_xml_parser/PreferenceDocument.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>

using fuzz::require;
using preferences::PreferenceDocument;
using preferences::PreferenceValue;

namespace {

bool sameValue(
    const PreferenceDocument& one, const PreferenceDocument& other, const std::u16string& key)
{
    const PreferenceValue* const first = one.find(key);
    const PreferenceValue* const second = other.find(key);
    return first == nullptr ? second == nullptr : second != nullptr && *first == *second;
}

// The input's own units as a key and as both kinds of value.
void checkAnyValue(PreferenceDocument& document, std::string_view bytes)
{
    std::u16string text;
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
        const unsigned int low = static_cast<unsigned char>(bytes[at]);
        const unsigned int high = static_cast<unsigned char>(bytes[at + 1]);
        text.push_back(static_cast<char16_t>(low | (high << 8U)));
    }
    const std::u16string bytesKey = text + u"#";
    document.set(text, text);
    document.set(bytesKey, std::string(bytes));
    PreferenceDocument again;
    require(again.read(document.written()) == PreferenceDocument::ReadResult::kWhole);
    require(sameValue(document, again, text) && sameValue(document, again, bytesKey));
    require(std::get<std::u16string>(*again.find(text)) == text);
    require(std::get<std::string>(*again.find(bytesKey)) == bytes);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    PreferenceDocument document;
    if (document.read(bytes) == PreferenceDocument::ReadResult::kWhole) {
        const std::string written = document.written();
        PreferenceDocument again;
        require(again.read(written) == PreferenceDocument::ReadResult::kWhole);
        require(again.written() == written);
        for (const auto* const key : {u"", u"a", u"Location", u"Raw", u"a\tb"})
            require(sameValue(document, again, key));
    }
    checkAnyValue(document, bytes);
    return 0;
}
