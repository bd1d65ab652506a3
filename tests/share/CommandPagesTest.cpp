// The manual page and the completion name what the program takes, and nothing else.

#include "support/CommandPages.h"

#include "support/TestFolder.h"

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

namespace {

using test::longOptionsIn;
using test::Words;

std::string outputOf(const std::string& command)
{
    std::string output;
    std::FILE* const pipe = ::popen(command.c_str(), "re");
    if (!pipe)
        return output;
    char piece[4096];
    while (const std::size_t length = std::fread(piece, 1, sizeof piece, pipe))
        output.append(piece, length);
    return ::pclose(pipe) == 0 ? output : std::string();
}

// The long options of the program and its commands.
Words optionsOfTheProgram()
{
    Words found;
    for (const std::string command : {"", "sources", "list", "download", "convert", "extract"})
        found.merge(test::optionsInHelp(outputOf(MFX " " + command + " --help")));
    return found;
}

std::string completion(const std::string& words, std::size_t place, const std::string& before = "")
{
    return outputOf("bash -c '" + before
        + "source \"" TEVORO_SOURCE_DIR "/share/bash-completion/completions/mfx\"; COMP_WORDS=("
        + words + "); COMP_CWORD=" + std::to_string(place)
        + "; _mfx; printf \"%s\\n\" \"${COMPREPLY[@]}\"'");
}

TEST(CommandPagesTest, TheManualPageNamesEveryOptionAndNoOther)
{
    ASSERT_GE(optionsOfTheProgram().size(), 19U);
    EXPECT_EQ(test::optionsInPage(TEVORO_SOURCE_DIR "/docs/man/mfx.1"), optionsOfTheProgram());
}

TEST(CommandPagesTest, TheCompletionOffersEveryOptionAndNoOther)
{
    Words offered;
    for (const char* const words :
        {"mfx --", "mfx sources --", "mfx list --", "mfx convert --", "mfx extract --"})
        offered.merge(longOptionsIn(completion(words, std::string(words) == "mfx --" ? 1 : 2)));
    offered.merge(longOptionsIn(completion("mfx download CARD --", 3)));
    EXPECT_EQ(offered, optionsOfTheProgram());
}

TEST(CommandPagesTest, TheCompletionOffersTheCommands)
{
    EXPECT_EQ(completion("mfx \"\"", 1), "sources\nlist\ndownload\nconvert\nextract\n");
    EXPECT_EQ(completion("mfx do", 1), "download\n");
}

TEST(CommandPagesTest, TheCompletionOffersFoldersWithSpacesWhole)
{
    const test::TestFolder folder;
    folder.write("my card/DCIM/a.jpg", "");
    const std::string start = folder.path("my");
    EXPECT_EQ(completion("mfx list " + start, 2), folder.path("my card") + "\n");
    EXPECT_EQ(completion("mfx download CARD --to " + start, 4), folder.path("my card") + "\n");
}

TEST(CommandPagesTest, TheCompletionOffersFilesToConvert)
{
    const test::TestFolder folder;
    folder.write("my card/A 1.CR2", "");
    const std::string file = folder.path("my card/A 1.CR2");
    for (const std::string command : {"convert", "extract"})
        EXPECT_EQ(
            completion("mfx " + command + " \"" + folder.path("my card/A") + "\"", 2), file + "\n");
    EXPECT_EQ(completion("mfx convert " + folder.path("my") + " --to " + folder.path("my"), 4),
        folder.path("my card") + "\n");
}

TEST(CommandPagesTest, TheCompletionOffersCardsWhoseNamesWereBegunWithQuotes)
{
    const std::string cards = "mfx() { printf \"MY CARD\\t/media/card\\n\"; }; ";
    for (const char* const begun : {"MY", R"("MY\\ C")", R"("\"MY C")"})
        EXPECT_EQ(completion(std::string("mfx list ") + begun, 2, cards), "MY CARD\n") << begun;
}

TEST(CommandPagesTest, TheCompletionOffersTheSizesOfAPreview)
{
    EXPECT_EQ(completion("mfx download CARD --dng-preview \"\"", 4), "none\nmedium\nfull\n");
    EXPECT_EQ(completion("mfx download CARD --dng-preview = m", 5), "medium\n");
}

} // namespace
