#include "dialogs/PtProgressDialog.h"

#include "core/dialogs/support/DialogUser.h"
#include "core/dialogs/support/WatchedBlocks.h"

#include <QLabel>
#include <QProgressBar>
#include <QSignalSpy>

#include <cmath>
#include <vector>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using test::childOf;

namespace {

class PtProgressDialogTest : public testing::Test {
protected:
    // A dialog whose label and button do not matter.
    struct Bar : PtProgressDialog {
        explicit Bar(int totalSteps)
            : PtProgressDialog(nullptr, u"Copying"_s, u"Cancel"_s, totalSteps)
        {
        }
        int at(int step)
        {
            setProgress(step);
            return calculateMasterProgress();
        }
    };

    static QString labelFor(const QString& label)
    {
        return PtProgressDialog(nullptr, label, u"Cancel"_s, 1).labelText();
    }
};

bool call(PtProgressDialog& dialog, int progress, int newLevelSteps, bool levelFinished)
{
    return PtProgressDialog::progressCallback(&dialog, progress, newLevelSteps, levelFinished);
}

} // namespace

TEST_F(PtProgressDialogTest, IsAModalWindowOfFixedSizeWithoutAFrame)
{
    const Bar bar(10);
    EXPECT_TRUE(bar.isModal());
    EXPECT_EQ(bar.windowFlags() & ~Qt::WindowType_Mask,
        Qt::MSWindowsFixedSizeDialogHint | Qt::WindowTitleHint | Qt::FramelessWindowHint
            | Qt::CustomizeWindowHint);
    EXPECT_EQ(bar.objectName(), u"pt progress dialog"_s);
    EXPECT_EQ(bar.windowTitle(), u"Tevoro 4.0"_s);
    EXPECT_EQ(bar.minimum(), 0);
    EXPECT_EQ(bar.maximum(), 500);
}

TEST_F(PtProgressDialogTest, AddsAnEllipsisToALabelWithoutOne)
{
    EXPECT_EQ(labelFor(u"Copying"_s), u"Copying..."_s);
    EXPECT_EQ(labelFor(u"Copying.."_s), u"Copying....."_s);
}

TEST_F(PtProgressDialogTest, LeavesALabelThatHasAnEllipsisAnywhere)
{
    EXPECT_EQ(labelFor(u"Copying..."_s), u"Copying..."_s);
    EXPECT_EQ(labelFor(u"Copying... 3 photos"_s), u"Copying... 3 photos"_s);
}

TEST_F(PtProgressDialogTest, LeavesAnEmptyLabelEmpty)
{
    EXPECT_EQ(labelFor(QString()), QString());
}

TEST_F(PtProgressDialogTest, ShowsTheStepsOfOneLevelInFiveHundredUnits)
{
    Bar bar(10);
    EXPECT_EQ(bar.calculateMasterProgress(), 0);
    for (const auto& [step, units] : {std::pair(3, 150), {7, 350}, {10, 500}})
        EXPECT_EQ(bar.at(step), units);
}

TEST_F(PtProgressDialogTest, MovesTheBarAndTellsOfIt)
{
    Bar bar(10);
    bar.show();
    QSignalSpy told(&bar, &PtProgressDialog::signalProgressChanged);
    bar.setProgress(3);
    EXPECT_EQ(bar.value(), 150);
    ASSERT_EQ(told.count(), 1);
    EXPECT_EQ(told.at(0).at(0).toInt(), 150);
}

TEST_F(PtProgressDialogTest, HoldsProgressAtTheTotal)
{
    Bar bar(10);
    EXPECT_EQ(bar.at(11), 500);
    EXPECT_EQ(bar.getCurrentLevelProgress(), 10);
}

TEST_F(PtProgressDialogTest, GoesBackwardsAndBelowZeroWhenTold)
{
    Bar bar(10);
    EXPECT_EQ(bar.at(6), 300);
    EXPECT_EQ(bar.at(2), 100);
    EXPECT_EQ(bar.at(-3), -150);
    EXPECT_EQ(bar.getCurrentLevelProgress(), -3);
}

TEST_F(PtProgressDialogTest, RoundsDownBelowZeroToo)
{
    Bar bar(3);
    EXPECT_EQ(bar.at(-1), -167) << "not -166, to which a conversion alone would cut it";
    EXPECT_EQ(bar.at(1), 166);
}

TEST_F(PtProgressDialogTest, StaysWithinWhatANumberHoldsFarBelowZero)
{
    Bar bar(1);
    EXPECT_EQ(bar.at(std::numeric_limits<int>::min()), std::numeric_limits<int>::min());
}

TEST_F(PtProgressDialogTest, SharesOneStepAmongTheStepsOfALevelBelow)
{
    Bar bar(4);
    EXPECT_EQ(bar.at(1), 125);
    bar.createProgressLevel(10);
    EXPECT_EQ(bar.getCurrentLevelProgress(), 0);
    EXPECT_EQ(bar.at(5), 187);
    EXPECT_EQ(bar.at(10), 250);
}

TEST_F(PtProgressDialogTest, DeletesALevelThatIsFinished)
{
    Bar bar(4);
    const test::WatchedBlocks levels(sizeof(PtProgressStep));
    bar.createProgressLevel(10);
    bar.createProgressLevel(10);
    EXPECT_EQ(levels.alive(), 2);
    bar.setCurrentLevelFinished();
    EXPECT_EQ(levels.alive(), 1);
    bar.setCurrentLevelFinished();
    EXPECT_EQ(levels.alive(), 0);
}

TEST_F(PtProgressDialogTest, DeletesTheLevelsThatAreStillOpenAtItsEnd)
{
    const test::WatchedBlocks levels(sizeof(PtProgressStep));
    {
        Bar bar(4);
        bar.createProgressLevel(10);
        bar.createProgressLevel(10);
        EXPECT_GE(levels.alive(), 3);
    }
    EXPECT_EQ(levels.alive(), 0);
}

TEST_F(PtProgressDialogTest, LeavesTheBarUntilTheNextStepWhenALevelOpens)
{
    Bar bar(4);
    bar.show();
    bar.setProgress(1);
    QSignalSpy told(&bar, &PtProgressDialog::signalProgressChanged);
    bar.createProgressLevel(10);
    EXPECT_EQ(told.count(), 0);
    EXPECT_EQ(bar.value(), 125);
}

TEST_F(PtProgressDialogTest, DropsTheShareOfALevelThatIsFinished)
{
    Bar bar(4);
    bar.setProgress(1);
    bar.createProgressLevel(10);
    bar.setProgress(10);
    bar.setCurrentLevelFinished();
    EXPECT_EQ(bar.getCurrentLevelProgress(), 1) << "the caller advances the level above";
    EXPECT_EQ(bar.calculateMasterProgress(), 125);
    EXPECT_EQ(bar.at(2), 250);
}

TEST_F(PtProgressDialogTest, NestsToAnyDepth)
{
    Bar bar(2);
    for (int depth = 0; depth < 7; ++depth) {
        bar.setProgress(1);
        bar.createProgressLevel(2);
    }
    EXPECT_EQ(bar.getNewCoefficient(1), 1.0F / 256);
    EXPECT_EQ(bar.at(1), 498) << "500 x 255 / 256";
    for (int depth = 0; depth < 7; ++depth)
        bar.setCurrentLevelFinished();
    EXPECT_EQ(bar.calculateMasterProgress(), 250);
}

TEST_F(PtProgressDialogTest, WeighsAStepByTheLevelsAboveIt)
{
    Bar bar(4);
    EXPECT_EQ(bar.getNewCoefficient(1), 0.25F);
    EXPECT_EQ(bar.getNewCoefficient(10), 1.0F / 10 * 0.25F);
    bar.createProgressLevel(10);
    EXPECT_EQ(bar.getNewCoefficient(3), 1.0F / 3 * (1.0F / 10 * 0.25F));
}

// Two levels in every position, against the same sums in the same order. Some of them come out
// otherwise in double precision: without these the case would show nothing.
TEST_F(PtProgressDialogTest, CountsInSinglePrecision)
{
    int otherInDouble = 0;
    for (const auto& [outer, inner] : {std::pair(3, 7), {7, 3}, {10, 10}, {12, 25}}) {
        for (int i = 0; i <= outer; ++i) {
            Bar bar(outer);
            bar.setProgress(i);
            bar.createProgressLevel(inner);
            for (int j = 0; j <= inner; ++j) {
                const float step = 1.0F / static_cast<float>(outer);
                const float innerStep = 1.0F / static_cast<float>(inner) * step;
                const float first = static_cast<float>(i) * step;
                const float both = first + static_cast<float>(j) * innerStep;
                const float units = both * 500.0F;
                EXPECT_EQ(bar.at(j), static_cast<int>(std::floor(units))) << i << ' ' << j;
                const double exact = 500.0 * (1.0 * i / outer + 1.0 * j / inner / outer);
                otherInDouble += std::floor(exact) != std::floor(static_cast<double>(units));
            }
        }
    }
    EXPECT_GT(otherInDouble, 0);
}

TEST_F(PtProgressDialogTest, IsFullWithoutAnyLevel)
{
    Bar bar(4);
    bar.setProgress(1);
    bar.setCurrentLevelFinished();
    EXPECT_EQ(bar.getCurrentLevelProgress(), 0);
    EXPECT_EQ(bar.calculateMasterProgress(), 500);
    EXPECT_EQ(bar.getNewCoefficient(5), 1.0F / 5);
    QSignalSpy told(&bar, &PtProgressDialog::signalProgressChanged);
    int served = 0;
    QMetaObject::invokeMethod(
        &bar, [&served] { ++served; }, Qt::QueuedConnection);
    bar.setProgress(2);
    EXPECT_EQ(told.count(), 0);
    EXPECT_EQ(served, 1) << "events are served all the same";
}

TEST_F(PtProgressDialogTest, StaysAtNothingForAJobWithoutSteps)
{
    Bar bar(0);
    EXPECT_EQ(bar.at(0), 0);
    EXPECT_EQ(bar.at(5), 0);
    bar.createProgressLevel(3);
    EXPECT_EQ(bar.at(3), 0);
}

TEST_F(PtProgressDialogTest, DoesNothingInTheTwoEmptySlots)
{
    Bar bar(10);
    bar.setProgress(3);
    bar.setProgress(7, 9);
    bar.setTotalSteps(3);
    EXPECT_EQ(bar.getCurrentLevelProgress(), 3);
    EXPECT_EQ(bar.maximum(), 500);
    EXPECT_EQ(bar.at(6), 300);
}

TEST_F(PtProgressDialogTest, ServesEventsWithEachStep)
{
    Bar bar(10);
    int served = 0;
    QMetaObject::invokeMethod(
        &bar, [&served] { ++served; }, Qt::QueuedConnection);
    bar.setProgress(1);
    EXPECT_EQ(served, 1);
}

TEST_F(PtProgressDialogTest, ServesEventsInACallbackWithoutADialog)
{
    int served = 0;
    QMetaObject::invokeMethod(
        qApp, [&served] { ++served; }, Qt::QueuedConnection);
    EXPECT_TRUE(PtProgressDialog::progressCallback(nullptr, 3, 4, true));
    EXPECT_EQ(served, 1);
}

TEST_F(PtProgressDialogTest, AppliesTheFirstThatTheCallbackIsGiven)
{
    struct Row {
        int progress;
        int newLevelSteps;
        bool levelFinished;
        int step; // of the deepest level afterwards
        float weight; // of one of its steps
    };
    constexpr float kOuter = 1.0F / 4;
    constexpr float kInner = kOuter / 8;
    constexpr float kThird = kInner / 2;
    const std::vector<Row> rows{
        {-1, -1, false, 5, kInner}, // nothing is given, and nothing done
        {-1, -1, true, 1, kOuter},
        {-1, 2, false, 0, kThird},
        {-1, 2, true, 0, kThird},
        {0, -1, false, 0, kInner}, // only -1 means that it is not given
        {0, -1, true, 0, kInner},
        {6, -1, false, 6, kInner},
        {6, 2, true, 6, kInner},
        {6, 2, false, 6, kInner},
    };
    for (const Row& row : rows) {
        Bar bar(4);
        bar.setProgress(1);
        bar.createProgressLevel(8);
        bar.setProgress(5);
        EXPECT_TRUE(call(bar, row.progress, row.newLevelSteps, row.levelFinished));
        EXPECT_EQ(bar.getCurrentLevelProgress(), row.step)
            << row.progress << ' ' << row.newLevelSteps << ' ' << row.levelFinished;
        EXPECT_EQ(bar.getNewCoefficient(1), row.weight)
            << row.progress << ' ' << row.newLevelSteps << ' ' << row.levelFinished;
    }
}

TEST_F(PtProgressDialogTest, SetsProgressThroughTheVirtualSlot)
{
    struct Counting : Bar {
        using Bar::Bar;
        using PtProgressDialog::setProgress;
        void setProgress(int step) override { steps.push_back(step); }
        std::vector<int> steps;
    };
    Counting bar(10);
    EXPECT_TRUE(call(bar, 4, -1, false));
    EXPECT_EQ(bar.steps, std::vector{4});
}

TEST_F(PtProgressDialogTest, AppliesNothingOnceCancelWasPressed)
{
    Bar bar(10);
    bar.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&bar));
    bar.setProgress(3);
    auto& cancel = childOf<QPushButton>(bar, "cancel button");
    EXPECT_EQ(cancel.text(), u"Cancel"_s);
    QTest::mouseClick(&cancel, Qt::LeftButton);
    EXPECT_FALSE(cancel.isEnabled());
    EXPECT_FALSE(call(bar, 5, -1, false));
    EXPECT_FALSE(call(bar, -1, 4, false));
    EXPECT_FALSE(call(bar, -1, -1, true));
    EXPECT_FALSE(call(bar, -1, -1, false));
    EXPECT_EQ(bar.getCurrentLevelProgress(), 3);
    EXPECT_EQ(bar.getNewCoefficient(1), 1.0F / 10) << "no level was opened or closed";
}

TEST_F(PtProgressDialogTest, NoticesACancelThatComesInDuringAStep)
{
    Bar bar(10);
    bar.show();
    QTimer::singleShot(0, &bar, [&bar] { childOf<QPushButton>(bar, "cancel button").click(); });
    EXPECT_FALSE(call(bar, 5, -1, false)) << "events are served before the question";
    EXPECT_EQ(bar.getCurrentLevelProgress(), 0);
}

TEST_F(PtProgressDialogTest, CancelsOnEscape)
{
    Bar bar(10);
    bar.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&bar));
    QTest::keyClick(bar.windowHandle(), Qt::Key_Escape);
    EXPECT_FALSE(call(bar, 5, -1, false));
}

TEST_F(PtProgressDialogTest, HasNoCancelButtonWithoutAText)
{
    const PtProgressDialog bar(nullptr, u"Copying"_s, QString(), 3);
    EXPECT_TRUE(bar.findChildren<QPushButton*>().isEmpty());
}
