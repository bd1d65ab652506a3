#include "dialogs/DNGConversionDlg.h"

#include "core/dialogs/support/DialogUser.h"
#include "core/dialogs/support/LayoutParts.h"
#include "core/dialogs/support/ScreenRun.h"
#include "strings/PtZString.h"
#include "support/TestFolder.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QRadioButton>
#include <QScreen>
#include <QVBoxLayout>

#include <filesystem>
#include <functional>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using test::childOf;
using test::expectSpacer;
using test::onNextDialog;

namespace {

constexpr char kIcon[] = "/shared_assets/bitmaps/workflow_icons/C_iBubble_Md_N.png";

class DNGConversionDlgTest : public testing::Test {
protected:
    // Programs run in a folder beside their assets.
    void SetUp() override
    {
        folder.write("bin/program", "");
        const std::string icon = folder.write(kIcon + 1, "");
        std::filesystem::copy_file(std::string(TEVORO_SOURCE_DIR) + kIcon,
            icon,
            std::filesystem::copy_options::overwrite_existing);
        QDir::setCurrent(QString::fromStdString(folder.path("bin")));
    }
    void TearDown() override { QDir::setCurrent(QDir::rootPath()); }

    static QComboBox& combo(const QWidget& dialog)
    {
        return childOf<QComboBox>(dialog, "preview_options_combo");
    }
    static QRadioButton& radio(const QWidget& dialog, int number)
    {
        return *dialog.findChildren<QRadioButton*>().at(number);
    }
    static QCheckBox& checkBox(const QWidget& dialog, int number)
    {
        return *dialog.findChildren<QCheckBox*>().at(number);
    }
    static QPushButton& pushButton(const QWidget& dialog, const QString& text)
    {
        for (auto* button : dialog.findChildren<QPushButton*>())
            if (button->text() == text)
                return *button;
        throw std::runtime_error("no button " + text.toStdString());
    }

    // The help of a group, and the icon before it.
    struct Help {
        QLabel* icon = nullptr;
        QLabel* text = nullptr;
    };
    static Help helpOf(const QWidget& dialog, int groupNumber)
    {
        const auto labels =
            dialog.findChildren<QGroupBox*>().at(groupNumber)->findChildren<QLabel*>();
        return {labels.at(0), labels.at(1)};
    }
    static Help methodHelp(const QWidget& dialog) { return helpOf(dialog, 2); }
    // The title, and the texts of groups, labels, choices and buttons.
    static QStringList textsOf(const QWidget& dialog)
    {
        QStringList shown{dialog.windowTitle()};
        for (const auto* group : dialog.findChildren<QGroupBox*>())
            shown << group->title();
        for (const QLabel* label : {dialog.findChildren<QLabel*>().first(),
                 methodHelp(dialog).text,
                 helpOf(dialog, 3).text})
            shown << label->text();
        for (int item = 0; item < combo(dialog).count(); ++item)
            shown << combo(dialog).itemText(item);
        shown << checkBox(dialog, 0).text() << checkBox(dialog, 1).text() << radio(dialog, 0).text()
              << radio(dialog, 1).text();
        return shown;
    }
    static void expectHelpShown(const QWidget& dialog, bool shown, const char* when)
    {
        EXPECT_EQ(methodHelp(dialog).text->isVisible(), shown) << when;
        EXPECT_EQ(methodHelp(dialog).icon->isVisible(), shown) << when;
    }

    test::TestFolder folder;
};

} // namespace

TEST_F(DNGConversionDlgTest, IsAModalWindowOfFixedSizeWithoutAFrame)
{
    const DNGConversionDlg dialog(nullptr, false, false, false, 0);
    EXPECT_TRUE(dialog.isModal());
    EXPECT_EQ(dialog.windowFlags() & ~Qt::WindowType_Mask,
        Qt::MSWindowsFixedSizeDialogHint | Qt::WindowTitleHint | Qt::FramelessWindowHint
            | Qt::CustomizeWindowHint);
    EXPECT_EQ(dialog.objectName(), u"media fetcher selection dialog"_s);
    EXPECT_EQ(dialog.windowTitle(), u"DNG Conversion Settings"_s);
}

TEST_F(DNGConversionDlgTest, NamesItsGroupsInTheirOrder)
{
    const DNGConversionDlg dialog(nullptr, false, false, false, 0);
    QStringList titles;
    for (int i = 0; i < dialog.layout()->count() - 1; ++i) {
        const auto* group = qobject_cast<QGroupBox*>(dialog.layout()->itemAt(i)->widget());
        ASSERT_TRUE(group) << i;
        titles << group->title();
        EXPECT_TRUE(group->objectName().isEmpty());
        EXPECT_EQ(group->alignment(), Qt::AlignLeft);
    }
    EXPECT_EQ(
        titles.join(u'|'), u"Preview|Compression|Image Conversion Method|Original Raw File"_s);
    EXPECT_TRUE(dialog.layout()->itemAt(4)->layout()) << "the buttons";
}

TEST_F(DNGConversionDlgTest, ShowsTheseTexts)
{
    const DNGConversionDlg dialog(nullptr, false, false, false, 0);
    const auto* label = dialog.findChildren<QLabel*>().first();
    EXPECT_EQ(label->text(), u"&JPEG Preview: "_s);
    EXPECT_EQ(label->buddy(), &combo(dialog));
    EXPECT_EQ(combo(dialog).itemText(0), u"None"_s);
    EXPECT_EQ(combo(dialog).itemText(1), u"Medium Size"_s);
    EXPECT_EQ(combo(dialog).itemText(2), u"Full Size"_s);
    EXPECT_EQ(combo(dialog).count(), 3);
    EXPECT_EQ(combo(dialog).itemData(1), QVariant());
    EXPECT_EQ(checkBox(dialog, 0).text(), u"&Compressed (lossless)"_s);
    EXPECT_EQ(checkBox(dialog, 1).text(), u"&Embed Original Raw File"_s);
    EXPECT_EQ(radio(dialog, 0).text(), u"&Preserve Raw Image"_s);
    EXPECT_EQ(radio(dialog, 1).text(), u"C&onvert to Linear Image"_s);
    EXPECT_EQ(methodHelp(dialog).text->text(),
        u"The image data is stored in the original \"mosaic\" format, if possible, which maximizes"
        " the amount of data preserved. Mosaic image data can be converted to linear data, but the"
        " reverse is not possible."_s);
    EXPECT_EQ(helpOf(dialog, 3).text->text(),
        u"Embeds the entire non-DNG raw file inside the DNG file. This creates a larger DNG file,"
        " but it allows the original raw file to be extracted later if needed."_s);
}

TEST_F(DNGConversionDlgTest, GivesBothOfAKindTheSameName)
{
    const DNGConversionDlg dialog(nullptr, false, false, false, 0);
    for (const int number : {0, 1}) {
        EXPECT_EQ(checkBox(dialog, number).objectName(), u"compression_checkbox"_s);
        EXPECT_EQ(radio(dialog, number).objectName(), u"img_conversion_radio_button"_s);
    }
}

TEST_F(DNGConversionDlgTest, ReturnsWhatItWasGiven)
{
    for (int previewSize = 0; previewSize < 3; ++previewSize) {
        for (const bool on : {false, true}) {
            const DNGConversionDlg dialog(nullptr, on, !on, on, previewSize);
            EXPECT_EQ(dialog.getEmbedOriginalRawFileStatus(), on);
            EXPECT_EQ(dialog.getImageConversionMethod(), !on);
            EXPECT_EQ(dialog.getCompressionState(), !on) << "takes compressed, gives uncompressed";
            EXPECT_EQ(dialog.getJpegPreviewSize(), previewSize);
        }
    }
}

TEST_F(DNGConversionDlgTest, ShowsMediumSizeForPreviewSizeOne)
{
    const DNGConversionDlg dialog(nullptr, false, false, true, 1);
    EXPECT_EQ(combo(dialog).currentText(), u"Medium Size"_s);
}

TEST_F(DNGConversionDlgTest, ShowsNoChoiceForASizeThatThereIsNot)
{
    const DNGConversionDlg dialog(nullptr, false, false, true, 3);
    EXPECT_EQ(combo(dialog).currentText(), QString());
    EXPECT_EQ(dialog.getJpegPreviewSize(), -1);
}

TEST_F(DNGConversionDlgTest, ReturnsWhatTheUserChose)
{
    DNGConversionDlg dialog(nullptr, false, false, true, 0);
    dialog.show();
    combo(dialog).setCurrentIndex(2);
    checkBox(dialog, 0).click();
    checkBox(dialog, 1).click();
    radio(dialog, 1).click();
    EXPECT_TRUE(dialog.getCompressionState());
    EXPECT_TRUE(dialog.getEmbedOriginalRawFileStatus());
    EXPECT_TRUE(dialog.getImageConversionMethod());
    EXPECT_EQ(dialog.getJpegPreviewSize(), 2);
    radio(dialog, 0).click();
    EXPECT_FALSE(dialog.getImageConversionMethod());
}

TEST_F(DNGConversionDlgTest, HidesTheHelpWhileLinearIsChosen)
{
    DNGConversionDlg dialog(nullptr, false, false, true, 0);
    dialog.show();
    expectHelpShown(dialog, true, "at first");
    radio(dialog, 1).click();
    expectHelpShown(dialog, false, "linear");
    radio(dialog, 0).click();
    expectHelpShown(dialog, true, "preserve again");
}

TEST_F(DNGConversionDlgTest, ShowsTheHelpUntilTheFirstClickWhenItStartsWithLinear)
{
    DNGConversionDlg dialog(nullptr, false, true, true, 0);
    dialog.show();
    expectHelpShown(dialog, true, "at first");
    radio(dialog, 0).setChecked(true);
    radio(dialog, 1).setChecked(true);
    expectHelpShown(dialog, true, "a choice that is no click");
    radio(dialog, 1).click();
    expectHelpShown(dialog, false, "a click on what is chosen already");
}

TEST_F(DNGConversionDlgTest, ChoosesWithTheArrowKeys)
{
    DNGConversionDlg dialog(nullptr, false, false, true, 0);
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    radio(dialog, 0).setFocus();
    QTest::keyClick(&radio(dialog, 0), Qt::Key_Down);
    EXPECT_TRUE(dialog.getImageConversionMethod());
    expectHelpShown(dialog, false, "linear");
}

TEST_F(DNGConversionDlgTest, IsReachedByTheTabKeyAndNotByTheMouse)
{
    const DNGConversionDlg dialog(nullptr, false, false, true, 0);
    for (const QWidget* widget : {static_cast<QWidget*>(&combo(dialog)),
             static_cast<QWidget*>(&checkBox(dialog, 0)),
             static_cast<QWidget*>(&checkBox(dialog, 1)),
             static_cast<QWidget*>(&radio(dialog, 0)),
             static_cast<QWidget*>(&radio(dialog, 1))})
        EXPECT_EQ(widget->focusPolicy(), Qt::TabFocus) << widget->metaObject()->className();
}

TEST_F(DNGConversionDlgTest, VisitsItsControlsFromTopToBottom)
{
    DNGConversionDlg dialog(nullptr, false, false, true, 0);
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    combo(dialog).setFocus();
    std::vector<QWidget*> visited;
    for (int i = 0; i < 6; ++i) {
        visited.push_back(dialog.focusWidget());
        QTest::keyClick(dialog.focusWidget(), Qt::Key_Tab);
    }
    // One of the radio buttons, as they belong together.
    const std::vector<QWidget*> expected{&combo(dialog),
        &checkBox(dialog, 0),
        &radio(dialog, 0),
        &checkBox(dialog, 1),
        &pushButton(dialog, u"Cancel"_s),
        &pushButton(dialog, u"OK"_s)};
    EXPECT_EQ(visited, expected);
}

TEST_F(DNGConversionDlgTest, FocusesWhatAnAcceleratorNames)
{
    DNGConversionDlg dialog(nullptr, false, false, true, 0);
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    checkBox(dialog, 1).setFocus();
    ASSERT_NE(dialog.focusWidget(), &combo(dialog));
    QTest::keyClick(dialog.windowHandle(), Qt::Key_J, Qt::AltModifier);
    EXPECT_EQ(dialog.focusWidget(), &combo(dialog));
    QTest::keyClick(dialog.windowHandle(), Qt::Key_O, Qt::AltModifier);
    // Buttons show that they are pressed before they change.
    EXPECT_TRUE(QTest::qWaitFor([&dialog] { return dialog.getImageConversionMethod(); }));
    QTest::keyClick(dialog.windowHandle(), Qt::Key_C, Qt::AltModifier);
    EXPECT_TRUE(QTest::qWaitFor([&dialog] { return dialog.getCompressionState(); }));
}

TEST_F(DNGConversionDlgTest, WrapsTheHelpBehindItsIcon)
{
    const DNGConversionDlg dialog(nullptr, false, false, true, 0);
    const QImage icon =
        QPixmap(QString::fromUtf8(TEVORO_SOURCE_DIR) + QString::fromUtf8(kIcon)).toImage();
    ASSERT_FALSE(icon.isNull());
    for (const int group : {2, 3}) {
        const Help help = helpOf(dialog, group);
        EXPECT_EQ(help.text->minimumWidth(), 350);
        EXPECT_TRUE(help.text->wordWrap());
        EXPECT_EQ(help.text->alignment(), Qt::AlignLeft | Qt::AlignJustify);
        EXPECT_EQ(help.icon->pixmap().toImage(), icon);
    }
}

TEST_F(DNGConversionDlgTest, ShowsEveryLineOfTheHelp)
{
    DNGConversionDlg dialog(nullptr, false, false, true, 0);
    dialog.show();
    for (const int group : {2, 3}) {
        const QLabel& help = *helpOf(dialog, group).text;
        EXPECT_GE(help.height(), help.heightForWidth(help.width()));
    }
    EXPECT_LE(dialog.height(), dialog.screen()->availableGeometry().height());
}

// A little lower than what the dialog would like to have.
TEST_F(DNGConversionDlgTest, ShowsEveryLineOfTheHelpOnALowScreen)
{
    for (const int scale : {1, 2})
        test::expectPassOnScreen(
            {960 * scale, 520 * scale, scale}, "DNGConversionDlgTest.ShowsEveryLineOfTheHelp", 1);
}

TEST_F(DNGConversionDlgTest, LeavesRoomBelowTheHelp)
{
    DNGConversionDlg dialog(nullptr, false, false, true, 0);
    dialog.show();
    for (const int group : {2, 3}) {
        const QLabel& help = *helpOf(dialog, group).text;
        EXPECT_GE(help.parentWidget()->contentsRect().bottom() - help.geometry().bottom(), 25);
    }
}

TEST_F(DNGConversionDlgTest, GoesOnWithoutTheIcon)
{
    static int messages = 0;
    messages = 0;
    std::filesystem::remove(folder.path(kIcon + 1));
    const auto before = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString&) { ++messages; });
    {
        const DNGConversionDlg dialog(nullptr, false, false, true, 0);
        EXPECT_TRUE(methodHelp(dialog).icon->pixmap().isNull());
    }
    qInstallMessageHandler(before);
    EXPECT_EQ(messages, 0);
}

TEST_F(DNGConversionDlgTest, SpacesItsRows)
{
    const DNGConversionDlg dialog(nullptr, false, false, true, 0);
    EXPECT_EQ(dialog.layout()->contentsMargins(), QMargins(15, 15, 15, 15));
    EXPECT_EQ(dialog.layout()->spacing(), 10);
    const auto* row = qobject_cast<QHBoxLayout*>(dialog.layout()->itemAt(4)->layout());
    ASSERT_TRUE(row);
    EXPECT_EQ(row->spacing(), 10);
    EXPECT_EQ(row->contentsMargins(), QMargins(10, 10, 10, 10));
    expectSpacer(*row, 0, QSize(0, 0), QSizePolicy::Expanding, QSizePolicy::Fixed);
    EXPECT_EQ(row->itemAt(1)->widget(), &pushButton(dialog, u"Cancel"_s));
    EXPECT_EQ(row->itemAt(2)->widget(), &pushButton(dialog, u"OK"_s));
    const QLayout& preview = *combo(dialog).parentWidget()->layout();
    EXPECT_EQ(preview.spacing(), 3);
    expectSpacer(preview, 2, QSize(0, 0), QSizePolicy::Expanding, QSizePolicy::Minimum);
}

// Two radio buttons stand above the one help, and one check box above the other.
TEST_F(DNGConversionDlgTest, KeepsTheHelpApartFromWhatStandsAroundIt)
{
    const DNGConversionDlg dialog(nullptr, false, false, true, 0);
    for (const auto& [group, above] : {std::pair(2, 2), {3, 1}}) {
        const QLayout& rows = *helpOf(dialog, group).text->parentWidget()->layout();
        ASSERT_EQ(rows.count(), above + 3) << group;
        expectSpacer(rows, above, QSize(0, 10), QSizePolicy::Minimum, QSizePolicy::Fixed);
        expectSpacer(rows, above + 2, QSize(0, 25), QSizePolicy::Fixed, QSizePolicy::Expanding);
        const QLayout* help = rows.itemAt(above + 1)->layout();
        ASSERT_TRUE(help) << group;
        ASSERT_EQ(help->count(), 3) << "icon, room, text";
        expectSpacer(*help, 1, QSize(10, 0), QSizePolicy::Fixed, QSizePolicy::Minimum);
        EXPECT_EQ(help->itemAt(2)->widget(), helpOf(dialog, group).text);
    }
}

TEST_F(DNGConversionDlgTest, KeepsTheIconAtTheTopOfItsColumn)
{
    const DNGConversionDlg dialog(nullptr, false, false, true, 0);
    for (const int group : {2, 3}) {
        const Help help = helpOf(dialog, group);
        const QLayout& rows = *help.icon->parentWidget()->layout();
        const QLayout* row = rows.itemAt(rows.count() - 2)->layout();
        ASSERT_TRUE(row) << group;
        const auto* column = qobject_cast<QVBoxLayout*>(row->itemAt(0)->layout());
        ASSERT_TRUE(column) << group;
        ASSERT_EQ(column->count(), 2) << group;
        EXPECT_EQ(column->itemAt(0)->widget(), help.icon);
        expectSpacer(*column, 1, QSize(0, 0), QSizePolicy::Minimum, QSizePolicy::Minimum);
    }
}

// A dictionary of these keys and no others: a text whose key differs by a letter stays English.
TEST_F(DNGConversionDlgTest, TakesEachTextByItsKey)
{
    const QStringList keys{u"SettingsCaption"_s,
        u"Preview"_s,
        u"Compression"_s,
        u"ImageConversionMethod"_s,
        u"OriginalRawFile"_s,
        u"JPEGPreview"_s,
        u"HelpOne"_s,
        u"HelpTwo"_s,
        u"None"_s,
        u"MediumSize"_s,
        u"FullSize"_s,
        u"LossLess"_s,
        u"EmbedOriginalRawFile"_s,
        u"PreserveRawImage"_s,
        u"ConverttoLinearImage"_s};
    QString lines{QChar(0xFEFF)};
    for (const QString& key : keys)
        lines += u"\"$$$/DngConversion/"_s + key + u'=' + key + u" found\"\n"_s;
    const std::string file = folder.write("keys.dct",
        std::string(reinterpret_cast<const char*>(lines.utf16()),
            static_cast<std::size_t>(lines.size()) * sizeof(QChar)));
    ASSERT_TRUE(PtZString::appendZStringDict(QString::fromStdString(file)));
    const DNGConversionDlg dialog(nullptr, false, false, true, 0);
    PtZString::closeZStringDict();

    const QStringList shown = textsOf(dialog);
    ASSERT_EQ(shown.size(), keys.size());
    for (qsizetype i = 0; i < keys.size(); ++i)
        EXPECT_EQ(shown[i], keys[i] + u" found"_s);
}

TEST_F(DNGConversionDlgTest, GivesItsGroupsTheFontOfTheLabel)
{
    const DNGConversionDlg dialog(nullptr, false, false, true, 0);
    const int size = dialog.findChildren<QLabel*>().first()->font().pointSize();
    for (const auto* group : dialog.findChildren<QGroupBox*>()) {
        EXPECT_EQ(group->font().pointSize(), size);
        EXPECT_TRUE(group->font().resolveMask() & QFont::SizeResolved);
    }
}

TEST_F(DNGConversionDlgTest, EndsWithOkAndWithCancel)
{
    struct Row {
        std::function<void(QDialog&)> act;
        int result;
    };
    for (const Row& row :
        {Row{[](QDialog& d) { QTest::mouseClick(&pushButton(d, u"OK"_s), Qt::LeftButton); },
             QDialog::Accepted},
            Row{[](QDialog& d) { QTest::mouseClick(&pushButton(d, u"Cancel"_s), Qt::LeftButton); },
                QDialog::Rejected},
            Row{[](QDialog& d) { QTest::keyClick(&combo(d), Qt::Key_Return); }, QDialog::Accepted},
            Row{[](QDialog& d) { QTest::keyClick(&d, Qt::Key_Escape); }, QDialog::Rejected},
            Row{[](QDialog& d) { d.close(); }, QDialog::Rejected}}) {
        DNGConversionDlg dialog(nullptr, false, false, true, 0);
        onNextDialog(row.act);
        EXPECT_EQ(dialog.exec(), row.result);
    }
}

TEST_F(DNGConversionDlgTest, MakesOkTheDefault)
{
    DNGConversionDlg dialog(nullptr, false, false, true, 0);
    dialog.show();
    EXPECT_TRUE(pushButton(dialog, u"OK"_s).isDefault());
    EXPECT_FALSE(pushButton(dialog, u"Cancel"_s).isDefault());
}
