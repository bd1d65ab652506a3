#include "commandline/JsonLine.h"
#include "tevorotalk/BusSession.h"
#include "tevorotalk/Commands.h"
#include "tevorotalk/InfoLines.h"
#include "tevorotalk/MessagePrinter.h"

namespace tevorotalk {

using ScObjects::SoString;

namespace {

// An application may ask others meanwhile.
constexpr long kDefaultLimit = 30; // seconds

void printJsonLines(const SoString& lines)
{
    forEachInfoLine(lines.view(), [](const InfoLine& line) {
        commandline::printJson({{"path", jsonText(line.path)},
            {"label", jsonText(line.label)},
            {"value", jsonText(line.value)},
            {"children", line.hasChildren}});
    });
}

void printReport(std::string_view report)
{
    while (!report.empty()) {
        const std::size_t length = std::min(report.find('\n'), report.size());
        std::string line;
        // Its indents are tabs.
        const std::size_t indent = std::min(report.find_first_not_of('\t'), length);
        // Only the text behind them is made safe for the terminal, which would show a tab as an
        // escape.
        line.append(report.substr(0, indent));
        line += Pt::terminalText(report.substr(indent, length - indent));
        commandline::printLine(line);
        report.remove_prefix(std::min(length + 1, report.size()));
    }
}

} // namespace

ExitCode runInfo(const CommandLine& line)
{
    const BusSession session(ownName());
    const auto limit = static_cast<std::int32_t>(line.timeout.value_or(kDefaultLimit));
    const SoString answer =
        session.ask(line.target, line.json ? "INFO" : "DIAGNOSTICS", limit, "all");
    const ExitCode code = exitCodeForAnswer(answer);
    if (code != ExitCode::kDone) {
        const std::string why = whyStuck(line.target);
        throw CommandError(code,
            "'" + line.target + "' does not tell about itself: " + std::string(answer.view())
                + (why.empty() ? "" : "; " + why));
    }
    if (line.json)
        printJsonLines(answer);
    else
        printReport(answer.view());
    return code;
}

} // namespace tevorotalk
