#include "core/TevoroAppManager/support/SinkFixture.h"

#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char kCopied[] =
    "message 17 [Files Successfully Copied] Files have been successfully copied to ";
constexpr char kAsked[] =
    "question 28/1 [Velmo Tevoro NX] Files have been successfully copied to /t. Do you want to "
    "delete these files from your camera, or card reader?";
constexpr char kBegun2[] = "begin 2 [Deleting Photos...] [Cancel] 0";
constexpr char kDone[] =
    "finish 1 [Velmo Tevoro NX] Your files have been successfully deleted from "
    "your camera, or card reader.";
constexpr char kRefused[] =
    "finish 0 [Velmo Tevoro NX] One or more files cannot be deleted. This may be because the "
    "files have been locked.";
constexpr char kGone[] = "finish 0 [Velmo Tevoro NX] Device is not connected or is busy.";

// What the host's callback leaves for each item in turn; the last holds for all that follow.
std::vector<long> gOutcomes;
std::vector<long> gDeleted;

bool deleteItem(long& key)
{
    const std::size_t turn = std::min(gDeleted.size(), gOutcomes.size() - 1);
    gDeleted.push_back(key);
    key = gOutcomes[turn];
    return false; // the plug-in does not read the result
}

class CompletionTest : public test::SinkFixture {
protected:
    void SetUp() override
    {
        gOutcomes = {0};
        gDeleted.clear();
        openWithPanel();
    }

    ISink3& sink() { return face<ISink3>(37); }

    FxStatus push(test::HostItems& items, FxPerItemCallback callback = deleteItem)
    {
        unsigned long count = 0x5555;
        const FxStatus status =
            sink().PushAllMediaItems(items, m_display, count, nullptr, callback);
        EXPECT_EQ(count, 0x5555U);
        EXPECT_TRUE(items.isRecordWellMade);
        EXPECT_EQ(items.unexpectedCalls, 0);
        EXPECT_TRUE(m_display.allNull);
        return status;
    }
    std::vector<std::string> pushed(std::vector<std::string> folders)
    {
        test::HostItems items(std::move(folders));
        EXPECT_EQ(push(items), kFxOk);
        return journal.take();
    }

    // Counts failed conversions, as a download of unreadable raw files does.
    void failConversions(int count)
    {
        panel.check("dng_checkbox");
        CPropSinkMediaItem item;
        item.tag = 3;
        item.size = 2104;
        test::put(item.folder, "/nowhere");
        test::put(item.fileName, "a.cr2");
        for (int i = 0; i < count; ++i)
            EXPECT_EQ(face<IMFXPostProcessing2>(66).DoPostProcessing(
                          &item, nullptr, nullptr, nullptr, nullptr, nullptr),
                kFxWarnPostProcess);
        panel.check("dng_checkbox", false);
    }

    // The user wants the originals deleted, and says so when asked.
    void wantDeletion(int answer = 6)
    {
        panel.check("deletefiles_checkbox");
        m_display.answer = answer;
        face<ISinkProgressDialog>(64).SetProgressHandler(&m_progress);
    }

    test::HostDisplay m_display{journal};
    test::HostProgress m_progress{journal};
};

} // namespace

TEST_F(CompletionTest, NamesTheOneFolderOfAllItems)
{
    EXPECT_THAT(pushed({"/t/a", "/t/a", "/t/a"}), ElementsAre(std::string(kCopied) + "/t/a"));
}

TEST_F(CompletionTest, NamesTheParentOfTheFirstOfSeveralFolders)
{
    EXPECT_THAT(pushed({"/t/2024/a", "/t/2024/b"}), ElementsAre(std::string(kCopied) + "/t/2024"));
}

TEST_F(CompletionTest, NamesTheParentOfTheFirstHoweverDeepTheOtherLies)
{
    EXPECT_THAT(pushed({"/t/a", "/t/a/b/c/d"}), ElementsAre(std::string(kCopied) + "/t"));
    EXPECT_THAT(pushed({"/t/a/b/c", "/u"}), ElementsAre(std::string(kCopied) + "/t/a/b"));
}

TEST_F(CompletionTest, TakesFoldersInAnotherCaseForOthers)
{
    EXPECT_THAT(pushed({"/t/a", "/t/A"}), ElementsAre(std::string(kCopied) + "/t"));
}

TEST_F(CompletionTest, StopsItsWalkAtTheFirstOtherFolder)
{
    EXPECT_THAT(pushed({"/t/a", "/t/a", "/t/b", "/u/c"}), ElementsAre(std::string(kCopied) + "/t"));
}

TEST_F(CompletionTest, NamesNoFolderForNoItems)
{
    EXPECT_THAT(pushed({}), ElementsAre(kCopied));
}

TEST_F(CompletionTest, NamesTheParentWhenTheFirstFolderIsEmptyText)
{
    // The folder above the empty path is the working folder's own.
    const auto lines = pushed({"", "/t"});
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_THAT(lines[0], testing::StartsWith(kCopied));
}

TEST_F(CompletionTest, TellsOfFailedConversionsInsteadOfCopiedFiles)
{
    failConversions(3);
    EXPECT_THAT(pushed({"/t"}),
        ElementsAre("message 33 [Files Successfully Copied] Files Successfully Copied to /t. "
                    "However, DNG Conversion failed for 3 file(s)."));
}

TEST_F(CompletionTest, ShowsAFolderWithPlaceMarksAsItStands)
{
    failConversions(3);
    EXPECT_THAT(pushed({"/%1/%2/%L1"}),
        ElementsAre(testing::HasSubstr("Copied to /%1/%2/%L1. However, DNG Conversion failed for "
                                       "3 file(s).")));
}

TEST_F(CompletionTest, GoesOnCountingFailuresInTheNextDownload)
{
    failConversions(2);
    pushed({"/t"});
    failConversions(1);
    EXPECT_THAT(pushed({"/t"}), ElementsAre(testing::HasSubstr("failed for 3 file(s)")));
}

TEST_F(CompletionTest, TellsOfFailedConversionsBeforeItAsksForDeletion)
{
    failConversions(1);
    wantDeletion(1);
    EXPECT_THAT(pushed({"/t"}), ElementsAre(testing::StartsWith("message 33"), kAsked));
}

TEST_F(CompletionTest, KeepsSilentWhenTheApplicationIsToBeLaunched)
{
    panel.check("launchtevoro_checkbox");
    EXPECT_THAT(pushed({"/t"}), IsEmpty());
}

TEST_F(CompletionTest, AsksForDeletionWhetherOrNotItLaunches)
{
    wantDeletion(1);
    EXPECT_THAT(pushed({"/t"}), ElementsAre(kAsked));
    panel.check("launchtevoro_checkbox");
    EXPECT_THAT(pushed({"/t"}), ElementsAre(kAsked));
}

TEST_F(CompletionTest, TakesMissingCheckBoxesForOff)
{
    close();
    panel.removeAll();
    openWithPanel();
    EXPECT_THAT(pushed({"/t"}), ElementsAre(std::string(kCopied) + "/t"));
}

TEST_F(CompletionTest, RefusesASourceRecordThatTheHostHasChanged)
{
    const std::vector<std::function<void(CPropSource&)>> changes = {
        [](CPropSource& record) { record.tag = 3; },
        [](CPropSource& record) { record.size = 3639; },
        [](CPropSource& record) { record.size = 0; }};
    for (const auto& change : changes) {
        test::HostItems items({"/t"});
        items.changeSource = change;
        EXPECT_EQ(push(items), kFxErrBadRecord);
        EXPECT_THAT(journal.take(), IsEmpty());
    }
}

TEST_F(CompletionTest, PassesOverWhatTheHostAnswersOtherwise)
{
    test::HostItems items({"/t"});
    items.sourceStatus = kFxErrException;
    items.countStatus = kFxErrException;
    EXPECT_EQ(push(items), kFxOk);
    EXPECT_THAT(journal.take(), ElementsAre(std::string(kCopied) + "/t"));
}

TEST_F(CompletionTest, KeepsNoReferenceOnWhatTheHostHandsIn)
{
    test::HostItems items({"/t", "/u"});
    EXPECT_EQ(push(items), kFxOk);
    EXPECT_EQ(items.references, 0);
    EXPECT_EQ(m_display.references, 0);
}

TEST_F(CompletionTest, DoesNothingWithoutAMessageHandler)
{
    wantDeletion();
    test::HostItems items({"/t"});
    unsigned long count = 0;
    EXPECT_EQ(sink().PushAllMediaItems(items, count, nullptr, deleteItem), kFxOk);
    EXPECT_THAT(journal.take(), IsEmpty());
    EXPECT_THAT(gDeleted, IsEmpty());
}

TEST_F(CompletionTest, DeletesNothingOnANo)
{
    wantDeletion(1);
    EXPECT_THAT(pushed({"/t", "/t"}), ElementsAre(kAsked));
    EXPECT_THAT(gDeleted, IsEmpty());
}

TEST_F(CompletionTest, TakesAnyOtherAnswerForAYes)
{
    for (const int answer : {0, 2, -1}) {
        gDeleted.clear();
        wantDeletion(answer);
        EXPECT_THAT(pushed({"/t", "/t"}), ElementsAre(kAsked, kBegun2, "step", "step", kDone));
        EXPECT_THAT(gDeleted, ElementsAre(100, 101)) << answer;
    }
}

TEST_F(CompletionTest, RunsToTheEndWithoutACallback)
{
    wantDeletion();
    test::HostItems items({"/t", "/t"});
    EXPECT_EQ(push(items, nullptr), kFxOk);
    EXPECT_THAT(journal.take(), ElementsAre(kAsked, kBegun2, kDone));
}

TEST_F(CompletionTest, EndsWhenTheDeviceHasGone)
{
    wantDeletion();
    gOutcomes = {2};
    EXPECT_THAT(pushed({"/t", "/t"}), ElementsAre(kAsked, kBegun2, kGone));
    EXPECT_THAT(gDeleted, ElementsAre(100));
}

TEST_F(CompletionTest, TellsOfTheGoneDeviceAloneAfterARefusal)
{
    wantDeletion();
    gOutcomes = {1, 2};
    EXPECT_THAT(pushed({"/t", "/t"}), ElementsAre(kAsked, kBegun2, "step", kGone));
}

TEST_F(CompletionTest, TriesAllItemsThoughSomeAreRefused)
{
    wantDeletion();
    for (const auto& outcomes : {std::vector<long>{1}, {0, 1}, {1, 0}, {-1, 0}, {3, 0}}) {
        gDeleted.clear();
        gOutcomes = outcomes;
        EXPECT_THAT(pushed({"/t", "/t"}), ElementsAre(kAsked, kBegun2, "step", "step", kRefused));
        EXPECT_THAT(gDeleted, ElementsAre(100, 101));
    }
}

TEST_F(CompletionTest, StopsWhereTheUserCancelsAndSaysNoMore)
{
    wantDeletion();
    m_progress.cancelAtStep = 1;
    EXPECT_THAT(pushed({"/t", "/t"}), ElementsAre(kAsked, kBegun2, "step"));
    EXPECT_THAT(gDeleted, ElementsAre(100));
}

TEST_F(CompletionTest, SaysNoMoreWhenTheLastStepIsCancelled)
{
    wantDeletion();
    m_progress.cancelAtStep = 2;
    EXPECT_THAT(pushed({"/t", "/t"}), ElementsAre(kAsked, kBegun2, "step", "step"));
}

TEST_F(CompletionTest, DeletesTheFirstItemThoughItWasCancelledAtOnce)
{
    wantDeletion();
    m_progress.cancelAtStep = 0;
    EXPECT_THAT(pushed({"/t", "/t"}), ElementsAre(kAsked, kBegun2, "step"));
    EXPECT_THAT(gDeleted, ElementsAre(100));
}

TEST_F(CompletionTest, BeginsTheNextDeletionUncancelled)
{
    wantDeletion();
    m_progress.cancelAtStep = 1;
    pushed({"/t", "/t"});
    m_progress.cancelAtStep = -1;
    const std::vector<std::string> lines = pushed({"/t", "/t"});
    EXPECT_THAT(lines, ElementsAre(kAsked, kBegun2, "step", "step", kDone));
}

TEST_F(CompletionTest, TellsOfARefusalThoughItWasCancelled)
{
    wantDeletion();
    gOutcomes = {1};
    m_progress.cancelAtStep = 1;
    EXPECT_THAT(pushed({"/t", "/t"}), ElementsAre(kAsked, kBegun2, "step", kRefused));
}

TEST_F(CompletionTest, TellsOfSuccessWhenThereIsNothingToDelete)
{
    wantDeletion();
    const auto lines = pushed({});
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[1], "begin 0 [Deleting Photos...] [Cancel] 0");
    EXPECT_EQ(lines[2], kDone);
}

TEST_F(CompletionTest, DeletesNothingWhereNoProgressCanBeShown)
{
    wantDeletion();
    face<ISinkProgressDialog>(64).SetProgressHandler(nullptr);
    EXPECT_THAT(pushed({"/t"}), ElementsAre(kAsked));
    EXPECT_THAT(gDeleted, IsEmpty());
}

TEST_F(CompletionTest, NamesTheSourceFolderOfSeveralInTheQuestion)
{
    wantDeletion(1);
    EXPECT_THAT(pushed({"/t/a", "/t/b"}), ElementsAre(kAsked));
}
