#pragma once

#include "core/messaging/support/MessageText.h"
#include "support/TestFolder.h"

#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace test {

using Words = std::vector<std::string>;

inline std::string pageText()
{
    static const std::string text = read(TEVORO_SOURCE_DIR "/docs/wire-format.md");
    return text;
}

// What stands in the block behind the mark of that name.
inline std::string example(const std::string& name)
{
    const std::string mark = "<!-- example: " + name + " -->\n```\n";
    const std::size_t at = pageText().find(mark);
    if (at == std::string::npos)
        throw std::runtime_error("no example " + name);
    const std::size_t start = at + mark.size();
    return pageText().substr(start, pageText().find("```\n", start) - start);
}

// A message as an example holds it: as long as it says that it is.
inline std::string message(const std::string& name)
{
    const std::string block = example(name);
    const std::string length = lineOf(block, "Content-Length");
    const std::size_t size = std::stoul(length.substr(length.find(':') + 1));
    return block.substr(0, block.find("\n\n") + 2 + size);
}

inline Words linesOf(const std::string& text)
{
    Words lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

inline Words wordsOf(const std::string& text)
{
    Words words;
    std::istringstream stream(text);
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

// The number in the row of a table that begins with that text.
inline std::size_t limit(const std::string& row)
{
    const std::size_t at = pageText().find("| " + row + " | ");
    if (at == std::string::npos)
        throw std::runtime_error("no row " + row);
    std::string digits = pageText().substr(at + row.size() + 5, 20);
    std::erase(digits, ',');
    return std::stoul(digits);
}

inline std::string withLine(std::string text, const std::string& name, const std::string& line)
{
    const std::string old = lineOf(text, name);
    const std::size_t at = ("\n" + text).find("\n" + old + "\n");
    return old.empty() ? text : text.replace(at, old.size(), line);
}

} // namespace test
