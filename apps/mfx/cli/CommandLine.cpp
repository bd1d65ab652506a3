#include "mfx/cli/CommandLine.h"

#include "mfx/cli/HelpFormatter.h"
#include "mfx/cli/UsageText.h"
#include "mfx/texts/Texts.h"

#include <algorithm>
#include <charconv>

#include <CLI/CLI.hpp>

namespace mfx {

namespace {

constexpr char kVersion[] = "mfx " TEVORO_VERSION;
constexpr std::uint32_t kLastSequence = 999'999'999;

std::string optionsHeading()
{
    return text("$$$/Mfx/Help/Options=Options");
}

std::string jsonText()
{
    return text("$$$/Mfx/Help/Json=One JSON object per line");
}

CLI::App* addCommand(CLI::App& app, const char* name, const std::string& description)
{
    CLI::App* command = app.add_subcommand(name, description);
    command->group(text("$$$/Mfx/Help/Commands=Subcommands"));
    command->get_help_ptr()->group(optionsHeading());
    return command;
}

void addSource(CLI::App& command, CommandLine& line)
{
    command
        .add_option("SOURCE",
            line.source,
            text("$$$/Mfx/Help/Source=A folder, or a name that 'mfx sources' prints"))
        ->required();
}

void addSources(CLI::App& app, CommandLine& line)
{
    CLI::App* sources =
        addCommand(app, "sources", text("$$$/Mfx/Help/Sources=List the mounted cards"));
    sources->add_flag("-j,--json", line.json, jsonText());
    sources->callback([&line] { line.command = Command::kSources; });
}

void addList(CLI::App& app, CommandLine& line)
{
    CLI::App* list =
        addCommand(app, "list", text("$$$/Mfx/Help/List=List the media on a card or in a folder"));
    addSource(*list, line);
    list->add_flag("-j,--json", line.json, jsonText());
    list->callback([&line] { line.command = Command::kList; });
}

// An empty folder is a variable of a script that is not set. Taken for none, it would cost the
// second copy that was asked for. In the parser's own words for a value that is missing.
CLI::Option* requireFolder(CLI::Option* option, const std::string& typeName)
{
    const std::string missing = "1 required " + typeName + " missing";
    return option->type_name(typeName)->check(
        [missing](const std::string& value) { return value.empty() ? missing : std::string(); });
}

// A number to begin with: it has nine digits at most, as many as a name pattern can ask for. The
// parser itself would take "0042" for an octal one.
std::optional<std::uint32_t> sequenceNumber(const std::string& word)
{
    std::uint32_t number = 0;
    const char* const end = word.data() + word.size();
    const auto [stop, problem] = std::from_chars(word.data(), end, number);
    const bool isNumber = problem == std::errc() && stop == end;
    return isNumber && number >= 1 && number <= kLastSequence ? std::optional(number)
                                                              : std::nullopt;
}

// The parser prints what this returns, and takes an empty text for no complaint.
std::string sequenceProblem(const std::string& word)
{
    if (sequenceNumber(word))
        return {};
    return text("$$$/Mfx/Usage/NoSequenceNumber=\"%1\" is not a number from 1 to %2",
        {word, std::to_string(kLastSequence)});
}

// The second copy and its absence exclude each other: of two wishes, neither is the safe one to
// guess.
void addBackup(CLI::App& download, CommandLine& line)
{
    CLI::Option* backup = requireFolder(download.add_option("-b,--backup",
                                            line.backup,
                                            text("$$$/Mfx/Help/Backup=Second copy of every saved "
                                                 "item")),
        "DIR");
    download
        .add_flag("--no-backup",
            line.noBackup,
            text("$$$/Mfx/Help/NoBackup=No second copy, whatever is remembered"))
        ->excludes(backup);
}

void addFolders(CLI::App& download, CommandLine& line)
{
    requireFolder(
        download.add_option("-t,--to", line.target, text("$$$/Mfx/Help/To=Folder to save into")),
        "DIR")
        ->required();
    addBackup(download, line);
    download.add_flag("--make-folders",
        line.makeFolders,
        text("$$$/Mfx/Help/MakeFolders=Make missing folders below /media, /run/media and /mnt "
             "too"));
}

void addSequenceStart(CLI::App& download, CommandLine& line)
{
    download
        .add_option_function<std::string>(
            "--seq-start",
            [&line](const std::string& word) { line.seqStart = sequenceNumber(word); },
            text("$$$/Mfx/Help/SeqStart=Number where {seq} begins"))
        ->type_name("N")
        ->check(sequenceProblem);
}

void addNaming(CLI::App& download, CommandLine& line)
{
    download
        .add_option("-s,--subfolders",
            line.subfolders,
            text("$$$/Mfx/Help/Subfolders=Subfolders by capture date, such as %Y/%Y-%m-%d"))
        ->type_name("PATTERN");
    download
        .add_option("-r,--rename",
            line.rename,
            text("$$$/Mfx/Help/Rename=New names from {name} {ext} {date:FORMAT} {seq:DIGITS}"))
        ->type_name("PATTERN");
    addSequenceStart(download, line);
}

void addOnly(CLI::App& download, CommandLine& line)
{
    download
        .add_option("-O,--only",
            line.only,
            text(
                "$$$/Mfx/Help/OnlyNames=Only items whose device name matches, with their sidecars; "
                "may be repeated"))
        ->type_name("GLOB")
        ->allow_extra_args(false);
}

void addDNGForm(CLI::App& command, CommandLine& line)
{
    command
        .add_option("--dng-preview",
            line.dngPreview,
            text("$$$/Mfx/Help/DngPreview=Size of the preview in a DNG"))
        ->check(CLI::IsMember({"none", "medium", "full"}));
    command.add_flag("--dng-uncompressed",
        line.dngUncompressed,
        text("$$$/Mfx/Help/DngUncompressed=DNG without compression"));
    command.add_flag("--dng-linear",
        line.dngLinear,
        text("$$$/Mfx/Help/DngLinear=DNG with interpolated colours"));
    command.add_flag("--dng-embed-raw",
        line.dngEmbedRaw,
        text("$$$/Mfx/Help/DngEmbedRaw=DNG with the raw file inside"));
}

void addDNG(CLI::App& download, CommandLine& line)
{
    CLI::Option* dng = download.add_flag(
        "-d,--dng", line.dng, text("$$$/Mfx/Help/Dng=Convert camera raw files to DNG"));
    download
        .add_flag("--no-dng",
            line.noDNG,
            text("$$$/Mfx/Help/NoDng=No conversion to DNG, whatever is remembered"))
        ->excludes(dng);
    addDNGForm(download, line);
}

void addEnding(CLI::App& download, CommandLine& line)
{
    download.add_flag("--delete-originals",
        line.deleteOriginals,
        text("$$$/Mfx/Help/DeleteOriginals=Offer to delete what is proven to be saved"));
    download.add_flag("-y,--yes", line.yes, text("$$$/Mfx/Help/Yes=Answer that question with yes"));
    CLI::Option* open = download.add_flag(
        "-o,--open", line.open, text("$$$/Mfx/Help/Open=Show the result in tevoro"));
    download
        .add_flag("--no-open",
            line.noOpen,
            text("$$$/Mfx/Help/NoOpen=Do not show the result, whatever is remembered"))
        ->excludes(open);
    requireFolder(
        download.add_option("--preferences",
            line.preferences,
            text("$$$/Mfx/Help/Preferences=Preferences to start from; the user's by default")),
        "DIR|none");
    download.add_flag(
        "--remember", line.remember, text("$$$/Mfx/Help/Remember=Keep this run's choices there"));
}

void addDownload(CLI::App& app, CommandLine& line)
{
    CLI::App* download =
        addCommand(app, "download", text("$$$/Mfx/Help/Download=Save the media into a folder"));
    addSource(*download, line);
    addFolders(*download, line);
    addNaming(*download, line);
    addOnly(*download, line);
    addDNG(*download, line);
    addEnding(*download, line);
    download->add_flag("-n,--dry-run",
        line.dryRun,
        text("$$$/Mfx/Help/DryRun=Show what would be done without writing anything"));
    download->add_flag("-q,--quiet", line.quiet, text("$$$/Mfx/Help/Quiet=Report problems only"));
    download->add_flag("-j,--json", line.json, jsonText());
    download->footer(text("$$$/Mfx/Help/ExitCodes=Exit codes: 0 done; 1 partly done; 2 wrong "
                          "usage; 3 no such source;")
        + '\n'
        + text("$$$/Mfx/Help/ExitCodesMore=4 a folder cannot be used; 5 a part of mfx is missing; "
               "130 interrupted."));
    download->callback([&line] { line.command = Command::kDownload; });
}

void addExitCodes(CLI::App& command, const std::string& first)
{
    command.footer(first + '\n'
        + text("$$$/Mfx/Help/ExitCodesMore=4 a folder cannot be used; 5 a part of mfx is missing; "
               "130 interrupted."));
}

void addFolderOfResults(CLI::App& command, CommandLine& line, const std::string& description)
{
    requireFolder(command.add_option("-t,--to", line.target, description), "DIR");
}

void addConvert(CLI::App& app, CommandLine& line)
{
    CLI::App* convert = addCommand(app,
        "convert",
        text("$$$/Mfx/Help/Convert=Convert camera raw files to DNG; they stay as they are"));
    convert->add_option("FILE", line.files, text("$$$/Mfx/Help/RawFiles=Camera raw files"))
        ->required();
    addFolderOfResults(*convert,
        line,
        text("$$$/Mfx/Help/ToBeside=Folder to write into; the folder of each file by default"));
    addDNGForm(*convert, line);
    convert->add_flag("-j,--json", line.json, jsonText());
    addExitCodes(*convert,
        text("$$$/Mfx/Help/FileExitCodes=Exit codes: 0 done; 1 partly done, or not possible; 2 "
             "wrong usage; 3 none of the files exists;"));
    convert->callback([&line] { line.command = Command::kConvert; });
}

void addExtract(CLI::App& app, CommandLine& line)
{
    CLI::App* extract = addCommand(
        app, "extract", text("$$$/Mfx/Help/Extract=Extract the raw file embedded in a DNG"));
    extract->add_option("FILE", line.source, text("$$$/Mfx/Help/DngFile=A DNG"))->required();
    addFolderOfResults(*extract,
        line,
        text("$$$/Mfx/Help/ToBesideDng=Folder to write into; the folder of the DNG by default"));
    addExitCodes(*extract,
        text("$$$/Mfx/Help/ExtractExitCodes=Exit codes: 0 done; 1 no DNG, or damaged; 2 wrong "
             "usage; 3 no such file, or no raw file inside;"));
    extract->callback([&line] { line.command = Command::kExtract; });
}

// The words that the parser could make nothing of, as typed. Behind a command that is none, all are
// such: they end with it.
std::vector<std::string> strangers(const CLI::App& app)
{
    std::vector<std::string> words = app.remaining(true);
    words.erase(std::remove(words.begin(), words.end(), "--"), words.end());
    const auto command = std::find_if(
        words.begin(), words.end(), [](const std::string& word) { return !word.starts_with('-'); });
    if (app.get_subcommands().empty() && command != words.end())
        words.erase(command + 1, words.end());
    return words;
}

// The parser complains of what is missing before it looks at what it did not expect. A mistyped
// option is the reason more often than not, so that it is named first.
int reportError(const CLI::App& app, const CLI::ParseError& error)
{
    std::vector<std::string> words = strangers(app);
    const bool isOther = dynamic_cast<const CLI::RequiredError*>(&error) == nullptr
        && dynamic_cast<const CLI::ExtrasError*>(&error) == nullptr;
    if (isOther || words.empty())
        return app.exit(error);
    std::reverse(words.begin(), words.end()); // which the parser does once more
    return app.exit(CLI::ExtrasError(words));
}

// In the user's language, as far as the parser's own words are recognised.
std::string failureText(const CLI::App* app, const CLI::Error& error)
{
    return usageText(error.what()) + '\n'
        + text("$$$/Mfx/Usage/SeeHelp=Run with %1 for more information.",
            {app->get_help_ptr()->get_name()})
        + '\n';
}

// What commands take over from the program is set before they are added.
void addCommands(CLI::App& app, CommandLine& line)
{
    app.formatter(std::make_shared<HelpFormatter>());
    app.failure_message(failureText);
    app.option_defaults()->group(optionsHeading());
    app.set_help_flag("-h,--help", text("$$$/Mfx/Help/Help=Print this help message and exit"));
    app.set_version_flag("-V,--version",
        kVersion,
        text("$$$/Mfx/Help/Version=Display program version information and exit"));
    app.require_subcommand(1);
    addSources(app, line);
    addList(app, line);
    addDownload(app, line);
    addConvert(app, line);
    addExtract(app, line);
}

// The parser would take the next word for the value that is missing in "--to=". Its own order: the
// last word first.
std::vector<std::string> wordsOf(int argc, char** argv)
{
    std::vector<std::string> words;
    bool mayBeOption = true;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        mayBeOption = mayBeOption && word != "--";
        if (mayBeOption && word.starts_with("--") && word.find('=') == word.size() - 1)
            words.insert(words.end(), {word.substr(0, word.size() - 1), std::string()});
        else
            words.push_back(word);
    }
    std::reverse(words.begin(), words.end());
    return words;
}

} // namespace

// The options write into `line` while the parser runs, so that it must outlive the parser's
// objects.
std::optional<CommandLine> readCommandLine(int argc, char** argv, ExitCode& code)
{
    CommandLine line;
    CLI::App app(text("$$$/Mfx/Help/Program=Downloads photos and movies from cards, proves each "
                      "copy, and deletes nothing that is not safe."),
        "mfx");
    addCommands(app, line);
    try {
        app.parse(wordsOf(argc, argv));
    } catch (const CLI::ParseError& error) {
        code = reportError(app, error) == 0 ? ExitCode::kDone : ExitCode::kUsage;
        return std::nullopt;
    }
    return line;
}

} // namespace mfx
