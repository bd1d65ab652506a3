// Texts, files and values of dictionaries, as tests speak of them.
#pragma once

#include "lexkit/Dictionary.h"
#include "lexkit/EncodingInfo.h"
#include "lexkit/ZString.h"
#include "support/Utf16File.h"

#include <bit>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace lexkit_test {

inline constexpr lexkit::EncodingInfo kUTF8(lexkit::EncodingInfo::kUTF8);

using Units = std::vector<unsigned short>;

inline Units units(std::u16string_view text)
{
    return {text.begin(), text.end()};
}

inline Units terminated(std::u16string_view text)
{
    Units result = units(text);
    result.push_back(0);
    return result;
}

inline std::u16string textOf(const unsigned short* units, unsigned long length)
{
    return {units, units + length};
}

inline std::u16string textOf(const lexkit::ZString& string)
{
    const unsigned short* units = nullptr;
    unsigned long length = 0;
    string.GetInternalData(&units, &length);
    return textOf(units, length);
}

inline lexkit::ZString zstring(std::u16string_view text)
{
    const Units source = units(text);
    return {source.data(), source.size()};
}

// A file in UTF-16 with a mark, in host order or in the other one.
inline std::string utf16File(std::u16string_view text, bool isSwapped = false)
{
    return test::utf16File(text, isSwapped == (std::endian::native == std::endian::little));
}

inline void readStream(lexkit::Dictionary& dictionary, const std::string& file)
{
    std::istringstream stream(file);
    dictionary.Read(&stream);
}

inline void readBlock(lexkit::Dictionary& dictionary, const std::string& file)
{
    dictionary.Read(file.data(), static_cast<int>(file.size()), false);
}

inline void readLines(lexkit::Dictionary& dictionary, std::u16string_view lines)
{
    readBlock(dictionary, utf16File(lines));
}

inline constexpr char16_t kMissing[] = u"(missing)";

// The value of a key without "$$$".
inline std::u16string valueOf(lexkit::Dictionary& dictionary, const std::string& key)
{
    return textOf(dictionary.Lookup(("$$$" + key + "=(missing)").c_str(), nullptr));
}

inline std::vector<std::string> keysOf(lexkit::Dictionary& dictionary)
{
    std::vector<std::string> keys;
    std::vector<char> buffer(1 << 16);
    while (dictionary.HasMoreKey()) {
        dictionary.NextKey(buffer.data(), buffer.size(), true);
        keys.emplace_back(buffer.data());
    }
    return keys;
}

} // namespace lexkit_test
