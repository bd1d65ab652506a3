// Every text that mfx shows to a person, in the language of the user. A text is written where it is
// used, as a literal "$$$/Mfx/Area/Name=English text" that carries its own default; a dictionary
// may have another text for its key. Literals are whole sentences or phrases, because the order of
// words differs between languages: what varies is %1 to %9 in them.
//
// What programs read stays out of here: keys and words of JSON, options, exit codes. All texts are
// UTF-8. Any thread may call; openTexts() is called once, before there are others to read.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <vector>

namespace mfx {

// From here on texts come out of "<localesFolder>/<locale>/MFXStrings.dct"; all stand as they are
// written for "en_us", and where the file is missing, cannot be read or is damaged.
void openTexts(const std::string& localesFolder, const std::string& locale);

// The dictionary's text for the literal's key, else what stands behind the first "=", as it stands.
// An empty entry is none: nobody is helped by a message without words.
std::string text(const char* literal);

// The same with %1 to %9 replaced by the arguments, in one pass: an argument that holds "%2" stays
// as it is, and so does a number that has no argument.
std::string text(const char* literal, std::initializer_list<std::string> arguments);
std::string text(const char* literal, const std::vector<std::string>& arguments);

// The literal for one or the one for several, with the count as %1 and the arguments behind it.
std::string countedText(std::size_t count,
    const char* one,
    const char* several,
    std::initializer_list<std::string> arguments = {});

} // namespace mfx
