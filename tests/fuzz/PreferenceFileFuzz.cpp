// Any bytes as a preference file: read, and when they are one, the same values must come back
// from what is written, and writing must have settled after the first time.

#include "preference_xml_parser/PreferenceDocument.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>
#include <string_view>

using preferences::PreferenceDocument;
using preferences::PreferenceValue;

namespace {

void require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

bool sameValue(
    PreferenceDocument const& one, PreferenceDocument const& other, std::u16string const& key)
{
    PreferenceValue const* const first = one.find(key);
    PreferenceValue const* const second = other.find(key);
    return first == nullptr ? second == nullptr : second != nullptr && *first == *second;
}

// The input's own units as a key and as both kinds of value.
void checkAnyValue(PreferenceDocument& document, std::string_view bytes)
{
    std::u16string text;
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
        unsigned int const low = static_cast<unsigned char>(bytes[at]);
        unsigned int const high = static_cast<unsigned char>(bytes[at + 1]);
        text.push_back(static_cast<char16_t>(low | (high << 8U)));
    }
    std::u16string const bytesKey = text + u"#";
    document.set(text, text);
    document.set(bytesKey, std::string(bytes));
    PreferenceDocument again;
    require(again.read(document.written()) == PreferenceDocument::ReadResult::Whole);
    require(sameValue(document, again, text) && sameValue(document, again, bytesKey));
    require(std::get<std::u16string>(*again.find(text)) == text);
    require(std::get<std::string>(*again.find(bytesKey)) == bytes);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string_view const bytes(reinterpret_cast<char const*>(data), size);
    PreferenceDocument document;
    if (document.read(bytes) == PreferenceDocument::ReadResult::Whole) {
        std::string const written = document.written();
        PreferenceDocument again;
        require(again.read(written) == PreferenceDocument::ReadResult::Whole);
        require(again.written() == written);
        for (auto const* const key : {u"", u"a", u"Location", u"Raw", u"a\tb"}) {
            require(sameValue(document, again, key));
        }
    }
    checkAnyValue(document, bytes);
    return 0;
}
