#include "commandline/JsonLine.h"
#include "mfx/cli/Commands.h"
#include "mfx/cli/Reporting.h"
#include "mfx/cli/SourceArgument.h"
#include "mfx/engine/card/TwinCheck.h"
#include "mfx/engine/dates/CaptureDate.h"
#include "mfx/engine/saving/SpaceCheck.h"
#include "mfx/texts/Texts.h"
#include "platform/common/services/ProgramEnvironment.h"

namespace mfx {

using namespace commandline;

namespace {

// Relative to the source, as the person named it.
std::string below(const std::string& folder, const std::string& name)
{
    return folder.empty() ? name : folder + '/' + name;
}

// A date that only the file has is worth less: a copy or a repair of the card may have set it.
std::string dateText(const CaptureDate& date)
{
    if (!date.moment)
        return text("$$$/Mfx/List/Undated=undated");
    const std::string when = isoText(*date.moment);
    return date.source == DateSource::kFileTime
        ? text("$$$/Mfx/List/DateOfFile=%1 (file time)", {when})
        : when;
}

Json itemRecord(
    const CardContents& card, const MediaItem& file, std::size_t group, const CaptureDate& date)
{
    return {{"name", Pt::displayName(file.name)},
        {"path", Pt::displayName(card.pathOf(file))},
        {"bytes", file.status.size},
        {"date", date.moment ? Json(isoText(*date.moment)) : Json(nullptr)},
        {"date_source", std::string(dateSourceText(date.source))},
        {"group", group}};
}

void printItem(const CardContents& card,
    std::uint32_t item,
    std::size_t group,
    const CaptureDate& date,
    bool json)
{
    const MediaItem& file = card.items[item];
    if (json)
        printJson(itemRecord(card, file, group, date));
    else
        printLine(Pt::terminalText(below(card.folders[file.folder], file.name)) + "\t"
            + sizeText(file.status.size) + "\t" + dateText(date));
}

// To standard error also with --json: the list has one object for each item and nothing else.
ExitCode reportRest(const CardContents& card)
{
    for (const NotHandled& entry : card.notHandled)
        printMessage(text("$$$/Mfx/List/NotHandled=not handled: %1 (%2)",
            {Pt::displayName(card.folderPath(entry.folder) + '/' + entry.name),
                reasonText(entry.reason)}));
    for (const ScanProblem& problem : card.problems)
        printMessage(text("$$$/Mfx/List/CannotRead=%1 cannot be read: %2",
            {Pt::displayName(problem.path), problem.error.message()}));
    return card.problems.empty() ? ExitCode::kDone : ExitCode::kPartly;
}

} // namespace

// Items are printed as they are dated, group by group: the dates of a large card take minutes, and
// a reader that wants the first page should not wait for the last.
ExitCode runList(const CommandLine& line)
{
    const CardContents card = scanSource(sourceArgument(line.source));
    const std::vector<ItemGroup> groups = TwinCheck(card, Pt::wasInterrupted).groups();
    for (std::size_t group = 0; group < groups.size(); ++group) {
        if (Pt::wasInterrupted())
            return ExitCode::kInterrupted;
        const CaptureDate date = groupCaptureDate(card, groups[group]);
        for (const std::uint32_t item : groups[group].members)
            printItem(card, item, group + 1, date, line.json);
    }
    return reportRest(card);
}

} // namespace mfx
