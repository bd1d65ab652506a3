#pragma once

#include "mfx/texts/Texts.h"
#include "support/TestFolder.h"

#include <string>
#include <string_view>

namespace mfx {

// A folder of locales for one test, in which it speaks a language of its own. The English texts
// stand again at the end.
class DictionaryFixture : public testing::Test {
protected:
    ~DictionaryFixture() override { openTexts(m_folder.path(), "en_us"); }

    // The language with these lines of a text dictionary.
    void speak(std::u16string_view lines) { speakBytes(inFile(lines)); }

    void speakBytes(const std::string& bytes)
    {
        m_folder.write("xx_xx/MFXStrings.dct", bytes);
        openTexts(m_folder.path(), "xx_xx");
    }

    // UTF-16, low byte first, with its mark.
    static std::string inFile(std::u16string_view lines)
    {
        std::string bytes = "\xFF\xFE";
        for (const char16_t unit : lines) {
            bytes += static_cast<char>(unit & 0xFFU);
            bytes += static_cast<char>(unit >> 8U);
        }
        return bytes;
    }

    test::TestFolder m_folder;
};

} // namespace mfx
