#include "tevoro/CommandLine.h"

#include <algorithm>
#include <filesystem>
#include <vector>

#include <CLI/CLI.hpp>

namespace tevoro {

namespace {

constexpr char kVersion[] = "tevoro " TEVORO_VERSION;

// Where the value behind that option of the bus goes; null for any other word.
std::string* placeForValue(const std::string& option, CommandLine& line)
{
    if (option == "-specifier")
        return &line.name;
    return option == "-instance" ? &line.instance : nullptr;
}

// The words behind the program's name, the last one first, as the parser wants them; without the
// bus's own options, which it would read as many short ones.
std::vector<std::string> takeBusOptions(int argc, char** argv, CommandLine& line)
{
    std::vector<std::string> words;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        std::string* const value = placeForValue(word, line);
        if (value != nullptr && i + 1 < argc)
            *value = argv[++i];
        else if (word != "-nostartupscreen") // there is none
            words.push_back(word);
    }
    std::ranges::reverse(words);
    return words;
}

} // namespace

std::optional<CommandLine> readCommandLine(int argc, char** argv, ExitCode& code)
{
    CommandLine line;
    std::vector<std::string> words = takeBusOptions(argc, argv, line);
    CLI::App app(
        "Shows the pictures of a folder, and runs scripts from the message bus.", kProgram);
    app.set_version_flag("-V,--version", kVersion);
    app.add_option("FOLDER", line.folder, "The folder to show, or a picture in it");
    app.add_flag("--headless", line.headless, "Run without a window; print a line for each script");
    app.add_option("--as", line.name, "The name to hold on the bus; tevoro-2.0 by default");
    app.footer("It also takes the bus's own options: -specifier NAME, -instance NUMBER,\n"
               "-nostartupscreen.\n"
               "Exit codes: 0 the window was closed; 1 the display went away; 2 wrong usage;\n"
               "4 standard output cannot be written; 5 the bus cannot be used, or there is no\n"
               "display; 130 ended by a signal.");
    try {
        app.parse(words);
    } catch (const CLI::ParseError& error) {
        // Help and version come as exceptions as well, with a code of 0.
        code = app.exit(error) == 0 ? ExitCode::kDone : ExitCode::kUsage;
        return std::nullopt;
    }
    if (!line.folder.empty())
        line.folder = std::filesystem::absolute(line.folder).lexically_normal();
    return line;
}

} // namespace tevoro
