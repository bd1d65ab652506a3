#pragma once

#include "mfx/texts/Texts.h"
#include "support/TestFolder.h"
#include "support/Utf16File.h"

#include <string>
#include <string_view>

namespace mfx {

// A folder of locales for one test, in which it speaks a language of its own. The English texts
// stand again at the end.
class DictionaryFixture : public testing::Test {
protected:
    ~DictionaryFixture() override { openTexts(m_folder.path(), "en_us"); }

    // The language with these lines of a text dictionary.
    void speak(std::u16string_view lines) { speakBytes(test::utf16File(lines)); }

    void speakBytes(const std::string& bytes)
    {
        m_folder.write("xx_xx/MFXStrings.dct", bytes);
        openTexts(m_folder.path(), "xx_xx");
    }

    test::TestFolder m_folder;
};

} // namespace mfx
