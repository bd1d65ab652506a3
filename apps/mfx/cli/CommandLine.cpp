#include "mfx/cli/CommandLine.h"

#include <CLI/CLI.hpp>

namespace mfx {

namespace {

constexpr char kVersion[] = "mfx " TEVORO_VERSION;

void addSources(CLI::App& app, CommandLine& line)
{
    CLI::App* sources = app.add_subcommand("sources", "List cards and cameras that are there");
    sources->add_flag("-j,--json", line.json, "One JSON object per line");
    sources->callback([&line] { line.command = Command::kSources; });
}

void addList(CLI::App& app, CommandLine& line)
{
    CLI::App* list = app.add_subcommand("list", "List the media on a card or in a folder");
    list->add_option("SOURCE", line.source, "A folder, or a name that 'mfx sources' prints")
        ->required();
    list->add_flag("-j,--json", line.json, "One JSON object per line");
    list->callback([&line] { line.command = Command::kList; });
}

void addNaming(CLI::App& download, CommandLine& line)
{
    download.add_option("-t,--to", line.target, "Folder to save into")
        ->required()
        ->type_name("DIR");
    download
        .add_option(
            "-s,--subfolders", line.subfolders, "Sub-folders by capture date, such as %Y/%Y-%m-%d")
        ->type_name("PATTERN");
    download
        .add_option(
            "-r,--rename", line.rename, "New names from {name} {ext} {date:FORMAT} {seq:DIGITS}")
        ->type_name("PATTERN");
    download
        .add_option("-O,--only", line.only, "Only items with such a device name; may be repeated")
        ->type_name("GLOB")
        ->allow_extra_args(false);
}

void addDNG(CLI::App& download, CommandLine& line)
{
    download.add_flag("-d,--dng", line.dng, "Convert camera raw files to DNG");
    download.add_option("--dng-preview", line.dngPreview, "Size of the preview in a DNG")
        ->check(CLI::IsMember({"none", "medium", "full"}));
    download.add_flag("--dng-uncompressed", line.dngUncompressed, "DNG without compression");
    download.add_flag("--dng-linear", line.dngLinear, "DNG with interpolated colours");
    download.add_flag("--dng-embed-raw", line.dngEmbedRaw, "DNG with the raw file inside");
}

void addDownload(CLI::App& app, CommandLine& line)
{
    CLI::App* download = app.add_subcommand("download", "Save the media into a folder");
    download->add_option("SOURCE", line.source, "A folder, or a name that 'mfx sources' prints")
        ->required();
    addNaming(*download, line);
    download->add_option("-b,--backup", line.backup, "Second copy of every saved item")
        ->type_name("DIR");
    addDNG(*download, line);
    download->add_flag(
        "--delete-originals", line.deleteOriginals, "Offer to delete what is proven to be saved");
    download->add_flag("-y,--yes", line.yes, "Answer that question with yes");
    download->add_flag("-o,--open", line.open, "Show the result in tevoro");
    download
        ->add_option(
            "--preferences", line.preferences, "Preferences to start from; the user's by default")
        ->type_name("DIR|none");
    download->add_flag("--remember", line.remember, "Keep this run's choices there");
    download->add_flag("-n,--dry-run", line.dryRun, "Tell what would be done and write nothing");
    download->add_flag("-q,--quiet", line.quiet, "Tell problems only");
    download->add_flag("-j,--json", line.json, "One JSON object per line");
    download->footer("Exit codes: 0 done; 1 done in part; 2 wrong usage; 3 no such source;\n"
                     "4 a folder cannot be used; 5 a part of mfx is missing; 130 interrupted.");
    download->callback([&line] { line.command = Command::kDownload; });
}

} // namespace

std::optional<CommandLine> readCommandLine(int argc, char** argv, ExitCode& code)
{
    CommandLine line;
    CLI::App app("Downloads photos and movies from cards, proves each copy, and deletes nothing "
                 "that is not safe.",
        "mfx");
    app.set_version_flag("-V,--version", kVersion);
    app.require_subcommand(1);
    addSources(app, line);
    addList(app, line);
    addDownload(app, line);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        code = app.exit(error) == 0 ? ExitCode::kDone : ExitCode::kUsage;
        return std::nullopt;
    }
    return line;
}

} // namespace mfx
