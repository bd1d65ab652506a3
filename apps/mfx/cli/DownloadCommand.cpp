#include "mfx/cli/Commands.h"
#include "mfx/cli/JsonEvents.h"
#include "mfx/cli/Places.h"
#include "mfx/cli/SourceArgument.h"
#include "mfx/cli/TextEvents.h"
#include "mfx/engine/run/Download.h"
#include "mfx/engine/run/SpacePlan.h"
#include "mfx/engine/sink/SessionPreferences.h"
#include "mfx/panel/OptionsPanel.h"
#include "mfx/texts/Texts.h"
#include "platform/common/files/FileCopy.h"
#include "platform/common/services/ModuleLoader.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "platform/common/text/NameText.h"

#include <QApplication>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

namespace mfx {

using namespace commandline;

namespace {

constexpr char kPlugins[] = "../plugins/";
constexpr char kPlugin[] = "TevoroAppManager";
constexpr char kPreferenceLibrary[] = "../Frameworks/preference_xml_parser.framework";

// A missing runtime folder is of no interest to somebody who saves photos.
void passOnMessage(QtMsgType, const QMessageLogContext&, const QString& text)
{
    if (!text.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR")))
        std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData());
}

std::optional<int> previewSize(const std::string& word)
{
    if (word.empty())
        return std::nullopt;
    return word == "none" ? 0 : word == "medium" ? 1 : 2;
}

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

std::unique_ptr<DownloadEvents, void (*)(DownloadEvents*)> makeEvents(const CommandLine& line)
{
    // --yes answers only what was asked for on this command line, never a remembered choice.
    const auto answering = line.yes && line.deleteOriginals ? Answering::kYes : Answering::kAsk;
    if (line.json)
        return {new JsonEvents(answering),
            [](DownloadEvents* events) { delete static_cast<JsonEvents*>(events); }};
    return {new TextEvents(line.quiet, line.dryRun, answering),
        [](DownloadEvents* events) { delete static_cast<TextEvents*>(events); }};
}

// A folder of backups that was remembered may lie on a disk that is not there today: making it
// anew elsewhere would be no backup.
void requireRememberedBackup(const CommandLine& line, const std::optional<std::string>& backup)
{
    std::error_code error;
    if (line.backup.empty() && backup && !std::filesystem::is_directory(*backup, error))
        throw CommandError(ExitCode::kPlaceUnusable,
            text("$$$/Mfx/Backup/FolderMissing=the backup folder %1 is not there: connect its "
                 "disk, or name another with --backup",
                {Pt::displayName(*backup)}));
}

class DownloadRun {
public:
    explicit DownloadRun(const CommandLine& line)
        : m_line(line)
        , m_events(makeEvents(line))
    {
        m_request.rules = rulesOf(line);
        m_request.dryRun = line.dryRun;
        m_request.wasInterrupted = Pt::wasInterrupted;
        m_request.target = absolutePath(line.target);
        m_source = sourceArgument(line.source);
        m_request.sourceName = m_source.name;
        m_choices = choicesOf(line);
        m_store = storeOf(line);
    }

    ExitCode run(int argc, char** argv)
    {
        requireUsablePlace(m_request.target, m_source.path, Purpose::kTarget);
        if (m_choices.backupFolder)
            requireUsablePlace(*m_choices.backupFolder, m_source.path, Purpose::kBackup);
        enterProgramFolder();
        makePlaces();
        SessionPreferences session(kPreferenceLibrary, m_store, m_choices);
        m_mayDelete = session.startedWhole();
        if (!m_mayDelete)
            m_events->message("",
                text("$$$/Mfx/Download/PreferencesUnreadable=the preferences in %1 cannot be read: "
                     "this run goes without them and deletes nothing",
                    {Pt::displayName(*m_store)}));
        m_request.backupFolder = session.backupFolder();
        m_request.firstSequence = m_line.seqStart.value_or(session.firstSequence());
        m_request.beginsAtFirst = m_line.seqStart.has_value();
        requireRememberedBackup(m_line, m_request.backupFolder);
        if (m_request.backupFolder)
            requireUsablePlace(*m_request.backupFolder, m_source.path, Purpose::kBackup);
        qInstallMessageHandler(passOnMessage);
        const QApplication application(argc, argv);
        std::setlocale(LC_NUMERIC, "C"); // sizes are written with points
        const DownloadSummary summary = downloadWithSink();
        const bool isRemembered =
            !m_line.remember || m_line.dryRun || rememberChoices(session, summary);
        const ExitCode code = exitCode(summary);
        return code == ExitCode::kDone && !isRemembered ? ExitCode::kPartly : code;
    }

private:
    static void enterProgramFolder()
    {
        // "../Frameworks" and "../shared_assets" lead from here, for us and for the plug-in.
        std::filesystem::current_path(Pt::programFolder());
        ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    }

    void makePlaces()
    {
        if (m_line.dryRun)
            return;
        m_request.target = makePlace(m_request.target, Purpose::kTarget, m_line.makeFolders);
        if (m_choices.backupFolder) {
            m_choices.backupFolder =
                makePlace(*m_choices.backupFolder, Purpose::kBackup, m_line.makeFolders);
            Pt::removeStaleCopies(*m_choices.backupFolder);
        }
    }

    DownloadSummary downloadWithSink()
    {
        std::unique_ptr<OptionsPanel> panel; // outlives the sink, which borrows it
        SinkSession sink(kPlugins + Pt::moduleFileName(kPlugin), *m_events);
        panel = std::make_unique<OptionsPanel>(QString::fromStdString(sink.panelFile()));
        sink.bindPanel(*panel);
        if (panel->isChecked("savecopies_checkbox") != m_request.backupFolder.has_value())
            throw SystemPartError(text("$$$/Mfx/System/PluginIgnoresBackup=the plug-in did not "
                                       "take over the choice of a backup folder"));
        m_request.wantsDNG = m_choices.convertsToDNG.value_or(false);
        m_request.convertsToDNG = panel->isChecked("dng_checkbox");
        // Never by a remembered choice alone.
        m_request.deletesOriginals =
            m_mayDelete && m_line.deleteOriginals && panel->isChecked("deletefiles_checkbox");
        const CardContents card = scanSource(m_source, m_line.only, !m_line.dryRun);
        for (const std::string& path : card.putBack)
            m_events->message("",
                text("$$$/Mfx/Download/PutBackOnCard=put back on the card after an earlier run was "
                     "cut off: %1",
                    {Pt::displayName(path)}));
        requireSpace(card);
        try {
            return Download(m_request, card, sink, *m_events).run();
        } catch (const PlaceError& error) {
            throw CommandError(ExitCode::kPlaceUnusable, error.what());
        }
    }

    void requireSpace(const CardContents& card) const
    {
        const DNGSizes sizes{m_line.dngUncompressed, m_line.dngEmbedRaw};
        const auto shortage = findShortage(card, m_request, sizes);
        if (shortage)
            throw CommandError(ExitCode::kPlaceUnusable,
                text("$$$/Mfx/Place/NotEnoughSpace=not enough space in %1: %2 are needed and %3 "
                     "are free; nothing was written",
                    {Pt::displayName(shortage->folder),
                        sizeText(shortage->needed),
                        sizeText(shortage->available)}));
    }

    bool rememberChoices(SessionPreferences& session, const DownloadSummary& summary)
    {
        const std::uint64_t next =
            m_request.rules.useNumbers() ? summary.nextSequence : m_request.firstSequence;
        const bool isRemembered = session.remember(m_request.target, next);
        if (!isRemembered)
            m_events->message(
                "", text("$$$/Mfx/Download/NotRemembered=the choices could not be remembered"));
        return isRemembered;
    }

    static ExitCode exitCode(const DownloadSummary& summary)
    {
        if (summary.interrupted)
            return ExitCode::kInterrupted;
        if (summary.placeUnusable)
            return ExitCode::kPlaceUnusable;
        const bool isPart = summary.failed != 0 || summary.notDeleted != 0 || summary.nobodyAnswered
            || summary.deletionForbidden;
        return isPart ? ExitCode::kPartly : ExitCode::kDone;
    }

    const CommandLine& m_line;
    std::unique_ptr<DownloadEvents, void (*)(DownloadEvents*)> m_events;
    DownloadRequest m_request;
    MediaSource m_source;
    Choices m_choices;
    std::optional<std::string> m_store;
    bool m_mayDelete = true; // no second copy was left out that a store may name
};

} // namespace

ExitCode runDownload(const CommandLine& line)
{
    char name[] = "mfx";
    char* arguments[] = {name, nullptr};
    return DownloadRun(line).run(1, arguments);
}

} // namespace mfx
