#include "mfx/cli/CommandLine.h"

#include "apps/mfx/texts/DictionaryFixture.h"
#include "mfx/texts/Columns.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace mfx {
namespace {

struct Reading {
    std::optional<CommandLine> line;
    ExitCode code = ExitCode::kDone;
    std::string output;
    std::string errors;
};

Reading read(std::vector<std::string> words)
{
    words.insert(words.begin(), "mfx");
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    Reading reading;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    reading.line =
        readCommandLine(static_cast<int>(arguments.size()), arguments.data(), reading.code);
    reading.output = testing::internal::GetCapturedStdout();
    reading.errors = testing::internal::GetCapturedStderr();
    return reading;
}

TEST(CommandLineTest, ReadsTheCommands)
{
    EXPECT_EQ(read({"sources", "--json"}).line.value().command, Command::kSources);
    const CommandLine list = read({"list", "-j", "/card"}).line.value();
    EXPECT_EQ(list.command, Command::kList);
    EXPECT_EQ(list.source, "/card");
    EXPECT_TRUE(list.json);
}

TEST(CommandLineTest, ReadsAConversionOfFiles)
{
    const CommandLine line = read({"convert",
                                      "a.CR2",
                                      "b.NEF",
                                      "--to",
                                      "/dng",
                                      "--dng-preview",
                                      "none",
                                      "--dng-embed-raw",
                                      "--json"})
                                 .line.value();
    EXPECT_EQ(line.command, Command::kConvert);
    EXPECT_THAT(line.files, ElementsAre("a.CR2", "b.NEF"));
    EXPECT_EQ(line.target, "/dng");
    EXPECT_EQ(line.dngPreview, "none");
    EXPECT_TRUE(line.dngEmbedRaw);
    EXPECT_FALSE(line.dngLinear);
    EXPECT_TRUE(line.json);
    EXPECT_THAT(read({"convert", "a.CR2"}).line.value().target, IsEmpty());
}

TEST(CommandLineTest, ReadsWhatToExtractFrom)
{
    const CommandLine line = read({"extract", "a.dng", "-t", "/raws"}).line.value();
    EXPECT_EQ(line.command, Command::kExtract);
    EXPECT_EQ(line.source, "a.dng");
    EXPECT_EQ(line.target, "/raws");
}

TEST(CommandLineTest, RefusesAConversionOfNothingAndAnEmptyFolder)
{
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{{"convert"},
             {"convert", "a.CR2", "--to", ""},
             {"convert", "a.CR2", "--dng-preview", "large"},
             {"convert", "a.CR2", "--backup", "/b"},
             {"extract"},
             {"extract", "a.dng", "b.dng"}}) {
        const Reading reading = read(words);
        EXPECT_FALSE(reading.line) << words.back();
        EXPECT_EQ(reading.code, ExitCode::kUsage) << words.back();
    }
}

TEST(CommandLineTest, AsksForNothingThatWasNotSaid)
{
    const CommandLine line = read({"download", "/card", "--to", "/photos"}).line.value();
    EXPECT_EQ(line.command, Command::kDownload);
    EXPECT_EQ(line.source, "/card");
    EXPECT_EQ(line.target, "/photos");
    for (const bool flag : {line.json,
             line.dng,
             line.dngUncompressed,
             line.dngLinear,
             line.dngEmbedRaw,
             line.deleteOriginals,
             line.yes,
             line.open,
             line.noBackup,
             line.noDNG,
             line.noOpen,
             line.makeFolders,
             line.remember,
             line.dryRun,
             line.quiet})
        EXPECT_FALSE(flag);
    EXPECT_FALSE(line.seqStart);
    for (const std::string& text :
        {line.subfolders, line.rename, line.backup, line.dngPreview, line.preferences})
        EXPECT_THAT(text, IsEmpty());
    EXPECT_THAT(line.only, IsEmpty());
}

TEST(CommandLineTest, ReadsEveryValueOfADownload)
{
    const CommandLine line = read({"download",
                                      "/card",
                                      "--to",
                                      "/photos",
                                      "--subfolders",
                                      "%Y",
                                      "--rename",
                                      "{name}_{seq:4}",
                                      "--backup",
                                      "/backup",
                                      "--dng-preview",
                                      "full",
                                      "--only",
                                      "*.CR2",
                                      "--only",
                                      "IMG_*",
                                      "--preferences",
                                      "none",
                                      "--seq-start",
                                      "472"})
                                 .line.value();
    EXPECT_EQ(line.subfolders, "%Y");
    EXPECT_EQ(line.rename, "{name}_{seq:4}");
    EXPECT_EQ(line.seqStart, 472U);
    EXPECT_EQ(line.backup, "/backup");
    EXPECT_EQ(line.dngPreview, "full");
    EXPECT_EQ(line.preferences, "none");
    EXPECT_THAT(line.only, ElementsAre("*.CR2", "IMG_*"));
}

TEST(CommandLineTest, ReadsEverySwitchOfADownload)
{
    const CommandLine line = read({"download",
                                      "/card",
                                      "--to",
                                      "/photos",
                                      "--dng",
                                      "--dng-uncompressed",
                                      "--dng-linear",
                                      "--dng-embed-raw",
                                      "--delete-originals",
                                      "--yes",
                                      "--open",
                                      "--make-folders",
                                      "--remember",
                                      "--dry-run",
                                      "--quiet",
                                      "--json"})
                                 .line.value();
    for (const bool flag : {line.json,
             line.dng,
             line.dngUncompressed,
             line.dngLinear,
             line.dngEmbedRaw,
             line.deleteOriginals,
             line.yes,
             line.open,
             line.makeFolders,
             line.remember,
             line.dryRun,
             line.quiet})
        EXPECT_TRUE(flag);
}

TEST(CommandLineTest, UndoesRememberedChoices)
{
    const CommandLine line =
        read({"download", "/card", "-t", "/photos", "--no-backup", "--no-dng", "--no-open"})
            .line.value();
    EXPECT_TRUE(line.noBackup && line.noDNG && line.noOpen);
    EXPECT_FALSE(line.dng || line.open);
    EXPECT_THAT(line.backup, IsEmpty());
}

TEST(CommandLineTest, BeginsToCountWhereItIsTold)
{
    const auto begin = [](const std::string& number) {
        return read({"download", "/card", "-t", "/p", "--seq-start", number}).line.value().seqStart;
    };
    EXPECT_EQ(begin("1"), 1U);
    EXPECT_EQ(begin("0042"), 42U);
    EXPECT_EQ(begin("999999999"), 999'999'999U);
}

TEST(CommandLineTest, TakesOneNameForEachOnly)
{
    const CommandLine line =
        read({"download", "-O", "*.CR2", "/card", "-t", "/photos"}).line.value();
    EXPECT_THAT(line.only, ElementsAre("*.CR2"));
    EXPECT_EQ(line.source, "/card");
}

TEST(CommandLineTest, TakesAFolderThatLooksLikeAnOption)
{
    EXPECT_EQ(read({"list", "--", "--json"}).line.value().source, "--json");
}

TEST(CommandLineTest, TakesAnEmptyPatternForNone)
{
    const CommandLine line =
        read({"download", "/card", "-t", "/p", "--subfolders=", "--rename", "a="}).line.value();
    EXPECT_EQ(line.subfolders, "");
    EXPECT_EQ(line.rename, "a=");
    EXPECT_EQ(read({"list", "--", "--card="}).line.value().source, "--card=");
}

TEST(CommandLineTest, KeepsBytesThatAreNotUtf8)
{
    EXPECT_EQ(read({"list", "/caf\xE9"}).line.value().source, "/caf\xE9");
}

struct WrongCase {
    const char* name;
    std::vector<std::string> words;
    const char* says;
};

void PrintTo(const WrongCase& row, std::ostream* out)
{
    *out << row.name;
}

class WrongCommandLineTest : public testing::TestWithParam<WrongCase> { };

TEST_P(WrongCommandLineTest, EndsWithWrongUsage)
{
    const Reading reading = read(GetParam().words);
    EXPECT_FALSE(reading.line);
    EXPECT_EQ(reading.code, ExitCode::kUsage);
    EXPECT_THAT(reading.errors, HasSubstr(GetParam().says));
    EXPECT_THAT(reading.output, IsEmpty()) << "a script reads nothing wrong";
}

INSTANTIATE_TEST_SUITE_P(Cases,
    WrongCommandLineTest,
    testing::Values(WrongCase{"NoCommand", {}, "subcommand"},
        WrongCase{"UnknownCommand", {"copy"}, "argument was not expected: copy\n"},
        WrongCase{"UnknownCommandWithWords",
            {"copy", "/card", "--to", "/p"},
            "argument was not expected: copy\n"},
        WrongCase{"UnknownCommandBehindAnOption", {"--json", "copy", "/card"}, ": --json copy\n"},
        WrongCase{"NoSource", {"list"}, "SOURCE"},
        WrongCase{"TwoSources", {"list", "/a", "/b"}, "/b"},
        WrongCase{"NoTarget", {"download", "/card"}, "--to"},
        WrongCase{"TargetWithoutFolder", {"download", "/card", "--to"}, "--to"},
        WrongCase{"TargetOfNoName", {"download", "/card", "--to", ""}, "--to: 1 required DIR"},
        WrongCase{"TargetOfNoNameBeforeAnOption",
            {"download", "/card", "--to=", "--json"},
            "--to: 1 required DIR"},
        WrongCase{"BackupOfNoName",
            {"download", "/card", "-t", "/p", "--backup=", "--delete-originals"},
            "--backup: 1 required DIR"},
        WrongCase{"PreferencesOfNoName",
            {"download", "/card", "-t", "/p", "--preferences", ""},
            "--preferences: 1 required DIR|none"},
        WrongCase{"UnknownOption", {"download", "/card", "-t", "/p", "--delete"}, "--delete"},
        WrongCase{"UnknownOptionAlone", {"download", "--delete"}, ": --delete\n"},
        WrongCase{"UnknownOptionOfList", {"list", "--delete"}, ": --delete\n"},
        WrongCase{
            "UnknownOptionForTheTarget", {"download", "/card", "--into", "/p"}, ": --into /p\n"},
        WrongCase{"BackupAndNone",
            {"download", "/card", "-t", "/p", "--backup", "/b", "--no-backup"},
            "--no-backup"},
        WrongCase{"DngAndNone", {"download", "/card", "-t", "/p", "-d", "--no-dng"}, "--no-dng"},
        WrongCase{"OpenAndNot", {"download", "/card", "-t", "/p", "-o", "--no-open"}, "--no-open"},
        WrongCase{"SequenceFromZero",
            {"download", "/card", "-t", "/p", "--seq-start", "0"},
            "--seq-start: \"0\" is not a number from 1"},
        WrongCase{"SequenceFromBelowZero",
            {"download", "/card", "-t", "/p", "--seq-start=-1"},
            "\"-1\" is not a number"},
        WrongCase{"SequenceFromNoNumber",
            {"download", "/card", "-t", "/p", "--seq-start", "1x"},
            "\"1x\" is not a number"},
        WrongCase{"SequenceFromNothing",
            {"download", "/card", "-t", "/p", "--seq-start="},
            "\"\" is not a number"},
        WrongCase{"SequenceFromTenDigits",
            {"download", "/card", "-t", "/p", "--seq-start", "1000000000"},
            "is not a number from 1 to 999999999"},
        WrongCase{"UnknownPreview",
            {"download", "/card", "-t", "/p", "--dng-preview", "huge"},
            "--dng-preview"},
        WrongCase{"TwoTargets", {"download", "/card", "-t", "/p", "-t", "/q"}, "--to"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(CommandLineTest, PromisesNoSourcesButCards)
{
    const std::string help = read({"sources", "--help"}).output;
    EXPECT_THAT(help, HasSubstr("List the mounted cards"));
    EXPECT_THAT(help, testing::Not(HasSubstr("amera")));
}

TEST(CommandLineTest, TellsHelpAndVersionAndEndsWell)
{
    for (const char* option : {"--help", "-h"}) {
        const Reading help = read({"download", option});
        EXPECT_FALSE(help.line);
        EXPECT_EQ(help.code, ExitCode::kDone);
        EXPECT_THAT(help.output, HasSubstr("--delete-originals"));
        EXPECT_THAT(help.output, HasSubstr("Exit codes: 0 done"));
    }
    const Reading version = read({"--version"});
    EXPECT_EQ(version.code, ExitCode::kDone);
    EXPECT_THAT(version.output, testing::StartsWith("mfx "));
}

using TranslatedHelpTest = DictionaryFixture;

TEST_F(TranslatedHelpTest, HasEveryHeadingAndSentenceInTheUsersLanguage)
{
    speak(u"\"$$$/Mfx/Help/Usage=用法\"\n\"$$$/Mfx/Help/OptionsPlace=オプション…\"\n"
          u"\"$$$/Mfx/Help/CommandPlace=コマンド\"\n\"$$$/Mfx/Help/Positionals=引数\"\n"
          u"\"$$$/Mfx/Help/Options=オプション\"\n\"$$$/Mfx/Help/Commands=コマンド一覧\"\n"
          u"\"$$$/Mfx/Help/Help=ヘルプを表示\"\n\"$$$/Mfx/Usage/NoCommand=コマンドがない\"\n"
          u"\"$$$/Mfx/Usage/SeeHelp=詳しくは %1\"\n");
    const std::string all = read({"--help"}).output + read({"list", "--help"}).output
        + read({"download", "--help"}).output;
    for (const char* heading :
        {"用法: mfx [オプション…] コマンド\n", "\nオプション:\n", "\nコマンド一覧:\n", "\n引数:\n"})
        EXPECT_THAT(all, HasSubstr(heading));
    for (const char* english :
        {"Options", "OPTIONS", "SUBCOMMAND", "Subcommands", "Print this", "Excludes"})
        EXPECT_THAT(all, testing::Not(HasSubstr(english)));
    EXPECT_EQ(read({}).errors, "コマンドがない\n詳しくは --help\n");
}

TEST_F(TranslatedHelpTest, BeginsDescriptionsInOneColumn)
{
    speak(u"\"$$$/Mfx/Help/Required=必須\"\n\"$$$/Mfx/Help/Source=D1\"\n"
          u"\"$$$/Mfx/Help/To=D2\"\n\"$$$/Mfx/Help/Backup=D3\"\n");
    const std::string help = read({"download", "--help"}).output;
    EXPECT_THAT(help, HasSubstr("--to DIR 必須"));
    for (const char* description : {"D1", "D2", "D3"}) {
        const std::size_t at = help.find(description);
        ASSERT_NE(at, std::string::npos) << help;
        const std::size_t line = help.rfind('\n', at) + 1;
        EXPECT_EQ(columnsOf(help.substr(line, at - line)), 30U) << description;
    }
}

} // namespace
} // namespace mfx
