#include "mfx/cli/RequestFromOptions.h"

#include "mfx/cli/Places.h"
#include "platform/common/services/ProgramEnvironment.h"

namespace mfx {

using namespace commandline;

namespace {

// Nothing: as remembered.
std::optional<bool> choice(bool isWanted, bool isUndone)
{
    return isWanted || isUndone ? std::optional(isWanted) : std::nullopt;
}

Choices choicesOf(const CommandLine& line)
{
    Choices choices;
    if (!line.backup.empty())
        choices.backupFolder = absolutePath(line.backup);
    choices.makesNoBackup = line.noBackup;
    choices.deletesOriginals = line.deleteOriginals;
    choices.opensBrowser = choice(line.open, line.noOpen);
    choices.convertsToDNG = choice(line.dng, line.noDNG);
    choices.dngPreview = previewSize(line.dngPreview);
    choices.dngUncompressed = line.dngUncompressed;
    choices.dngLinear = line.dngLinear;
    choices.dngEmbedRaw = line.dngEmbedRaw;
    return choices;
}

std::optional<std::string> storeOf(const CommandLine& line)
{
    if (line.preferences == "none")
        return std::nullopt;
    if (line.preferences.empty())
        return SessionPreferences::userStoreFolder();
    return SessionPreferences::storeFolderIn(absolutePath(line.preferences));
}

NamingRules rulesOf(const CommandLine& line)
{
    NamingRules rules;
    try {
        if (!line.rename.empty())
            rules.rename = NamePattern(line.rename);
        if (!line.subfolders.empty())
            rules.subfolders = SubfolderPattern(line.subfolders);
    } catch (const PatternError& error) {
        throw CommandError(ExitCode::kUsage, error.what());
    }
    return rules;
}

} // namespace

std::optional<int> previewSize(const std::string& word)
{
    if (word.empty())
        return std::nullopt;
    return word == "none" ? 0 : word == "medium" ? 1 : 2;
}

// Relative paths are resolved here, at the very beginning: the run soon enters the program's own
// folder, from where they would lead elsewhere.
RequestFromOptions::RequestFromOptions(const CommandLine& line)
    : m_line(line)
    , m_choices(choicesOf(line))
    , m_storeFolder(storeOf(line))
{
    m_request.rules = rulesOf(line);
    m_request.dryRun = line.dryRun;
    m_request.wasInterrupted = Pt::wasInterrupted;
    m_request.target = absolutePath(line.target);
    m_request.wantsDNG = m_choices.convertsToDNG.value_or(false);
    m_request.beginsAtFirst = line.seqStart.has_value();
}

void RequestFromOptions::setPlaces(
    const std::string& target, const std::optional<std::string>& backup)
{
    m_request.target = target;
    m_choices.backupFolder = backup;
}

void RequestFromOptions::addRemembered(const RememberedChoices& remembered)
{
    // A store that cannot be read may name a backup folder. Without it, an original would go that
    // was to have a second copy.
    m_mayDelete = remembered.isWhole;
    m_request.backupFolder = remembered.backupFolder;
    m_request.firstSequence = m_line.seqStart.value_or(remembered.firstSequence);
}

void RequestFromOptions::addPanel(const PanelChoices& panel)
{
    m_request.convertsToDNG = panel.convertsToDNG;
    m_request.opensBrowser = panel.opensBrowser;
    // Never by a remembered choice alone: --delete-originals has to stand on this very
    // command line.
    m_request.deletesOriginals = m_mayDelete && m_line.deleteOriginals && panel.deletesOriginals;
}

} // namespace mfx
