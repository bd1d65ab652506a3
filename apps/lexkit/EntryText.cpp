#include "lexkit/EntryText.h"

#include "lexkit/private/unicode/Utf8.h"
#include "platform/common/text/NameText.h"

namespace lexkit_cli {

std::string_view keyBytes(const lexkit_private::DictionaryEntry& entry)
{
    return {reinterpret_cast<const char*>(entry.GetData()), entry.GetLength()};
}

std::string keyText(const lexkit_private::DictionaryEntry& entry)
{
    return Pt::displayName(keyBytes(entry));
}

std::string utf8Of(const unsigned short* units, unsigned long length)
{
    std::string text(lexkit_private::encodedUtf8Size(units, length), '\0');
    lexkit_private::encodeUtf8(
        units, length, reinterpret_cast<unsigned char*>(text.data()), text.size());
    return text;
}

std::string utf8Of(const lexkit_private::UnicodeRun& run)
{
    return utf8Of(run.GetUnits(), run.GetLength());
}

std::string oneLine(std::string_view text)
{
    // Each character has its letter at the same place in the second list.
    constexpr std::string_view kPlain = "\t\n\r\"\\";
    constexpr std::string_view kLetters = "tnr\"\\";
    std::string line;
    for (const char c : text) {
        const std::size_t at = kPlain.find(c);
        if (at != std::string_view::npos)
            line += '\\';
        line += at != std::string_view::npos ? kLetters[at] : c;
    }
    return line;
}

} // namespace lexkit_cli
