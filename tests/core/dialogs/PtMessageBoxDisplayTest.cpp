// The message box as its callers show it.

#include "core/dialogs/support/MessageBoxUser.h"
#include "dialogs/PtMessageBox.h"

#include <QCheckBox>
#include <QLabel>
#include <QStyle>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using test::button;
using test::childOf;
using test::clickOnNextDialog;
using test::displayButtons;
using test::kFive;
using test::kStillOpen;
using test::onNextDialog;
using test::pressKeyOnNextDialog;

namespace {

int askShort(bool& checked, bool showCancel)
{
    return PtMessageBox::dialogWithCB(nullptr,
        u"caption"_s,
        u"text"_s,
        u"&Do not ask again"_s,
        checked,
        showCancel,
        QMessageBox::Information);
}

void toggle(QDialog& dialog)
{
    childOf<QCheckBox>(dialog, "messageBox.checkBox").toggle();
}

} // namespace

TEST(PtMessageBoxDisplayTest, IsLeftByEscapeAloneWhenItHasNoButtons)
{
    for (const auto key : {Qt::Key_Return, Qt::Key_Space, Qt::Key_Tab}) {
        pressKeyOnNextDialog(key);
        EXPECT_EQ(displayButtons({}, 42, 0), kStillOpen) << key;
    }
    pressKeyOnNextDialog(Qt::Key_Escape);
    EXPECT_EQ(displayButtons({}, 42, 0), 42);
}

TEST(PtMessageBoxDisplayTest, AnswersWithTheNumberOfTheButton)
{
    for (int number = 0; number < 5; ++number) {
        clickOnNextDialog(("messageBox.button" + std::to_string(number)).c_str());
        EXPECT_EQ(displayButtons(kFive, 9, -1), number);
    }
}

TEST(PtMessageBoxDisplayTest, AnswersEscapeAndClosingWithTheEscapeResult)
{
    pressKeyOnNextDialog(Qt::Key_Escape);
    EXPECT_EQ(displayButtons(kFive, 3, 0), 3);
    onNextDialog([](QDialog& dialog) { dialog.close(); });
    EXPECT_EQ(displayButtons(kFive, 3, 0), 3);
}

TEST(PtMessageBoxDisplayTest, AnswersAnAcceleratorWithItsButton)
{
    onNextDialog([](QDialog& dialog) {
        QTest::keyClick(dialog.windowHandle(), Qt::Key_N, Qt::AltModifier);
        // A button shows that it is pressed before it answers.
        static_cast<void>(QTest::qWaitFor([&dialog] { return !dialog.isVisible(); }));
    });
    EXPECT_EQ(displayButtons({u"&Yes"_s, u"&No"_s}, 5, -1), 1);
}

TEST(PtMessageBoxDisplayTest, PressesTheDefaultButtonOnReturn)
{
    for (int number = 0; number < 5; ++number) {
        pressKeyOnNextDialog(Qt::Key_Return);
        EXPECT_EQ(displayButtons(kFive, 9, number), number);
    }
}

TEST(PtMessageBoxDisplayTest, IsGoneFromTheScreenBeforeTheCallerGoesOn)
{
    int served = 0;
    onNextDialog([&served](QDialog& dialog) {
        dialog.done(0);
        QMetaObject::invokeMethod(
            qApp, [&served] { ++served; }, Qt::QueuedConnection);
    });
    displayButtons(kFive, 9, 0);
    EXPECT_EQ(served, 1) << "what the end of the dialog posted was not served";
}

TEST(PtMessageBoxDisplayTest, ShowsEachKindOfMessageWithItsIcon)
{
    struct Row {
        int (*show)(const QWidget*,
            const QString&,
            const QString&,
            const QString&,
            const QString&,
            const QString&,
            int,
            int);
        QStyle::StandardPixmap pixmap;
    };
    for (const Row& row : {Row{&PtMessageBox::warning, QStyle::SP_MessageBoxWarning},
             Row{&PtMessageBox::critical, QStyle::SP_MessageBoxCritical},
             Row{&PtMessageBox::information, QStyle::SP_MessageBoxInformation}}) {
        QImage shown;
        QString texts;
        onNextDialog([&shown, &texts](QDialog& dialog) {
            shown = childOf<QLabel>(dialog, "messageBox.icon").pixmap().toImage();
            texts =
                dialog.windowTitle() + u'|' + childOf<QLabel>(dialog, "messageBox.label").text();
            for (const auto* each : dialog.findChildren<QPushButton*>())
                texts += u'|' + each->text();
            QTest::keyClick(dialog.focusWidget(), Qt::Key_Return);
        });
        EXPECT_EQ(row.show(nullptr, u"cap"_s, u"text"_s, u"x"_s, u"y"_s, u"z"_s, 8, 1), 1);
        EXPECT_EQ(texts, u"cap|text|x|y|z"_s);
        const QStyle& style = *QApplication::style();
        const int side = style.pixelMetric(QStyle::PM_MessageBoxIconSize);
        EXPECT_EQ(shown, style.standardIcon(row.pixmap).pixmap(side, side).toImage());
    }
}

TEST(PtMessageBoxDisplayTest, ShowsADialogWithoutAnIconAndWithFiveButtons)
{
    onNextDialog([](QDialog& dialog) {
        EXPECT_TRUE(childOf<QLabel>(dialog, "messageBox.icon").isHidden());
        QTest::mouseClick(&button(dialog, 4), Qt::LeftButton);
    });
    EXPECT_EQ(
        PtMessageBox::dialog(
            nullptr, QString(), u"text"_s, kFive[0], kFive[1], kFive[2], kFive[3], kFive[4], 8, 0),
        4);
}

TEST(PtMessageBoxDisplayTest, AsksWithACheckBoxAndOkAlone)
{
    bool checked = false;
    onNextDialog([](QDialog& dialog) {
        EXPECT_EQ(button(dialog, 0).text(), u"OK"_s);
        EXPECT_EQ(dialog.findChildren<QPushButton*>().size(), 1);
        EXPECT_FALSE(button(dialog, 0).isDefault());
        QTest::keyClick(&dialog, Qt::Key_Escape);
    });
    EXPECT_EQ(askShort(checked, false), 1) << "Escape answers 1 without a Cancel too";
    clickOnNextDialog("messageBox.button0");
    EXPECT_EQ(askShort(checked, false), 0);
}

TEST(PtMessageBoxDisplayTest, AsksWithACheckBoxOkAndCancel)
{
    bool checked = false;
    onNextDialog([](QDialog& dialog) {
        EXPECT_EQ(button(dialog, 1).text(), u"Cancel"_s);
        QTest::mouseClick(&button(dialog, 1), Qt::LeftButton);
    });
    EXPECT_EQ(askShort(checked, true), 1);
}

TEST(PtMessageBoxDisplayTest, StoresTheCheckBoxWhateverEndedTheDialog)
{
    for (const bool before : {false, true}) {
        bool checked = before;
        onNextDialog([before](QDialog& dialog) {
            EXPECT_EQ(childOf<QCheckBox>(dialog, "messageBox.checkBox").isChecked(), before);
            toggle(dialog);
            QTest::mouseClick(&button(dialog, 0), Qt::LeftButton);
        });
        EXPECT_EQ(askShort(checked, true), 0);
        EXPECT_EQ(checked, !before);
        onNextDialog([](QDialog& dialog) {
            toggle(dialog);
            QTest::keyClick(&dialog, Qt::Key_Escape);
        });
        EXPECT_EQ(askShort(checked, true), 1);
        EXPECT_EQ(checked, before) << "stored although Escape ended it";
    }
}

TEST(PtMessageBoxDisplayTest, AsksWithACheckBoxAndButtonsOfTheCaller)
{
    bool checked = true;
    const auto ask = [&checked] {
        return PtMessageBox::dialogWithCB(nullptr,
            u"caption"_s,
            u"text"_s,
            u"again"_s,
            checked,
            QMessageBox::Warning,
            kFive[0],
            kFive[1],
            kFive[2],
            kFive[3],
            kFive[4],
            6);
    };
    onNextDialog([](QDialog& dialog) {
        toggle(dialog);
        for (int number = 0; number < 5; ++number)
            EXPECT_FALSE(button(dialog, number).isDefault());
        QTest::mouseClick(&button(dialog, 3), Qt::LeftButton);
    });
    EXPECT_EQ(ask(), 3);
    EXPECT_FALSE(checked);
    pressKeyOnNextDialog(Qt::Key_Escape);
    EXPECT_EQ(ask(), 6);
    EXPECT_FALSE(checked);
}
