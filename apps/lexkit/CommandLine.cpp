#include "lexkit/CommandLine.h"

#include <CLI/CLI.hpp>

namespace lexkit_cli {

namespace {

constexpr char kVersion[] = "lexkit " TEVORO_VERSION;

CLI::App* add(CLI::App& app, CommandLine& line, Command command, const char* name, const char* help)
{
    CLI::App* const sub = app.add_subcommand(name, help);
    sub->callback([&line, command] { line.command = command; });
    sub->add_option_function<std::string>(
           "-e,--encoding",
           [&line](const std::string& value) { line.utf8Input = value == "utf-8"; },
           "Encoding of text files without a byte-order mark; the system's by default")
        ->check(CLI::IsMember({"system", "utf-8"}));
    return sub;
}

void addJson(CLI::App& sub, CommandLine& line)
{
    sub.add_flag("-j,--json", line.json, "One JSON object per line");
}

void addFile(CLI::App& sub, CommandLine& line)
{
    sub.add_option("FILE", line.file, "A dictionary, in text or binary form")->required();
}

void addConversion(CLI::App& sub, CommandLine& line)
{
    sub.add_option("IN", line.file, "A dictionary, in text or binary form")->required();
    sub.add_option("OUT", line.output, "The file to write; an existing one is replaced")
        ->required();
}

} // namespace

std::optional<CommandLine> readCommandLine(int argc, char** argv, ExitCode& code)
{
    CommandLine line;
    CLI::App app("Checks, lists and converts string dictionaries.", kProgram);
    app.set_version_flag("-V,--version", kVersion);
    app.require_subcommand(1);
    app.footer("Exit codes: 0 done; 1 partly done: a bad line, a damaged file, or an entry that\n"
               "the form cannot represent; 2 wrong usage; 3 no such file;\n"
               "4 a file cannot be read or written.");
    CLI::App* const check = add(app, line, Command::kCheck, "check", "Report bad lines");
    check->add_option("FILE", line.files, "Dictionaries, in text or binary form")->required();
    addJson(*check, line);
    CLI::App* const list =
        add(app, line, Command::kList, "list", "List keys and values in the order of the table");
    addFile(*list, line);
    addJson(*list, line);
    CLI::App* const get =
        add(app, line, Command::kGet, "get", "Print the result of a look-up of each literal");
    addFile(*get, line);
    get->add_option("LITERAL", line.literals, "A literal such as $$$/Some/Key=Default")->required();
    addJson(*get, line);
    CLI::App* const compile =
        add(app, line, Command::kCompile, "compile", "Write the binary form, for all machines");
    addConversion(*compile, line);
    compile->add_flag("-u,--utf8", line.utf8Output, "Write values in UTF-8 instead of UTF-16");
    addConversion(*add(app, line, Command::kText, "text", "Write the text form"), line);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        // Help and version come as exceptions as well, with a code of 0. The codes of errors are
        // the parser's own, and not ours.
        code = app.exit(error) == 0 ? ExitCode::kDone : ExitCode::kUsage;
        return std::nullopt;
    }
    return line;
}

} // namespace lexkit_cli
