#include "mfx/cli/Commands.h"
#include "mfx/cli/JsonEvents.h"
#include "mfx/cli/Places.h"
#include "mfx/cli/RequestFromOptions.h"
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
#include <filesystem>
#include <memory>
#include <vector>

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

std::unique_ptr<DownloadEvents> makeEvents(const CommandLine& line)
{
    // --yes answers only what was asked for on this command line, never a remembered choice.
    const auto answering = line.yes && line.deleteOriginals ? Answering::kYes : Answering::kAsk;
    if (line.json)
        return std::make_unique<JsonEvents>(answering);
    return std::make_unique<TextEvents>(line.quiet, line.dryRun, answering);
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

// What the toolkit reads at its start, and keeps: this program needs no display. A variable would
// say so to the browser, too, which is started with what this process has, and has a window.
struct ToolkitWords {
    ToolkitWords(int argc, char** argv)
        : pointers(argv, argv + argc)
    {
        if (!Pt::environmentVariable("QT_QPA_PLATFORM")) // else somebody has decided
            pointers.insert(pointers.end(), {option, platform});
        count = static_cast<int>(pointers.size());
        pointers.push_back(nullptr);
    }

    char option[10] = "-platform";
    char platform[10] = "offscreen";
    std::vector<char*> pointers;
    int count = 0;
};

class DownloadRun {
public:
    explicit DownloadRun(const CommandLine& line)
        : m_line(line)
        , m_events(makeEvents(line))
        , m_options(line)
        , m_source(sourceArgument(line.source))
    {
        m_options.setSource(m_source.name);
    }

    ExitCode run(int argc, char** argv)
    {
        requirePlaces();
        enterProgramFolder();
        makePlaces();
        // Sets a variable of the process that the plug-in reads, and the store must be in place
        // before the plug-in opens it: so this comes before Qt starts threads and the sink loads.
        SessionPreferences session(
            kPreferenceLibrary, m_options.storeFolder(), m_options.choices());
        takeRemembered(session);
        qInstallMessageHandler(passOnMessage);
        ToolkitWords words(argc, argv);
        const QApplication application(words.count, words.pointers.data());
        // The application has set the locale of the user: sizes are written with points.
        std::setlocale(LC_NUMERIC, "C");
        const DownloadSummary summary = downloadWithSink();
        const bool isRemembered =
            !m_line.remember || m_line.dryRun || rememberChoices(session, summary);
        const ExitCode code = exitCode(summary);
        return code == ExitCode::kDone && !isRemembered ? ExitCode::kPartly : code;
    }

private:
    const DownloadRequest& request() const { return m_options.request(); }

    // Before anything is made: a refused run leaves no folder behind.
    void requirePlaces() const
    {
        requireUsablePlace(request().target, m_source.path, Purpose::kTarget);
        if (const auto& backup = m_options.choices().backupFolder)
            requireUsablePlace(*backup, m_source.path, Purpose::kBackup);
    }

    static void enterProgramFolder()
    {
        // "../Frameworks" and "../shared_assets" lead from here, for us and for the plug-in.
        std::filesystem::current_path(Pt::programFolder());
    }

    void makePlaces()
    {
        if (m_line.dryRun)
            return;
        const std::string target =
            makePlace(request().target, Purpose::kTarget, m_line.makeFolders);
        std::optional<std::string> backup = m_options.choices().backupFolder;
        if (backup) {
            backup = makePlace(*backup, Purpose::kBackup, m_line.makeFolders);
            Pt::removeStaleCopies(*backup);
        }
        m_options.setPlaces(target, backup);
    }

    void takeRemembered(const SessionPreferences& session)
    {
        if (!session.startedWhole())
            m_events->message("",
                text("$$$/Mfx/Download/PreferencesUnreadable=the preferences in %1 cannot be read: "
                     "this run goes without them and deletes nothing",
                    {Pt::displayName(*m_options.storeFolder())}));
        m_options.addRemembered(
            {session.startedWhole(), session.backupFolder(), session.firstSequence()});
        requireRememberedBackup(m_line, request().backupFolder);
        if (request().backupFolder)
            requireUsablePlace(*request().backupFolder, m_source.path, Purpose::kBackup);
    }

    DownloadSummary downloadWithSink()
    {
        std::unique_ptr<OptionsPanel> panel; // outlives the sink, which borrows it
        SinkSession sink(kPlugins + Pt::moduleFileName(kPlugin), *m_events);
        panel = std::make_unique<OptionsPanel>(QString::fromStdString(sink.panelFile()));
        sink.bindPanel(*panel);
        takePanel(*panel);
        const CardContents card = scanSource(m_source, m_line.only, !m_line.dryRun);
        reportPutBack(card);
        requireSpace(card);
        return download(card, sink);
    }

    DownloadSummary download(const CardContents& card, SinkSession& sink)
    {
        try {
            return Download(request(), card, sink, *m_events).run();
        } catch (const PlaceError& error) {
            throw CommandError(ExitCode::kPlaceUnusable, error.what());
        }
    }

    // What the plug-in made of the choices is what it will do: a second copy that it would not make
    // must not be counted on when originals go.
    void takePanel(const OptionsPanel& panel)
    {
        if (panel.isChecked("savecopies_checkbox") != request().backupFolder.has_value())
            throw SystemPartError(text("$$$/Mfx/System/PluginIgnoresBackup=the plug-in did not "
                                       "take over the choice of a backup folder"));
        m_options.addPanel({panel.isChecked("dng_checkbox"),
            panel.isChecked("deletefiles_checkbox"),
            panel.isChecked("launchtevoro_checkbox")});
    }

    void reportPutBack(const CardContents& card)
    {
        for (const std::string& path : card.putBack)
            m_events->message("",
                text("$$$/Mfx/Download/PutBackOnCard=put back on the card after an earlier run was "
                     "cut off: %1",
                    {Pt::displayName(path)}));
    }

    void requireSpace(const CardContents& card) const
    {
        const DNGSizes sizes{m_line.dngUncompressed, m_line.dngLinear, m_line.dngEmbedRaw};
        const auto shortage = findShortage(card, request(), sizes);
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
            request().rules.useNumbers() ? summary.nextSequence : request().firstSequence;
        const bool isRemembered = session.remember(request().target, next);
        if (!isRemembered)
            m_events->message(
                "", text("$$$/Mfx/Download/NotRemembered=the choices could not be remembered"));
        return isRemembered;
    }

    static ExitCode exitCode(const DownloadSummary& summary)
    {
        if (summary.interrupted || summary.browserNotAwaited)
            return ExitCode::kInterrupted;
        if (summary.placeUnusable)
            return ExitCode::kPlaceUnusable;
        const bool isPart = summary.failed != 0 || summary.notDeleted != 0 || summary.nobodyAnswered
            || summary.deletionForbidden;
        return isPart ? ExitCode::kPartly : ExitCode::kDone;
    }

    const CommandLine& m_line;
    const std::unique_ptr<DownloadEvents> m_events;
    RequestFromOptions m_options;
    const MediaSource m_source;
};

} // namespace

ExitCode runDownload(const CommandLine& line)
{
    char name[] = "mfx";
    char* arguments[] = {name, nullptr};
    return DownloadRun(line).run(1, arguments);
}

} // namespace mfx
