// Numbers of {seq}: where they begin, who gets one, and what has one already.

#include "e2e/support/MfxRun.h"

#include <fstream>

#include <gmock/gmock.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::Pair;

namespace e2e {

class DownloadSequenceTest : public MfxTest {
protected:
    using Files = std::map<std::string, std::string>;

    RunResult number(const std::vector<std::string>& more = {})
    {
        std::vector<std::string> words{"--rename", "P{seq:3}"};
        words.insert(words.end(), more.begin(), more.end());
        return download(words);
    }

    void stand(const std::string& name, const std::string& content)
    {
        fs::create_directories((target() / name).parent_path());
        std::ofstream(target() / name) << content;
    }

    static std::vector<std::string> savedNames(const RunResult& result)
    {
        std::vector<std::string> names;
        for (const Json& item : result.events("item"))
            names.push_back(fs::path(item["saved"]).filename());
        return names;
    }
};

TEST_F(DownloadSequenceTest, GoesOnBehindTheLastNumberInTheTarget)
{
    addFile("A.JPG", "photo");
    stand("P041.JPG", "another photo");
    stand("Q077.JPG", "of another pattern");
    ASSERT_EQ(number().code, 0);
    EXPECT_TRUE(fs::exists(target() / "P042.JPG"));
}

TEST_F(DownloadSequenceTest, GoesOnBehindTheRememberedNumberWhereThatIsGreater)
{
    setVariable("MFX_APPLICATION_DATA", root() / "store");
    addFile("A.JPG", "photo");
    ASSERT_EQ(number({"--seq-start", "50", "--remember"}).code, 0);
    fs::remove_all(target());
    stand("P041.JPG", "another photo");
    ASSERT_EQ(number().code, 0);
    EXPECT_TRUE(fs::exists(target() / "P051.JPG"));
}

TEST_F(DownloadSequenceTest, BeginsWhereItIsToldWhateverStandsThere)
{
    addFile("A.JPG", "photo");
    stand("P041.JPG", "another photo");
    ASSERT_EQ(number({"--seq-start", "7"}).code, 0);
    EXPECT_TRUE(fs::exists(target() / "P007.JPG"));
}

TEST_F(DownloadSequenceTest, LooksInAllSubfoldersWhereItSavesIntoSuch)
{
    addFile("A.JPG", "photo");
    stand("2020/P041.JPG", "another photo");
    ASSERT_EQ(number({"--subfolders", "%Y"}).code, 0);
    EXPECT_TRUE(fs::exists(target() / "2026/P042.JPG"));
    fs::remove_all(target() / "2026");
    ASSERT_EQ(number().code, 0);
    EXPECT_TRUE(fs::exists(target() / "P001.JPG")) << "the folders below are none of its own";
}

TEST_F(DownloadSequenceTest, KnowsAPhotoThatStandsThereUnderAnotherNumber)
{
    addFile("A.CR2", "raw");
    addFile("A.JPG", "jpeg");
    addFile("B.JPG", "other");
    ASSERT_EQ(number({"--seq-start", "5"}).code, 0);
    const Files before = filesIn(target());
    const RunResult again = number();
    EXPECT_EQ(again.code, 0);
    EXPECT_EQ(filesIn(target()), before);
    EXPECT_EQ(again.summary()["existing"], 3);
    EXPECT_EQ(again.summary()["proven"], 3);
    EXPECT_THAT(savedNames(again), ElementsAre("P005.CR2", "P005.JPG", "P006.JPG"));
    EXPECT_EQ(again.item("B.JPG")["status"], "exists");
}

TEST_F(DownloadSequenceTest, LeavesNoGapsForWhatIsThereAlready)
{
    addFile("B.JPG", "b");
    addFile("D.JPG", "d");
    ASSERT_EQ(number().code, 0); // P001 and P002
    for (const char* name : {"A", "C", "E"})
        addFile(std::string(name) + ".JPG", name);
    const RunResult plan = number({"--dry-run"});
    const RunResult run = number();
    EXPECT_THAT(
        savedNames(run), ElementsAre("P003.JPG", "P001.JPG", "P004.JPG", "P002.JPG", "P005.JPG"));
    EXPECT_EQ(savedNames(plan), savedNames(run)) << "what is shown is what is done";
    EXPECT_EQ(filesIn(target()).size(), 5U);
}

TEST_F(DownloadSequenceTest, LeavesNoGapsForWhatFailed)
{
    addFile("A.JPG", "a");
    addFile("B.JPG", "b");
    addFile("C.JPG", "c");
    fs::permissions(card() / "DCIM/100MFX/B.JPG", fs::perms::none);
    for (const char* folder : {"home", "run", "data"})
        fs::permissions(root() / folder, fs::perms::all);
    asOrdinaryUser(::geteuid() == 0);
    const RunResult result = number();
    EXPECT_EQ(result.item("B.JPG")["status"], "failed");
    EXPECT_THAT(filesIn(target()), ElementsAre(Pair("P001.JPG", "a"), Pair("P002.JPG", "c")));
}

TEST_F(DownloadSequenceTest, RemembersTheNumberBehindTheLastOneGiven)
{
    setVariable("MFX_APPLICATION_DATA", root() / "store");
    addFile("A.JPG", "a");
    addFile("B.JPG", "b");
    ASSERT_EQ(number({"--remember"}).code, 0);
    ASSERT_EQ(number({"--remember"}).code, 0); // both are there already
    fs::remove_all(target());
    addFile("C.JPG", "c");
    ASSERT_EQ(number().code, 0);
    EXPECT_THAT(filesIn(target()),
        ElementsAre(Pair("P003.JPG", "a"), Pair("P004.JPG", "b"), Pair("P005.JPG", "c")));
}

} // namespace e2e
