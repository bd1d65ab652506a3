#include "mfx/engine/run/Verdict.h"

#include "apps/mfx/texts/DictionaryFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;
using testing::Not;

namespace mfx {
namespace {

DownloadSummary allSaved()
{
    DownloadSummary summary;
    summary.items = 3;
    summary.saved = 2;
    summary.existing = 1;
    summary.proven = 3;
    return summary;
}

TEST(VerdictTest, CallsTheCardSafeWhenEverythingIsProven)
{
    DownloadSummary summary = allSaved();
    giveVerdict(summary);
    EXPECT_TRUE(summary.cardMayBeWiped);
    EXPECT_EQ(summary.verdict,
        "2 saved, 1 already present, 3 proven, 0 problems: the card may be wiped.");
}

TEST(VerdictTest, CountsBackupsWhereTheyAreWanted)
{
    DownloadSummary summary = allSaved();
    summary.backupWanted = true;
    summary.backups = 3;
    summary.converted = 1;
    summary.deleted = 2;
    giveVerdict(summary);
    EXPECT_EQ(summary.verdict,
        "2 saved, 1 already present, 3 backed up, 1 converted, 3 proven, 0 problems, 2 deleted "
        "from the card: the card may be wiped.");
}

TEST(VerdictTest, CountsDatesOfFilesWhereTheyGaveNames)
{
    DownloadSummary summary = allSaved();
    summary.datedByFile = 2;
    giveVerdict(summary);
    EXPECT_EQ(summary.verdict,
        "2 saved, 1 already present, 3 proven, 0 problems: the card may be wiped.");
    summary.datesAreUsed = true;
    giveVerdict(summary);
    EXPECT_EQ(summary.verdict,
        "2 saved, 1 already present, 2 dated by the file's time, 3 proven, 0 problems: the card "
        "may be wiped.");
}

struct UnsafeCase {
    const char* name;
    void (*spoil)(DownloadSummary&);
    const char* says;
};

void PrintTo(const UnsafeCase& row, std::ostream* out)
{
    *out << row.name;
}

class UnsafeVerdictTest : public testing::TestWithParam<UnsafeCase> { };

TEST_P(UnsafeVerdictTest, NeverCallsTheCardSafe)
{
    DownloadSummary summary = allSaved();
    GetParam().spoil(summary);
    giveVerdict(summary);
    EXPECT_FALSE(summary.cardMayBeWiped);
    EXPECT_THAT(summary.verdict, Not(HasSubstr("may be wiped")));
    EXPECT_THAT(summary.verdict, HasSubstr(GetParam().says));
}

constexpr UnsafeCase kUnsafe[] = {
    {"OneNotProven", [](DownloadSummary& s) { s.proven = 2; }, "Do not wipe the card"},
    {"OneProblem",
        [](DownloadSummary& s) { s.failed = s.unsafe = 1; },
        "1 problem. Do not wipe the card"},
    {"ProblemOfNoItem",
        [](DownloadSummary& s) {
            s.notSafe.push_back({"x", "names were not flushed"});
        },
        "Do not wipe the card"},
    {"NothingProvenAtAll",
        [](DownloadSummary& s) { s.proven = s.saved = s.existing = 0; },
        "Do not wipe the card"},
    {"PassedOver",
        [](DownloadSummary& s) {
            s.notHandled[NotHandledReason::kLink] = 2;
            s.mayHoldPhotos = 2;
        },
        "not handled: 2 x symbolic link"},
    {"OnlySomeAskedFor", [](DownloadSummary& s) { s.notAskedFor = 4; }, "4 not asked for"},
    {"Interrupted", [](DownloadSummary& s) { s.interrupted = true; }, "Interrupted: do not wipe"},
    {"InterruptedWithProblems",
        [](DownloadSummary& s) {
            s.interrupted = true;
            s.failed = 1;
        },
        "Interrupted: do not wipe"},
    {"CardTakenOut", [](DownloadSummary& s) { s.sourceGone = true; }, "no longer there: look"},
    {"DryRun", [](DownloadSummary& s) { s.dryRun = true; }, "2 would be saved"},
    {"DryRunOfNothing",
        [](DownloadSummary& s) {
            s = {};
            s.dryRun = true;
        },
        "Nothing was written."},
    {"NothingButUnknown",
        [](DownloadSummary& s) {
            s = {};
            s.mayHoldPhotos = 1;
        },
        "the card holds more"},
    {"CopiesOnTheCardsDevice",
        [](DownloadSummary& s) { s.copiesOnCardsDevice = true; },
        "on the same device as the originals: do not wipe it"},
    {"FilesWithoutBytes",
        [](DownloadSummary& s) {
            s.passedOver = {{PassedOverKind::kEmptyFile, NotHandledReason::kOther, 1, {"A.JPG"}}};
        },
        "the card holds more than these: files without bytes: A.JPG."},
};

INSTANTIATE_TEST_SUITE_P(Cases, UnsafeVerdictTest, testing::ValuesIn(kUnsafe), [](const auto& row) {
    return std::string(row.param.name);
});

TEST(VerdictTest, IsNotKeptFromItsWordByWhatHoldsNoPhotos)
{
    DownloadSummary summary = allSaved();
    summary.notHandled[NotHandledReason::kSystemFolder] = 1;
    giveVerdict(summary);
    EXPECT_TRUE(summary.cardMayBeWiped);
}

// A raw file that could not be converted is a raw file that was saved.
TEST(VerdictTest, TakesAFailedConversionForNoDanger)
{
    DownloadSummary summary = allSaved();
    summary.failed = 1;
    giveVerdict(summary);
    EXPECT_TRUE(summary.cardMayBeWiped);
}

TEST(VerdictTest, NamesUpToFiveOfEachKindThatItLeavesOnTheCard)
{
    DownloadSummary summary = allSaved();
    summary.passedOver = {{PassedOverKind::kNotHandled,
                              NotHandledReason::kSystemFolder,
                              7,
                              {"a", "b", "c", "d", "e"}},
        {PassedOverKind::kNotAskedFor, NotHandledReason::kOther, 1, {"x.JPG"}}};
    giveVerdict(summary);
    EXPECT_THAT(summary.verdict,
        HasSubstr("the card holds more than these: system folder: a, b, c, d, e and 2 more; not "
                  "asked for: x.JPG."));
}

TEST(VerdictTest, WarnsOfCopiesOnOneDisk)
{
    DownloadSummary summary = allSaved();
    summary.backupWanted = summary.copiesOnOneDisk = true;
    giveVerdict(summary);
    EXPECT_TRUE(summary.cardMayBeWiped);
    EXPECT_THAT(summary.verdict, HasSubstr("Both copies are on one disk."));
}

TEST(VerdictTest, SaysWhenThereIsNothing)
{
    DownloadSummary summary;
    giveVerdict(summary);
    EXPECT_FALSE(summary.cardMayBeWiped); // a card that was pulled out looks empty
    EXPECT_EQ(summary.verdict, "0 saved, 0 proven, 0 problems. There is nothing on the card.");
}

TEST(VerdictTest, CallsWhatIsProvenSafeWhenThereIsMore)
{
    DownloadSummary summary = allSaved();
    summary.notAskedFor = 1;
    giveVerdict(summary);
    EXPECT_THAT(summary.verdict, HasSubstr("All these are safe"));
}

using TranslatedVerdictTest = DictionaryFixture;

TEST_F(TranslatedVerdictTest, IsOneSentenceInTheOrderOfTheLanguage)
{
    speak(u"\"$$$/Mfx/Verdict/SavedOne=%1 Bild gesichert\"\n"
          u"\"$$$/Mfx/Verdict/Saved=%1 Bilder gesichert\"\n"
          u"\"$$$/Mfx/Verdict/ListJoin=%1 und %2\"\n"
          u"\"$$$/Mfx/Verdict/NotHandled=ausgelassen %2 (%1)\"\n"
          u"\"$$$/Mfx/NotHandled/Link=Verweis\"\n"
          u"\"$$$/Mfx/Verdict/DoNotWipe=Karte behalten! %1\"\n");
    DownloadSummary summary;
    summary.items = summary.saved = 1;
    summary.failed = 2;
    summary.notHandled = {{NotHandledReason::kLink, 3}, {NotHandledReason::kSocket, 1}};
    giveVerdict(summary);
    EXPECT_EQ(summary.verdict,
        "Karte behalten! ausgelassen 1 x socket und 3 x Verweis (1 Bild gesichert und 0 proven und "
        "2 problems)");
}

} // namespace
} // namespace mfx
