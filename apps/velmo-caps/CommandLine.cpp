#include "velmo-caps/CommandLine.h"

#include <CLI/CLI.hpp>

namespace velmo_caps_cli {

namespace {

constexpr char kVersion[] = "velmo-caps " TEVORO_VERSION;

CLI::App* add(CLI::App& app, CommandLine& line, Command command, const char* name, const char* help)
{
    CLI::App* const sub = app.add_subcommand(name, help);
    CLI::Option* const store =
        sub->add_option("-f,--store", line.store, "Use this file instead of both stores")
            ->type_name("FILE");
    sub->callback([&line, command, store] {
        // A script whose variable is not set does not mean the user's store.
        if (store->count() > 0 && line.store.empty())
            throw CLI::ValidationError("--store", "the name of the file is empty");
        line.command = command;
    });
    sub->add_flag(
           "-m,--machine", line.machine, "Use the machine's store alone; only root may change it")
        ->excludes(store);
    return sub;
}

void addJson(CLI::App& sub, CommandLine& line)
{
    sub.add_flag("-j,--json", line.json, "One JSON object per line");
}

void addName(CLI::App& sub, CommandLine& line, const char* word, const char* help)
{
    sub.add_option(word, line.name, help)->required();
}

void addApplications(CLI::App& app, CommandLine& line)
{
    addJson(*add(app, line, Command::kList, "list", "List the registered applications"), line);
    CLI::App* const addition =
        add(app, line, Command::kAdd, "add", "Register an application, or change its entry");
    addName(*addition, line, "SPECIFIER", "Its name on the bus, such as tevoro-2.0");
    addition->add_option("-p,--path", line.path, "Its program, or an https:// address")
        ->type_name("PATH");
    addition->add_option("-s,--set", line.settings, "Another key of the entry; may be repeated")
        ->type_name("KEY=VALUE")
        ->allow_extra_args(false);
    addName(*add(app, line, Command::kRemove, "remove", "Remove an application, or a payload"),
        line,
        "SPECIFIER",
        "Its name on the bus, or the id of a payload in braces");
}

void addGroups(CLI::App& app, CommandLine& line)
{
    constexpr char kEntry[] = "GROUP/VERSION/SPECIFIER";
    constexpr char kHelp[] = "Such as nx/3/tevoro-2.0";
    addJson(
        *add(app, line, Command::kGroups, "groups", "List the applications of each group"), line);
    addName(*add(app, line, Command::kGroupAdd, "group-add", "Add an application to a group"),
        line,
        kEntry,
        kHelp);
    addName(
        *add(
            app, line, Command::kGroupRemove, "group-remove", "Remove an application from a group"),
        line,
        kEntry,
        kHelp);
}

void addDocuments(CLI::App& app, CommandLine& line)
{
    addName(*add(app, line, Command::kImport, "import", "Register what a document describes"),
        line,
        "FILE",
        "A document, as export writes it; - reads standard input");
    addName(*add(app,
                line,
                Command::kExport,
                "export",
                "Print an application, or the groups, as a document"),
        line,
        "SPECIFIER",
        "An application, or the word groups");
}

} // namespace

std::optional<CommandLine> readCommandLine(int argc, char** argv, ExitCode& code)
{
    CommandLine line;
    CLI::App app("Shows and changes the store of installed applications.", kProgram);
    app.set_version_flag("-V,--version", kVersion);
    app.require_subcommand(1);
    app.footer("Exit codes: 0 done; 2 wrong usage; 3 what was asked for does not exist;\n"
               "4 a store or a file cannot be read or written, or a document is bad;\n"
               "5 something else is missing or broken; 130 interrupted.");
    addApplications(app, line);
    addGroups(app, line);
    addDocuments(app, line);
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

} // namespace velmo_caps_cli
