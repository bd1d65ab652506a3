#include "mfx/cli/RequestFromOptions.h"

#include "commandline/ExitCode.h"
#include "support/TestFolder.h"

#include <filesystem>

#include <gtest/gtest.h>

namespace mfx {
namespace {

class RequestFromOptionsTest : public testing::Test {
protected:
    // The request as a run has it in the end.
    DownloadRequest request(
        const RememberedChoices& remembered = {}, const PanelChoices& panel = {}) const
    {
        RequestFromOptions options(line);
        options.addRemembered(remembered);
        options.addPanel(panel);
        return options.request();
    }

    Choices choices() const { return RequestFromOptions(line).choices(); }

    // What is said of the patterns on the command line; nothing when they are sound.
    std::string usageProblem() const
    {
        try {
            const RequestFromOptions options(line);
        } catch (const CommandError& error) {
            EXPECT_EQ(error.code(), ExitCode::kUsage);
            return error.what();
        }
        return "";
    }

    CommandLine line;
};

TEST_F(RequestFromOptionsTest, AsksForNothingThatWasNotSaid)
{
    line.target = "/photos";
    const DownloadRequest request = this->request();
    EXPECT_EQ(request.target, "/photos");
    EXPECT_EQ(request.backupFolder, std::nullopt);
    EXPECT_EQ(request.firstSequence, 1U);
    EXPECT_FALSE(request.rules.rename);
    EXPECT_FALSE(request.rules.subfolders);
    EXPECT_FALSE(request.beginsAtFirst || request.convertsToDNG || request.wantsDNG
        || request.deletesOriginals || request.dryRun);
    EXPECT_FALSE(request.wasInterrupted());
}

TEST_F(RequestFromOptionsTest, ResolvesPathsBeforeTheWorkingFolderChanges)
{
    line.target = "photos";
    line.backup = "second/";
    const std::string here = std::filesystem::current_path();
    EXPECT_EQ(request().target, here + "/photos");
    EXPECT_EQ(choices().backupFolder, here + "/second");
}

TEST_F(RequestFromOptionsTest, TakesThePlacesAsTheyStandWithoutLinks)
{
    line.target = "/link";
    line.backup = "/other";
    RequestFromOptions options(line);
    options.setSource("NO_NAME");
    options.setPlaces("/real", "/second");
    EXPECT_EQ(options.request().sourceName, "NO_NAME");
    EXPECT_EQ(options.request().target, "/real");
    EXPECT_EQ(options.choices().backupFolder, "/second");
    EXPECT_EQ(options.request().backupFolder, std::nullopt) << "the preferences say where it is";
}

TEST_F(RequestFromOptionsTest, ReadsThePatterns)
{
    line.rename = "{name}_{seq:3}";
    line.subfolders = "%Y";
    const DownloadRequest request = this->request();
    EXPECT_TRUE(request.rules.useNumbers());
    EXPECT_TRUE(request.rules.useDates());
}

TEST_F(RequestFromOptionsTest, RefusesPatternsThatAreNone)
{
    EXPECT_EQ(usageProblem(), "");
    line.rename = "{seq}";
    EXPECT_NE(usageProblem(), "");
    line.rename.clear();
    line.subfolders = "%Y//%m";
    EXPECT_NE(usageProblem(), "");
}

TEST_F(RequestFromOptionsTest, LeavesOpenWhatThePreferencesDecide)
{
    const Choices open = choices();
    EXPECT_EQ(open.opensBrowser, std::nullopt);
    EXPECT_EQ(open.convertsToDNG, std::nullopt);
    EXPECT_EQ(open.dngPreview, std::nullopt);
    EXPECT_EQ(open.backupFolder, std::nullopt);
}

TEST_F(RequestFromOptionsTest, PassesEachChoiceOn)
{
    line.open = true;
    line.noDNG = true;
    line.noBackup = true;
    line.deleteOriginals = true;
    line.dngUncompressed = true;
    line.dngEmbedRaw = true;
    const Choices made = choices();
    EXPECT_EQ(made.opensBrowser, true);
    EXPECT_EQ(made.convertsToDNG, false);
    EXPECT_TRUE(made.makesNoBackup && made.deletesOriginals);
    EXPECT_TRUE(made.dngUncompressed && made.dngEmbedRaw);
    EXPECT_FALSE(made.dngLinear);
}

TEST_F(RequestFromOptionsTest, KnowsTheSizesOfPreviews)
{
    const std::pair<const char*, int> rows[] = {{"none", 0}, {"medium", 1}, {"full", 2}};
    for (const auto& [word, size] : rows) {
        line.dngPreview = word;
        EXPECT_EQ(choices().dngPreview, size) << word;
    }
}

TEST_F(RequestFromOptionsTest, BeginsWithTheNumberOfTheCommandLineBeforeTheRememberedOne)
{
    EXPECT_EQ(request({true, std::nullopt, 42}).firstSequence, 42U);
    line.seqStart = 7;
    const DownloadRequest asked = request({true, std::nullopt, 42});
    EXPECT_EQ(asked.firstSequence, 7U);
    EXPECT_TRUE(asked.beginsAtFirst);
}

TEST_F(RequestFromOptionsTest, BacksUpWhereThePreferencesOfTheRunSay)
{
    EXPECT_EQ(request({true, "/second", 1}).backupFolder, "/second");
}

TEST_F(RequestFromOptionsTest, WantsDNGThoughThePluginCannotMakeAny)
{
    line.dng = true;
    EXPECT_TRUE(request().wantsDNG);
    EXPECT_FALSE(request().convertsToDNG);
    EXPECT_TRUE(request({}, {true, false}).convertsToDNG);
}

TEST_F(RequestFromOptionsTest, DeletesOnlyWhereCommandLinePanelAndPreferencesAgree)
{
    struct Row {
        bool asked;
        bool checked;
        bool whole;
        bool deletes;
    };
    const Row rows[] = {{true, true, true, true},
        {false, true, true, false}, // remembered from an earlier run
        {true, false, true, false},
        {true, true, false, false}}; // the preferences may name a second copy
    for (const Row& row : rows) {
        line.deleteOriginals = row.asked;
        EXPECT_EQ(request({row.whole, std::nullopt, 1}, {false, row.checked}).deletesOriginals,
            row.deletes)
            << row.asked << row.checked << row.whole;
    }
}

TEST_F(RequestFromOptionsTest, StartsFromTheStoreThatIsNamed)
{
    const auto storeOf = [this](const std::string& preferences) {
        line.preferences = preferences;
        return RequestFromOptions(line).storeFolder();
    };
    const test::TestFolder folder;
    EXPECT_EQ(storeOf("none"), std::nullopt);
    EXPECT_EQ(storeOf(""), SessionPreferences::userStoreFolder());
    EXPECT_EQ(storeOf(folder.path()), folder.path());
}

} // namespace
} // namespace mfx
