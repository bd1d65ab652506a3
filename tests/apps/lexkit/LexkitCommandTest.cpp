#include "apps/lexkit/LexkitRun.h"
#include "core/strings/lexkit/DictionaryTexts.h"
#include "support/CommandPages.h"

#include <filesystem>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using lexkit_test::RunResult;
using lexkit_test::utf16File;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class LexkitCommandTest : public lexkit_test::LexkitRun { };

std::vector<nlohmann::json> objects(const std::string& lines)
{
    std::vector<nlohmann::json> result;
    std::istringstream stream(lines);
    for (std::string line; std::getline(stream, line);)
        result.push_back(nlohmann::json::parse(line));
    return result;
}

TEST_F(LexkitCommandTest, FindsNothingWrongInASoundFile)
{
    write("a.dct", "\"$$$/a=b\"\n// remark\n\"/c=d\"\n");
    write("b.dct", utf16File(u"\"$$$/a=b\"\r\n"));
    write("empty.dct", "");
    const RunResult run = lexkit("check a.dct b.dct empty.dct");
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.out + run.err, "");
}

TEST_F(LexkitCommandTest, TellsBadLinesByFileAndNumber)
{
    write("a.dct", "\"/a=b\"\r\n$$bad=1\r\n\r\n\n\"$x\"\r\nk=v\n$");
    write("b.dct", utf16File(u"ok\n$\u00E9=\u6F22\n", true));
    const RunResult run = lexkit("check a.dct b.dct");
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.out, "a.dct:2: $$bad=1\na.dct:5: \"$x\"\na.dct:7: $\nb.dct:2: $\u00E9=\u6F22\n");
}

TEST_F(LexkitCommandTest, TellsBytesThatAreNotInTheEncoding)
{
    write("a.dct", "k=v\nl=\xE9\n");
    EXPECT_EQ(lexkit("check a.dct").out, "a.dct:2: l=%E9\n");
    EXPECT_EQ(lexkit("check a.dct", "de_DE.ISO-8859-1").code, 0);
    EXPECT_EQ(lexkit("check -e utf-8 a.dct", "de_DE.ISO-8859-1").code, 1);
}

TEST_F(LexkitCommandTest, TellsTextBehindANul)
{
    write("a.dct", std::string("k=v\n\0l=w\n", 9));
    const RunResult run = lexkit("check a.dct");
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.out, StartsWith("a.dct:2: "));
}

TEST_F(LexkitCommandTest, TellsADamagedBinaryFile)
{
    write("a.txt", "k=v\nl=w\n");
    ASSERT_EQ(lexkit("compile a.txt a.dct").code, 0);
    EXPECT_EQ(lexkit("check a.dct").code, 0);
    const std::string whole = read("a.dct");
    write("cut.dct", whole.substr(0, whole.size() - 1));
    const RunResult run = lexkit("check cut.dct");
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.out, "cut.dct: damaged: 1 entries can be read\n");
}

TEST_F(LexkitCommandTest, ChecksTheOtherFilesWhenOneIsMissing)
{
    write("a.dct", "$$bad\n");
    const RunResult run = lexkit("check none.dct a.dct --json");
    EXPECT_EQ(run.code, 3);
    EXPECT_EQ(run.err, "lexkit: none.dct: there is no such file\n");
    ASSERT_EQ(objects(run.out).size(), 1u);
    EXPECT_EQ(
        objects(run.out)[0], (nlohmann::json{{"file", "a.dct"}, {"line", 1}, {"text", "$$bad"}}));
}

TEST_F(LexkitCommandTest, ListsKeysAndValuesInTableOrder)
{
    write("a.dct", "b=\\\"two\\\"\\nlines\na=one\n");
    const RunResult run = lexkit("list a.dct");
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.out, "a\tone\nb\t\\\"two\\\"\\nlines\n");
}

TEST_F(LexkitCommandTest, ListsAsJson)
{
    write("a.dct", utf16File(u"k\u00E9=\u6F22\\n\n"));
    const RunResult run = lexkit("list --json a.dct");
    EXPECT_THAT(
        objects(run.out), ElementsAre(nlohmann::json{{"key", "k%E9"}, {"value", "\u6F22\n"}}));
}

TEST_F(LexkitCommandTest, ListsWhatABadFileHasAndEndsWithOne)
{
    write("a.dct", "$$bad\nk=v\n");
    const RunResult run = lexkit("list a.dct");
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.out, "k\tv\n");
    EXPECT_THAT(run.err, HasSubstr("a.dct: the file has bad lines"));
}

TEST_F(LexkitCommandTest, ConvertsWhatABadFileHasAndEndsWithOne)
{
    write("a.dct", "$$bad\nk=v\n");
    for (const std::string command : {"compile", "text"}) {
        const RunResult run = lexkit(command + " a.dct b.dct");
        EXPECT_EQ(run.code, 1);
        EXPECT_THAT(run.err, HasSubstr("a.dct: the file has bad lines; 1 entries were read"));
        EXPECT_EQ(lexkit("list b.dct").out, "k\tv\n");
    }
}

TEST_F(LexkitCommandTest, GetsWhatALookupGives)
{
    write("a.dct", "/k=value\n");
    const RunResult run =
        lexkit("get a.dct '$$$/k=default' '$$$/none=de^Qfa#{lf}ult \u00E9' '$$/bad=x'");
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.out, "value\nde\"fa\nult \u00E9\n\n");
    EXPECT_THAT(objects(lexkit("get --json a.dct '$$$/k' '$$$/none=d'").out),
        ElementsAre(nlohmann::json{{"literal", "$$$/k"}, {"value", "value"}, {"found", true}},
            nlohmann::json{{"literal", "$$$/none=d"}, {"value", "d"}, {"found", false}}));
}

TEST_F(LexkitCommandTest, CompilesForReadersOnEveryMachine)
{
    write("a.txt", "k=a\xC3\xA9\n");
    ASSERT_EQ(lexkit("compile a.txt a.dct").code, 0);
    const std::string expected = std::string(
        "ZString Binary Format\1\5\0\0\0\0\1\0\0\0\2\0\0\0\1\0\0\0\4\0\x6Bk\0a\0\xE9", 47);
    EXPECT_EQ(read("a.dct"), expected);
    ASSERT_EQ(lexkit("compile --utf8 a.txt a.dct").code, 0);
    EXPECT_EQ(read("a.dct"),
        std::string("ZString Binary Format\1\5\1\0\0\0\1\0\0\0\2\0\0\0\1\0\0\0\3\0\x6Bk"
                    "a\xC3\xA9",
            46));
}

TEST_F(LexkitCommandTest, ComesBackFromBinaryToText)
{
    write("a.txt",
        utf16File(u"\"$$$/quote=a\\\"b\\r\\n\"\n\"/hat=^^Q ^1 50^^\"\n\"/plain=\u6F22\"\n"
                  u"\"/backslash=a\\\\n\\\\\"\n\"/reference=#{23}{lf} #x\"\n"
                  u"\"/lines=#{2028}#{0}\"\n\"=of the empty key\"\n\"$$$$k=v\"\n"));
    for (const std::string encoding : {"", "--utf8 "}) {
        ASSERT_EQ(lexkit("compile " + encoding + "a.txt a.dct").code, 0);
        const RunResult run = lexkit("text a.dct b.txt");
        EXPECT_EQ(run.code, 0) << run.err;
        const std::string first = lexkit("list --json a.dct").out;
        auto lines = objects(first);
        auto again = objects(lexkit("list --json b.txt").out);
        ASSERT_EQ(lines.size(), 8u);
        EXPECT_THAT(again, testing::UnorderedElementsAreArray(lines));
    }
}

TEST_F(LexkitCommandTest, WritesPlaceholdersAsTheyStand)
{
    write("a.txt", "k=a ^1 of ^2\n");
    ASSERT_EQ(lexkit("text a.txt b.txt").code, 0);
    EXPECT_EQ(read("b.txt"), utf16File(u"\"k=a ^1 of ^2\"\n"));
}

TEST_F(LexkitCommandTest, TellsEntriesThatAFormCannotHold)
{
    write("a.txt", utf16File(u"k=v\nhalf=#{D800}\nmark=#{FEFF}x\n"));
    const RunResult run = lexkit("compile --utf8 a.txt a.dct");
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.err, "lexkit: half: this form cannot hold the entry\n");
    EXPECT_EQ(lexkit("get a.dct k").out, "v\n");
    EXPECT_EQ(lexkit("compile a.txt a.dct").err, "lexkit: mark: this form cannot hold the entry\n");
    EXPECT_EQ(lexkit("text a.txt b.txt").code, 0);
}

TEST_F(LexkitCommandTest, ReplacesNoFileThatItReads)
{
    write("a.dct", "k=v\n");
    shell("ln a.dct hard.dct; ln -s a.dct soft.dct");
    for (const std::string command : {"compile", "text"}) {
        for (const std::string output : {"a.dct", "./a.dct", "hard.dct", "soft.dct"}) {
            const RunResult run = lexkit(command + " a.dct " + output);
            EXPECT_EQ(run.code, 4) << command << ' ' << output;
            EXPECT_THAT(run.err, HasSubstr("write to another file"));
            EXPECT_EQ(read("a.dct"), "k=v\n");
        }
    }
}

TEST_F(LexkitCommandTest, TouchesNoFileButTheOneItWrites)
{
    write("a.dct.new", "k=v\n");
    ASSERT_EQ(lexkit("compile a.dct.new a.dct").code, 0);
    EXPECT_EQ(read("a.dct.new"), "k=v\n");
    EXPECT_EQ(shell("sh -c 'mkfifo pipe; cat pipe & \"" LEXKIT "\" text a.dct pipe; wait'").out,
        utf16File(u"\"k=v\"\n"));
}

TEST_F(LexkitCommandTest, LeavesNothingBehindWhereFilesMayNotBeSoLarge)
{
    std::string entries;
    for (int i = 0; i < 3000; ++i)
        entries += "key" + std::to_string(i) + "=" + std::string(40, 'v') + "\n";
    write("big.dct", entries);
    write("out/old", "old");
    const RunResult run = shell("(ulimit -f 8; \"" LEXKIT "\" compile big.dct out/old)");
    EXPECT_EQ(run.code, 4) << run.err;
    EXPECT_EQ(read("out/old"), "old");
    const std::filesystem::directory_iterator left(path("out"));
    EXPECT_EQ(std::distance(begin(left), end(left)), 1);
}

TEST_F(LexkitCommandTest, EndsWithThreeForAFileThatIsNotThere)
{
    for (const std::string arguments :
        {"list none", "get none k", "compile none a", "text none a", "check none"}) {
        const RunResult run = lexkit(arguments);
        EXPECT_EQ(run.code, 3) << arguments;
        EXPECT_EQ(run.err, "lexkit: none: there is no such file\n") << arguments;
    }
}

TEST_F(LexkitCommandTest, EndsWithFourForAPlaceThatCannotBeUsed)
{
    write("a.dct", "k=v\n");
    EXPECT_EQ(lexkit("list .").code, 4);
    const RunResult run = lexkit("compile a.dct no-folder/b.dct");
    EXPECT_EQ(run.code, 4);
    EXPECT_THAT(run.err, HasSubstr("no-folder/b.dct: the file cannot be written: "));
    EXPECT_EQ(lexkit("text a.dct /dev/full/b").code, 4);
}

TEST_F(LexkitCommandTest, EndsWithFourWhenItsOutputCannotBeWritten)
{
    write("a.dct", "k=v\n");
    EXPECT_EQ(lexkit("list a.dct >/dev/full; exit $?; true").code, 4);
}

TEST_F(LexkitCommandTest, EndsWithTwoForWrongUsage)
{
    write("a.dct", "k=v\n");
    for (const std::string arguments : {"",
             "check",
             "list",
             "get a.dct",
             "compile a.dct",
             "list a.dct --utf8",
             "unknown",
             "list -e latin a.dct"})
        EXPECT_EQ(lexkit(arguments).code, 2) << arguments;
}

TEST_F(LexkitCommandTest, ShowsHelpAndVersion)
{
    EXPECT_EQ(lexkit("--help").code, 0);
    EXPECT_THAT(lexkit("--version").out, StartsWith("lexkit 0."));
    EXPECT_THAT(lexkit("compile --help").out, HasSubstr("--utf8"));
}

class LexkitPagesTest : public LexkitCommandTest {
protected:
    test::Words optionsOfTheProgram()
    {
        test::Words found;
        for (const std::string command : {"", "check", "list", "get", "compile", "text"})
            found.merge(test::longOptionsIn(lexkit(command + " --help").out));
        return found;
    }
};

TEST_F(LexkitPagesTest, TheManualPageNamesEveryOptionAndNoOther)
{
    EXPECT_EQ(test::optionsInPage(TEVORO_SOURCE_DIR "/docs/man/lexkit.1"), optionsOfTheProgram());
}

TEST_F(LexkitPagesTest, TheCompletionNamesEveryOptionAndNoOther)
{
    EXPECT_EQ(test::longOptionsIn(
                  test::read(TEVORO_SOURCE_DIR "/share/bash-completion/completions/lexkit")),
        optionsOfTheProgram());
}

// A literal is not what bash would make of its marks, however the user began to quote it.
TEST_F(LexkitPagesTest, TheCompletionQuotesLiteralsAsTheWordBegins)
{
    write("a b.dct", utf16File(u"\"$$$/App/Cancel=x\"\n\"$$$/Sum=y\"\n"));
    write("complete.sh",
        "PATH=${1%/*}:$PATH\n"
        "source '" TEVORO_SOURCE_DIR "/share/bash-completion/completions/lexkit'\n"
        "COMP_WORDS=(lexkit get \"'a b.dct'\" \"$2\")\n"
        "COMP_CWORD=3\n"
        "_lexkit\n"
        "printf '%s\\n' \"${COMPREPLY[@]}\"\n");
    const auto completed = [this](const std::string& word) {
        return shell("bash complete.sh '" LEXKIT "' " + word).out;
    };
    EXPECT_EQ(completed("''"), "\\$\\$\\$/App/Cancel\n\\$\\$\\$/Sum\n");
    EXPECT_EQ(completed(R"('\$\$\$/A')"), "\\$\\$\\$/App/Cancel\n");
    EXPECT_EQ(completed(R"(\''$$$/A')"), "$$$/App/Cancel\n");
    EXPECT_EQ(completed(R"('"\$\$\$/S')"), "\\$\\$\\$/Sum\n");
}

} // namespace
