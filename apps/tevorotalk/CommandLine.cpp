#include "tevorotalk/CommandLine.h"

#include <cstdint>

#include <CLI/CLI.hpp>

namespace tevorotalk {

namespace {

constexpr char kVersion[] = "tevorotalk " TEVORO_VERSION;
constexpr long kMaxWait = 100'000'000; // seconds; three years

CLI::App* add(CLI::App& app, CommandLine& line, Command command, const char* name, const char* help)
{
    CLI::App* const sub = app.add_subcommand(name, help);
    sub->callback([&line, command] { line.command = command; });
    return sub;
}

void addTarget(CLI::App& sub, CommandLine& line)
{
    sub.add_option("TARGET", line.target, "An application's name on the bus, such as tevoro")
        ->required();
}

void addJson(CLI::App& sub, CommandLine& line)
{
    sub.add_flag("-j,--json", line.json, "One JSON object per line");
}

void addSeconds(CLI::App& sub, CommandLine& line)
{
    sub.add_option("-s,--seconds", line.seconds, "End after that many seconds")
        ->check(CLI::Range(0L, kMaxWait))
        ->type_name("S");
}

void addTimeout(CLI::App& sub, CommandLine& line, long least, const char* help)
{
    sub.add_option("-t,--timeout", line.timeout, help)
        ->check(CLI::Range(least, kMaxWait))
        ->type_name("SECONDS");
}

void addPing(CLI::App& app, CommandLine& line)
{
    CLI::App* const ping = add(app,
        line,
        Command::kPing,
        "ping",
        "Ask an application's bus thread for a key, such as STATUS, INFO or DIAGNOSTICS");
    addTarget(*ping, line);
    ping->add_option(
        "COMMAND", line.pingCommand, "The key; without one, only checks for an answer");
    addTimeout(*ping, line, 0, "How long to wait for the answer; 2 by default");
    ping->add_option("-b,--body", line.text, "Text to send with the question")->type_name("TEXT");
    ping->footer("Exit codes: 0 answered; 1 no answer in time, or an unknown key; 2 wrong usage;\n"
                 "3 the target is not running or not installed; 4 standard output cannot be\n"
                 "written; 5 the bus cannot be used; 130 interrupted.");
}

void addSend(CLI::App& app, CommandLine& line)
{
    CLI::App* const send = add(app, line, Command::kSend, "send", "Send a message");
    addTarget(*send, line);
    send->add_option("TEXT", line.text, "The body; - reads it from standard input");
    send->add_option("-a,--as", line.sender, "Hold this name, and send from it")
        ->type_name("SPECIFIER");
    send->add_option("-T,--type", line.types, "Type of the message; Quillscriber by default")
        ->type_name("TYPE")
        ->expected(1)
        ->allow_extra_args(false);
    send->add_option("-r,--request",
            line.request,
            "Answers to request: Received, Result, Error, Processed, Timeout")
        ->type_name("WORDS");
    send->add_option("-H,--header", line.headers, "A header; may be repeated")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false);
    send->add_option("-w,--wait", line.wait, "Request the result, and wait that long for it")
        ->check(CLI::Range(0L, kMaxWait))
        ->type_name("SECONDS");
    send->add_flag("-l,--launch", line.launch, "Start the application if it is not running");
    addJson(*send, line);
    send->footer("Exit codes: 0 delivered or answered; 1 an error answer, or none in time;\n"
                 "2 wrong usage; 3 the target is not running; 4 standard input cannot be read, or\n"
                 "standard output cannot be written; 5 the bus cannot be used; 130 interrupted.");
}

void addListen(CLI::App& app, CommandLine& line)
{
    CLI::App* const listen = add(
        app, line, Command::kListen, "listen", "Hold a name and print the messages that come in");
    listen->add_option("SPECIFIER", line.target, "The name to hold, such as echo-1.0")->required();
    listen->add_option("-r,--reply", line.reply, "Result, or text of the error, to answer with")
        ->type_name("TEXT");
    listen->add_option("-e,--error", line.error, "Fail every message with this code")
        ->check(CLI::Range(long{INT32_MIN}, long{UINT32_MAX}))
        ->type_name("CODE");
    listen->add_option("-n,--count", line.count, "End after that many messages")
        ->check(CLI::Range(1L, kMaxWait))
        ->type_name("N");
    addSeconds(*listen, line);
    listen
        ->add_option("-T,--type",
            line.types,
            "Take messages of this type only, Quillscriber by default; may be repeated")
        ->type_name("TYPE")
        ->allow_extra_args(false);
    addJson(*listen, line);
    listen->footer("Exit codes: 0 done; 1 fewer messages came than asked for; 2 wrong usage;\n"
                   "4 standard output cannot be written; 5 the bus cannot be used, or the name\n"
                   "cannot be held; 130 interrupted.");
}

void addMonitor(CLI::App& app, CommandLine& line)
{
    CLI::App* const monitor = add(app,
        line,
        Command::kMonitor,
        "monitor",
        "Show the traffic of an application; one monitor per target and kind, the last one wins");
    addTarget(*monitor, line);
    monitor->add_flag("-m,--messages", line.messages, "Show its messages; the default");
    monitor->add_flag("-l,--logs", line.logs, "Show its log");
    addSeconds(*monitor, line);
    addJson(*monitor, line);
}

} // namespace

std::optional<CommandLine> readCommandLine(int argc, char** argv, ExitCode& code)
{
    CommandLine line;
    CLI::App app(
        "Inspects the message bus of this user, and exchanges messages on it.", "tevorotalk");
    app.set_version_flag("-V,--version", kVersion);
    app.require_subcommand(1);
    // Commands take it over, unless they have one of their own.
    app.footer("Exit codes: 0 done; 1 no answer in time, an error answer, or the target ended;\n"
               "2 wrong usage; 3 the target is not running; 4 a store or standard input cannot be\n"
               "read, or standard output cannot be written; 5 the bus cannot be used;\n"
               "130 interrupted.");
    addJson(*add(app, line, Command::kApps, "apps", "List the registered applications"), line);
    addJson(*add(app,
                line,
                Command::kPorts,
                "ports",
                "List the names in use and the processes that hold them"),
        line);
    addPing(app, line);
    addSend(app, line);
    addListen(app, line);
    addMonitor(app, line);
    CLI::App* const info =
        add(app, line, Command::kInfo, "info", "Print an application's diagnostics tree");
    addTarget(*info, line);
    addTimeout(*info, line, 1, "How long to wait for it; 30 by default");
    addJson(*info, line);
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

} // namespace tevorotalk
