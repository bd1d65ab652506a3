// What a program's help, its manual page and its completion offer, for tests that hold them against
// each other.
#pragma once

#include "core/platform/support/PeerProcess.h"
#include "support/TestFolder.h"

#include <algorithm>
#include <filesystem>
#include <regex>
#include <set>
#include <string>

namespace test {

using Words = std::set<std::string>;

inline Words longOptionsIn(const std::string& text)
{
    const std::regex option("--[a-z][a-z0-9]*(-[a-z0-9]+)*");
    Words found;
    for (std::sregex_iterator at(text.begin(), text.end(), option), end; at != end; ++at)
        found.insert(at->str());
    return found;
}

// Those that a help shows at the beginning of a line.
inline Words optionsInHelp(const std::string& help)
{
    const std::regex row("\n  (-[^ ]+)");
    Words found;
    for (std::sregex_iterator at(help.begin(), help.end(), row), end; at != end; ++at)
        found.merge(longOptionsIn((*at)[1].str()));
    return found;
}

// Of a manual page.
inline Words optionsInPage(const std::string& file)
{
    std::string page = read(file);
    page.erase(std::remove(page.begin(), page.end(), '\\'), page.end());
    return longOptionsIn(page);
}

// What the completion offers for the word at that place, one a line. `program` is a path, whose
// name the completion has, too.
inline std::string completion(const std::string& program, const std::string& words, int place)
{
    const std::filesystem::path path(program);
    const std::string name = path.filename().string();
    std::string function = '_' + name;
    std::ranges::replace(function, '-', '_');
    PeerProcess shell({"/bin/bash",
        "-c",
        "PATH=\"" + path.parent_path().string()
            + ":$PATH\"; source \"" TEVORO_SOURCE_DIR "/share/bash-completion/completions/" + name
            + "\"; COMP_WORDS=(" + words + "); COMP_CWORD=" + std::to_string(place) + "; "
            + function + "; printf '%s\\n' \"${COMPREPLY[@]}\""});
    const std::string text = shell.rest();
    EXPECT_EQ(shell.finish(), 0);
    return text;
}

} // namespace test
