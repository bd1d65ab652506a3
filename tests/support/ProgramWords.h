// Words and variables of a program in the form that exec takes them. What is returned points into
// what was given, which must live as long, and unchanged. Any thread.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace test {

using Variables = std::map<std::string, std::string>;

// With the null pointer at the end.
inline std::vector<char*> pointersTo(std::vector<std::string>& words)
{
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    return pointers;
}

// NAME=VALUE for each.
inline std::vector<std::string> assignments(const Variables& variables)
{
    std::vector<std::string> words;
    for (const auto& [name, value] : variables)
        words.push_back(name + '=' + value);
    return words;
}

} // namespace test
