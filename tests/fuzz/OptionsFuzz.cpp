// Any bytes as options: the words hold no delimiter, and together they are the text without its
// delimiters.

#include "messaging/TevoroTalkUtils.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

using ScObjects::SoString;
using ScObjects::SoVector;

namespace {

bool isDelimiter(char c)
{
    return c == ' ' || c == '=' || c == ';' || c == '"' || c == '\'' || c == ':';
}

// With one blank behind each word.
std::string wordsOf(std::string_view text)
{
    std::string words;
    for (const char c : text)
        if (!isDelimiter(c))
            words += c;
        else if (!words.empty() && words.back() != ' ')
            words += ' ';
    if (!words.empty() && words.back() != ' ')
        words += ' ';
    return words;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const SoString text(std::string_view(reinterpret_cast<const char*>(data), size));
    SoVector<SoString> words;
    if (ScObjects::TevoroTalkUtils::parseOptions(text, words) != words.length())
        std::abort();
    std::string found;
    while (SoString* const word = words.removeAt(0)) {
        found.append(word->view()).append(1, ' ');
        delete word;
    }
    if (found != wordsOf(text.view()))
        std::abort();
    return 0;
}
