// The dialogs that the options panel really opens, answered as a user would.

#include "TevoroAppManager/panel/PanelDialogs.h"
#include "dialogs/PtMessageBox.h"
#include "support/TestFolder.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QTimer>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

// Does this with the dialog that is opened next, once it is on screen.
void whenOpen(const std::function<void(QDialog&)>& act)
{
    auto* const timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, act] {
        auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible())
            return;
        timer->stop();
        timer->deleteLater();
        act(*dialog);
    });
    timer->start(1);
}

// The four controls of the conversion's settings.
struct SettingsControls {
    explicit SettingsControls(const QDialog& dialog)
        : preview(dialog.findChild<QComboBox*>())
        , checks(dialog.findChildren<QCheckBox*>(u"compression_checkbox"_s))
        , methods(dialog.findChildren<QRadioButton*>())
    {
    }

    QCheckBox& compressed() const { return *checks.at(0); }
    QCheckBox& embed() const { return *checks.at(1); }
    QRadioButton& preserve() const { return *methods.at(0); }
    QRadioButton& linear() const { return *methods.at(1); }

    QComboBox* preview;
    QList<QCheckBox*> checks;
    QList<QRadioButton*> methods;
};

void expectShown(const QDialog& dialog, const DNGSettings& settings)
{
    const SettingsControls controls(dialog);
    EXPECT_EQ(controls.preview->currentIndex(), settings.jpegPreviewSize);
    EXPECT_EQ(controls.compressed().isChecked(), !settings.uncompressed);
    EXPECT_EQ(controls.embed().isChecked(), settings.embedRaw);
    EXPECT_EQ(controls.linear().isChecked(), settings.linear);
    EXPECT_EQ(controls.preserve().isChecked(), !settings.linear);
}

void changeAll(const QDialog& dialog)
{
    const SettingsControls controls(dialog);
    controls.preview->setCurrentIndex(2 - controls.preview->currentIndex());
    controls.compressed().click();
    controls.embed().click();
    (controls.linear().isChecked() ? controls.preserve() : controls.linear()).click();
}

void expectSame(const DNGSettings& left, const DNGSettings& right)
{
    EXPECT_EQ(left.embedRaw, right.embedRaw);
    EXPECT_EQ(left.linear, right.linear);
    EXPECT_EQ(left.uncompressed, right.uncompressed);
    EXPECT_EQ(left.jpegPreviewSize, right.jpegPreviewSize);
}

constexpr DNGSettings kOne{true, false, true, 2};
constexpr DNGSettings kOther{false, true, false, 0};

} // namespace

TEST(ScreenDialogsTest, ShowTheSettingsAndTakeThemWhenAccepted)
{
    for (const auto& [before, after] : {std::pair(kOne, kOther), std::pair(kOther, kOne)}) {
        DNGSettings settings = before;
        whenOpen([&settings](QDialog& dialog) {
            expectShown(dialog, settings);
            changeAll(dialog);
            dialog.accept();
        });
        EXPECT_TRUE(screenDialogs().editDNGSettings(settings));
        expectSame(settings, after);
    }
}

TEST(ScreenDialogsTest, LeaveTheSettingsWhenRejected)
{
    DNGSettings settings = kOne;
    for (int round = 0; round < 2; ++round) {
        whenOpen([](QDialog& dialog) {
            expectShown(dialog, kOne);
            changeAll(dialog);
            dialog.reject();
        });
        EXPECT_FALSE(screenDialogs().editDNGSettings(settings));
        expectSame(settings, kOne);
    }
}

TEST(ScreenDialogsTest, AskForAFolder)
{
    const test::TestFolder folder;
    const QString start = QString::fromStdString(folder.path());
    for (const bool isFirst : {true, false}) {
        whenOpen([&start, isFirst](QDialog& dialog) {
            auto* const chooser = qobject_cast<QFileDialog*>(&dialog);
            ASSERT_NE(chooser, nullptr);
            EXPECT_EQ(chooser->windowTitle(), u"Select folder to store backup copies:"_s);
            EXPECT_EQ(chooser->fileMode(), QFileDialog::Directory);
            EXPECT_TRUE(chooser->testOption(QFileDialog::ShowDirsOnly));
            EXPECT_EQ(chooser->testOption(QFileDialog::DontResolveSymlinks), isFirst);
            EXPECT_EQ(chooser->directory().absolutePath(), start);
            chooser->reject();
        });
        EXPECT_EQ(screenDialogs().askFolder(start, isFirst), QString());
        whenOpen([](QDialog& dialog) { dialog.accept(); });
        EXPECT_EQ(screenDialogs().askFolder(start, isFirst), start);
    }
}

TEST(ScreenDialogsTest, BelongToTheActiveWindowTheFirstTimeOnly)
{
    QWidget window;
    window.show();
    QApplication::setActiveWindow(&window);
    for (const bool isFirst : {true, false}) {
        whenOpen([&window, isFirst](QDialog& dialog) {
            EXPECT_EQ(dialog.parentWidget(), isFirst ? &window : nullptr);
            dialog.reject();
        });
        screenDialogs().askFolder(u"/"_s, isFirst);
        QApplication::setActiveWindow(&window);
    }
}

TEST(ScreenDialogsTest, WarnOfAFolderThatCannotBeWritten)
{
    bool wasOpen = false;
    whenOpen([&wasOpen](QDialog& dialog) {
        wasOpen = true;
        EXPECT_NE(qobject_cast<PtMessageBox*>(&dialog), nullptr);
        EXPECT_EQ(dialog.windowTitle(), u"Cannot Write to Directory"_s);
        EXPECT_EQ(dialog.findChild<QLabel*>(u"messageBox.label"_s)->text(),
            u"Cannot write to the specified directory. Please choose a different directory."_s);
        const auto buttons = dialog.findChildren<QPushButton*>();
        ASSERT_EQ(buttons.size(), 1);
        EXPECT_EQ(buttons.front()->text(), u"OK"_s);
        EXPECT_FALSE(buttons.front()->isDefault());
        buttons.front()->click();
    });
    screenDialogs().warnUnwritable();
    EXPECT_TRUE(wasOpen);
}
