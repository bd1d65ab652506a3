#include "dialogs/PtMessageBox.h"

#include "core/dialogs/support/LayoutParts.h"
#include "core/dialogs/support/MessageBoxUser.h"

#include <QCheckBox>
#include <QFontMetrics>
#include <QHBoxLayout>
#include <QLabel>
#include <QScreen>
#include <QStyle>
#include <QVBoxLayout>

#include <memory>
#include <vector>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using test::button;
using test::childOf;
using test::clickOnNextDialog;
using test::displayButtons;
using test::expectSpacer;
using test::hasChild;
using test::kFive;
using test::kStillOpen;
using test::pressKeyOnNextDialog;

namespace {

// What a box is made of; what a test does not name is left out of the box.
struct BoxParts {
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QString caption;
    QString text = u"text"_s;
    std::array<QString, 5> buttons;
    int escapeResult = 7;
    QString checkBoxText;
    bool checkBoxChecked = false;
    int defaultButton = -1;
};

std::unique_ptr<PtMessageBox> makeBox(const BoxParts& parts)
{
    return std::make_unique<PtMessageBox>(nullptr,
        parts.icon,
        parts.caption,
        parts.text,
        parts.buttons[0],
        parts.buttons[1],
        parts.buttons[2],
        parts.buttons[3],
        parts.buttons[4],
        parts.escapeResult,
        parts.checkBoxText,
        parts.checkBoxChecked,
        parts.defaultButton);
}

std::unique_ptr<PtMessageBox> makeBoxWithText(const QString& text)
{
    BoxParts parts;
    parts.text = text;
    return makeBox(parts);
}

int widthOf(const QString& text)
{
    return QFontMetrics(QApplication::font()).horizontalAdvance(text);
}

// Made of wide and narrow letters until the font makes it exactly that wide; empty if it cannot.
QString textOfWidth(int width)
{
    for (int wide = 0; wide < 40; ++wide) {
        for (int narrow = 0; narrow < 12; ++narrow) {
            const QString start = QString(wide, u'm') + QString(narrow, u'i');
            for (int thin = 0; thin < 12 && widthOf(start) <= width; ++thin) {
                const QString text = start + QString(thin, u'r');
                if (widthOf(text) == width)
                    return text;
            }
        }
    }
    return {};
}

bool hasButton(const QWidget& box, int number)
{
    return hasChild<QPushButton>(box, ("messageBox.button" + std::to_string(number)).c_str());
}

} // namespace

TEST(PtMessageBoxTest, IsAModalWindowOfFixedSizeWithoutAFrame)
{
    const auto box = makeBox({});
    EXPECT_TRUE(box->isModal());
    EXPECT_EQ(box->windowFlags() & ~Qt::WindowType_Mask,
        Qt::MSWindowsFixedSizeDialogHint | Qt::WindowTitleHint | Qt::FramelessWindowHint
            | Qt::CustomizeWindowHint);
    EXPECT_EQ(box->windowType(), Qt::Dialog);
    EXPECT_TRUE(box->objectName().isEmpty());
}

TEST(PtMessageBoxTest, BelongsToItsParent)
{
    const QWidget parent;
    const PtMessageBox box(&parent,
        QMessageBox::NoIcon,
        QString(),
        u"text"_s,
        QString(),
        QString(),
        QString(),
        QString(),
        QString(),
        0,
        QString(),
        false,
        -1);
    EXPECT_EQ(box.parentWidget(), &parent);
}

TEST(PtMessageBoxTest, TakesItsCaptionAsTitle)
{
    BoxParts parts;
    parts.caption = u"Copying"_s;
    EXPECT_EQ(makeBox(parts)->windowTitle(), u"Copying"_s);
}

TEST(PtMessageBoxTest, LeavesTheTitleUnsetWithoutACaption)
{
    const auto box = makeBox({});
    EXPECT_TRUE(box->windowTitle().isNull());
}

TEST(PtMessageBoxTest, ShowsTheIconThatTheStyleHasForIt)
{
    struct Row {
        QMessageBox::Icon icon;
        QStyle::StandardPixmap pixmap;
    };
    for (const Row& row : {Row{QMessageBox::Warning, QStyle::SP_MessageBoxWarning},
             Row{QMessageBox::Critical, QStyle::SP_MessageBoxCritical},
             Row{QMessageBox::Information, QStyle::SP_MessageBoxInformation},
             Row{QMessageBox::Question, QStyle::SP_MessageBoxQuestion}}) {
        BoxParts parts;
        parts.icon = row.icon;
        const auto box = makeBox(parts);
        const auto& label = childOf<QLabel>(*box, "messageBox.icon");
        const int side = box->style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, nullptr);
        EXPECT_FALSE(label.isHidden());
        EXPECT_EQ(label.pixmap().toImage(),
            box->style()->standardIcon(row.pixmap).pixmap(side, side).toImage())
            << row.icon;
        EXPECT_GT(label.pixmap().width(), 0);
        EXPECT_EQ(label.minimumWidth(), label.pixmap().width());
        EXPECT_EQ(label.maximumWidth(), label.pixmap().width());
    }
}

TEST(PtMessageBoxTest, HidesTheIconLabelWithoutAnIcon)
{
    const auto box = makeBox({});
    const auto& label = childOf<QLabel>(*box, "messageBox.icon");
    EXPECT_TRUE(label.isHidden());
    EXPECT_TRUE(label.pixmap().isNull());
    EXPECT_EQ(label.minimumWidth(), label.maximumWidth());
}

TEST(PtMessageBoxTest, ShowsMarkupAsItStands)
{
    const auto box = makeBoxWithText(u"<b>R&D</b>"_s);
    const auto& label = childOf<QLabel>(*box, "messageBox.label");
    EXPECT_EQ(label.text(), u"<b>R&D</b>"_s);
    EXPECT_EQ(label.textFormat(), Qt::PlainText);
    EXPECT_EQ(label.alignment(), Qt::AlignVCenter) << "and nothing sideways";
}

class PtMessageBoxWidthTest : public testing::TestWithParam<std::pair<int, int>> { };

TEST_P(PtMessageBoxWidthTest, FollowsTheTextUpToWhereItWraps)
{
    const auto [textWidth, labelWidth] = GetParam();
    const QString text = textOfWidth(textWidth);
    ASSERT_FALSE(text.isEmpty()) << "no text is " << textWidth << " wide";
    const auto box = makeBoxWithText(text);
    const auto& label = childOf<QLabel>(*box, "messageBox.label");
    EXPECT_EQ(label.minimumWidth(), labelWidth);
    EXPECT_EQ(label.maximumWidth(), labelWidth);
    EXPECT_TRUE(label.wordWrap());
}

INSTANTIATE_TEST_SUITE_P(Widths,
    PtMessageBoxWidthTest,
    testing::Values(
        std::pair(100, 120), std::pair(339, 359), std::pair(340, 360), std::pair(341, 360)));

TEST(PtMessageBoxTest, ShowsEveryLineOfALongText)
{
    const auto box = makeBoxWithText(u"Some photos could not be copied. "_s.repeated(12));
    box->show();
    const auto& label = childOf<QLabel>(*box, "messageBox.label");
    EXPECT_EQ(label.width(), 360);
    EXPECT_GE(label.height(), label.heightForWidth(360));
    EXPECT_GT(label.height(), 3 * QFontMetrics(label.font()).height());
}

TEST(PtMessageBoxTest, ShowsEveryLineOfATextThatNeedsMostOfTheScreen)
{
    const auto lines = [](int count) {
        BoxParts parts;
        parts.buttons = {u"OK"_s};
        parts.text = u"This line takes the whole width of the text.\n"_s.repeated(count);
        return makeBox(parts);
    };
    int count = 1;
    const int screenHeight = QApplication::primaryScreen()->availableGeometry().height();
    while (lines(count)->layout()->totalSizeHint().height() < screenHeight * 5 / 6)
        ++count;
    const auto box = lines(count);
    box->show();
    const auto& label = childOf<QLabel>(*box, "messageBox.label");
    EXPECT_GE(label.height(), label.heightForWidth(label.width()));
}

TEST(PtMessageBoxTest, KeepsItsButtonsOnTheScreenWhateverTheText)
{
    BoxParts parts;
    parts.buttons = {u"OK"_s};
    parts.text = u"A line\n"_s.repeated(400);
    const auto box = makeBox(parts);
    box->show();
    EXPECT_LE(box->height(), QApplication::primaryScreen()->availableGeometry().height());
    EXPECT_EQ(childOf<QLabel>(*box, "messageBox.label").alignment(), Qt::AlignTop);
    EXPECT_TRUE(box->rect().contains(button(*box, 0).geometry()));
    EXPECT_EQ(button(*box, 0).visibleRegion().boundingRect(), button(*box, 0).rect());
}

TEST(PtMessageBoxTest, SpacesItsRows)
{
    BoxParts parts;
    parts.buttons = kFive;
    parts.checkBoxText = u"again"_s;
    const auto box = makeBox(parts);
    const auto* outer = qobject_cast<QVBoxLayout*>(box->layout());
    ASSERT_TRUE(outer);
    ASSERT_EQ(outer->count(), 3) << "message, check box, buttons";
    EXPECT_EQ(outer->spacing(), 16);
    EXPECT_EQ(outer->contentsMargins(), QMargins(15, 15, 15, 15));
    const auto* message = qobject_cast<QHBoxLayout*>(outer->itemAt(0)->layout());
    const auto* buttons = qobject_cast<QHBoxLayout*>(outer->itemAt(2)->layout());
    ASSERT_TRUE(message && buttons);
    EXPECT_EQ(message->spacing(), 16);
    EXPECT_EQ(message->contentsMargins(), QMargins());
    EXPECT_EQ(message->itemAt(0)->widget(), &childOf<QLabel>(*box, "messageBox.icon"));
    EXPECT_EQ(message->itemAt(1)->widget(), &childOf<QLabel>(*box, "messageBox.label"));
    expectSpacer(*message, 2, QSize(0, 0), QSizePolicy::Expanding, QSizePolicy::Minimum);
    EXPECT_EQ(buttons->spacing(), 10);
    EXPECT_EQ(buttons->contentsMargins(), QMargins());
    expectSpacer(*buttons, 0, QSize(0, 0), QSizePolicy::Minimum, QSizePolicy::Minimum);
    for (int number = 0; number < 5; ++number)
        EXPECT_EQ(buttons->itemAt(number + 1)->widget(), &button(*box, number));
}

TEST(PtMessageBoxTest, PutsTheCheckBoxIntoARowOfItsOwnWithASpacerBehindIt)
{
    BoxParts parts;
    parts.checkBoxText = u"again"_s;
    const auto box = makeBox(parts);
    const auto* row = qobject_cast<QHBoxLayout*>(box->layout()->itemAt(1)->layout());
    ASSERT_TRUE(row);
    ASSERT_EQ(row->count(), 2);
    EXPECT_EQ(row->itemAt(0)->widget(), &childOf<QCheckBox>(*box, "messageBox.checkBox"));
    expectSpacer(*row, 1, QSize(0, 0), QSizePolicy::Expanding, QSizePolicy::Minimum);
}

TEST(PtMessageBoxTest, KeepsTheNumbersOfButtonsBehindAGap)
{
    BoxParts parts;
    parts.buttons = {u"Save"_s, QString(), u"Stop"_s};
    EXPECT_FALSE(hasButton(*makeBox(parts), 1));
    clickOnNextDialog("messageBox.button2");
    EXPECT_EQ(displayButtons(parts.buttons, 9, -1), 2);
}

TEST(PtMessageBoxTest, MarksAndFocusesTheDefaultButton)
{
    BoxParts parts;
    parts.buttons = kFive;
    parts.defaultButton = 2;
    const auto box = makeBox(parts);
    box->show();
    for (int number = 0; number < 5; ++number)
        EXPECT_EQ(button(*box, number).isDefault(), number == 2) << number;
    EXPECT_EQ(box->focusWidget(), &button(*box, 2));
}

// Not the check box, which comes before it and would have the focus by itself.
TEST(PtMessageBoxTest, FocusesTheDefaultButtonBeforeItIsShown)
{
    BoxParts parts;
    parts.buttons = kFive;
    parts.checkBoxText = u"again"_s;
    parts.defaultButton = 3;
    const auto box = makeBox(parts);
    EXPECT_EQ(box->focusWidget(), &button(*box, 3));
    parts.defaultButton = -1;
    EXPECT_EQ(makeBox(parts)->focusWidget(), nullptr);
}

TEST(PtMessageBoxTest, MarksButtonZeroWhenThatIsTheDefault)
{
    BoxParts parts;
    parts.buttons = kFive;
    parts.defaultButton = 0;
    EXPECT_TRUE(button(*makeBox(parts), 0).isDefault());
}

class PtMessageBoxNoDefaultTest : public testing::TestWithParam<int> { };

TEST_P(PtMessageBoxNoDefaultTest, HasNoDefaultButtonEvenWhenItIsShown)
{
    BoxParts parts;
    parts.buttons = {u"a"_s, QString(), u"c"_s};
    parts.defaultButton = GetParam();
    const auto box = makeBox(parts);
    box->show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(box.get()));
    EXPECT_FALSE(button(*box, 0).isDefault());
    EXPECT_FALSE(button(*box, 2).isDefault());
    pressKeyOnNextDialog(Qt::Key_Return);
    EXPECT_EQ(displayButtons(parts.buttons, 9, GetParam()), kStillOpen);
}

INSTANTIATE_TEST_SUITE_P(Numbers, PtMessageBoxNoDefaultTest, testing::Values(-1, -7, 1, 4, 5, 99));

TEST(PtMessageBoxTest, GivesShortButtonsTheLeastWidth)
{
    BoxParts parts;
    parts.buttons = {u"OK"_s, u"No"_s};
    const auto box = makeBox(parts);
    EXPECT_EQ(PtMessageBox::kMinimumButtonWidth, 80);
    EXPECT_EQ(button(*box, 0).minimumWidth(), 80);
    EXPECT_EQ(button(*box, 1).maximumWidth(), 80);
}

TEST(PtMessageBoxTest, MakesAllButtonsAsLargeAsTheLongestTextNeeds)
{
    BoxParts parts;
    parts.buttons = {u"OK"_s, QString(), u"&Replace all of the photos"_s, u"No"_s};
    const auto box = makeBox(parts);
    const QFontMetrics metrics(button(*box, 0).font());
    // The accelerator's mark is measured with the rest.
    const int width = metrics.horizontalAdvance(u"&Replace all of the photos"_s) + 16;
    ASSERT_GT(width, 80);
    for (const int number : {0, 2, 3}) {
        EXPECT_EQ(button(*box, number).minimumWidth(), width) << number;
        EXPECT_EQ(button(*box, number).maximumWidth(), width) << number;
        EXPECT_EQ(button(*box, number).minimumSize(), button(*box, 0).maximumSize()) << number;
    }
    QPushButton plain(u"OK"_s);
    EXPECT_EQ(button(*box, 2).minimumHeight(), plain.sizeHint().height());
}

TEST(PtMessageBoxTest, SizesNoButtonWithoutButtonZero)
{
    BoxParts parts;
    parts.buttons = {QString(), u"OK"_s, u"A button with a longer text"_s};
    const auto box = makeBox(parts);
    for (const int number : {1, 2}) {
        EXPECT_EQ(button(*box, number).minimumSize(), QSize(0, 0));
        EXPECT_EQ(button(*box, number).maximumWidth(), QWIDGETSIZE_MAX);
    }
}

TEST(PtMessageBoxTest, ReportsItsCheckBox)
{
    for (const bool checked : {false, true}) {
        BoxParts parts;
        parts.checkBoxText = u"&Do not ask again"_s;
        parts.checkBoxChecked = checked;
        const auto box = makeBox(parts);
        auto& checkBox = childOf<QCheckBox>(*box, "messageBox.checkBox");
        EXPECT_EQ(checkBox.text(), parts.checkBoxText);
        EXPECT_EQ(box->getCheckBoxStatus(), checked);
        checkBox.setChecked(!checked);
        EXPECT_EQ(box->getCheckBoxStatus(), !checked);
    }
}

TEST(PtMessageBoxTest, HasNoCheckBoxWithoutAText)
{
    BoxParts parts;
    parts.checkBoxChecked = true;
    EXPECT_FALSE(hasChild<QCheckBox>(*makeBox(parts), "messageBox.checkBox"));
}

TEST(PtMessageBoxTest, VisitsCheckBoxAndButtonsInTheirOrder)
{
    BoxParts parts;
    parts.checkBoxText = u"again"_s;
    parts.buttons = {u"a"_s, QString(), u"c"_s};
    const auto box = makeBox(parts);
    box->show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(box.get()));
    childOf<QCheckBox>(*box, "messageBox.checkBox").setFocus();
    QStringList visited;
    for (int i = 0; i < 3; ++i) {
        visited << box->focusWidget()->objectName();
        QTest::keyClick(box->focusWidget(), Qt::Key_Tab);
    }
    EXPECT_EQ(visited.join(u' '), u"messageBox.checkBox messageBox.button0 messageBox.button2"_s);
}
