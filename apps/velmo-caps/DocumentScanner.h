// Walks through the text of a configuration document: tags with their attributes, and values.
// Borrows the text. Throws DocumentError. One thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmo_caps_cli {

class DocumentScanner {
public:
    struct Tag {
        std::string name;
        std::vector<std::pair<std::string, std::string>> attributes;
        bool isEnd = false; // </name>
        bool isWhole = false; // <name/>

        // Empty when there is none.
        std::string attribute(std::string_view key) const;
    };

    explicit DocumentScanner(std::string_view text);

    // Whether values and attributes are escaped from here on. They are not, at first.
    void setEscaped(bool isEscaped) { m_isEscaped = isEscaped; }

    // Line of the next tag, from 1; steps over blanks, comments and the declaration.
    std::size_t lineOfNext();

    // The next tag, behind the same.
    Tag tag();

    // The text from here to "</Data>", and behind that.
    std::string value();

    // Nothing but blanks and comments may follow.
    void requireEnd();

private:
    void requireUtf8() const;
    [[noreturn]] void fail(const std::string& text) const;
    bool skip(std::string_view begin, std::string_view end);
    void skipBlanks();
    void skipNothings();
    bool take(std::string_view word);
    std::string word();
    std::pair<std::string, std::string> attribute();
    std::string unescaped(std::string_view text) const;
    std::string character(std::string_view reference) const;
    std::size_t rawEnd() const;

    std::string_view m_text;
    std::size_t m_at = 0;
    mutable std::size_t m_countedTo = 0; // lines are counted up to here
    mutable std::size_t m_line = 1;
    bool m_isEscaped = false;
};

} // namespace velmo_caps_cli
