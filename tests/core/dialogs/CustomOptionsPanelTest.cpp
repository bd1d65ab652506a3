// The descriptions of the options panel that ship, one for each language.

#include "core/dialogs/support/DialogUser.h"
#include "core/dialogs/support/ScreenRun.h"

#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QLabel>
#include <QUiLoader>

#include <memory>
#include <set>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

struct NamedWidget {
    const char* name;
    const char* kind;
};

constexpr std::array kWidgets{
    NamedWidget{"launchtevoro_checkbox", "QCheckBox"},
    NamedWidget{"deletefiles_checkbox", "QCheckBox"},
    NamedWidget{"dng_checkbox", "QCheckBox"},
    NamedWidget{"settings_button", "QPushButton"},
    NamedWidget{"savecopies_checkbox", "QCheckBox"},
    NamedWidget{"secondary_backup_label", "QLabel"},
    NamedWidget{"browse_button", "QPushButton"},
    NamedWidget{"delete_options_label_minimum_ui", "QLabel"},
};

constexpr std::array kTranslations{"de_de", "es_es", "fr_fr", "it_it", "ja_jp", "nl_nl", "pl_pl"};

std::unique_ptr<QWidget> loadPanel(const std::string& locale)
{
    QFile file(QString::fromStdString(std::string(TEVORO_SOURCE_DIR "/shared_assets/locales/")
        + locale + "/Tevoro_custom_options.ui"));
    if (!file.open(QIODevice::ReadOnly))
        return nullptr;
    QUiLoader loader;
    return std::unique_ptr<QWidget>(loader.load(&file));
}

// The whole of a widget's structure without its texts, for comparing languages.
QStringList structureOf(const QWidget& panel)
{
    QStringList lines;
    for (const QWidget* widget : panel.findChildren<QWidget*>())
        lines << QString::fromUtf8(widget->metaObject()->className()) + u' ' + widget->objectName();
    for (const QWidget* next = panel.nextInFocusChain(); next != &panel;
         next = next->nextInFocusChain())
        lines << u"focus "_s + next->objectName();
    return lines;
}

bool fits(const QWidget& widget)
{
    const int needed = widget.hasHeightForWidth() ? widget.heightForWidth(widget.width())
                                                  : widget.sizeHint().height();
    const bool wide = widget.hasHeightForWidth() || widget.width() >= widget.sizeHint().width();
    return wide && widget.height() >= needed;
}

void expectAllTextsFit(QWidget& panel, const std::string& what)
{
    panel.ensurePolished();
    panel.adjustSize();
    panel.show();
    for (const QWidget* widget : panel.findChildren<QWidget*>()) {
        EXPECT_TRUE(fits(*widget)) << widget->objectName().toStdString() << ' ' << what;
        EXPECT_TRUE(panel.rect().contains(widget->geometry()))
            << widget->objectName().toStdString() << ' ' << what;
    }
}

class CustomOptionsPanelTest : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override
    {
        panel = loadPanel(GetParam());
        ASSERT_TRUE(panel);
    }
    std::unique_ptr<QWidget> panel;
};

} // namespace

TEST_P(CustomOptionsPanelTest, HoldsEveryWidgetAsWhatItIs)
{
    for (const NamedWidget& row : kWidgets) {
        const auto found = panel->findChildren<QWidget*>(QString::fromUtf8(row.name));
        ASSERT_EQ(found.size(), 1) << row.name;
        EXPECT_STREQ(found.first()->metaObject()->className(), row.kind) << row.name;
        EXPECT_TRUE(found.first()->isEnabled()) << row.name;
    }
}

TEST_P(CustomOptionsPanelTest, HasAnAcceleratorOfItsOwnForEachOption)
{
    std::set<QKeySequence> seen;
    for (const auto* button : panel->findChildren<QAbstractButton*>()) {
        const QKeySequence key = QKeySequence::mnemonic(button->text());
        // The sink sets this one's text itself.
        EXPECT_EQ(key.isEmpty(), button->objectName() == u"browse_button"_s)
            << button->objectName().toStdString();
        EXPECT_TRUE(key.isEmpty() || seen.insert(key).second) << key.toString().toStdString();
    }
    EXPECT_EQ(seen.size(), 5U);
}

TEST_P(CustomOptionsPanelTest, ExplainsEachOption)
{
    std::set<QString> tips;
    for (const auto* button : panel->findChildren<QAbstractButton*>()) {
        EXPECT_FALSE(button->text().isEmpty()) << button->objectName().toStdString();
        EXPECT_FALSE(button->toolTip().isEmpty()) << button->objectName().toStdString();
        EXPECT_TRUE(tips.insert(button->toolTip()).second) << button->toolTip().toStdString();
    }
    EXPECT_FALSE(panel->windowTitle().isEmpty());
}

// A path may hold "&": it names no accelerator and is shown whole, as a label without a buddy does.
TEST_P(CustomOptionsPanelTest, ShowsAPathAsItStands)
{
    const auto* label = panel->findChild<QLabel*>(u"secondary_backup_label"_s);
    EXPECT_EQ(label->textFormat(), Qt::PlainText);
    EXPECT_EQ(label->buddy(), nullptr);
    EXPECT_GE(label->minimumWidth(), 240);
}

TEST_P(CustomOptionsPanelTest, HasTheStructureOfTheEnglishOne)
{
    const auto english = loadPanel("en_us");
    ASSERT_TRUE(english);
    EXPECT_EQ(structureOf(*panel), structureOf(*english));
}

TEST_P(CustomOptionsPanelTest, VisitsItsOptionsFromTopToBottom)
{
    panel->show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(panel.get()));
    panel->findChild<QWidget*>(u"launchtevoro_checkbox"_s)->setFocus();
    QStringList visited;
    for (int i = 0; i < 6; ++i) {
        visited << panel->focusWidget()->objectName();
        QTest::keyClick(panel->focusWidget(), Qt::Key_Tab);
    }
    EXPECT_EQ(visited.join(u' '),
        u"launchtevoro_checkbox dng_checkbox settings_button deletefiles_checkbox"
        " savecopies_checkbox browse_button"_s);
}

TEST_P(CustomOptionsPanelTest, ShowsAllTextsWholeAtTheScaleOfTheScreen)
{
    const double scale = qEnvironmentVariableIsSet("QT_SCALE_FACTOR")
        ? qEnvironmentVariable("QT_SCALE_FACTOR").toDouble()
        : 1.0;
    ASSERT_EQ(panel->devicePixelRatioF(), scale);
    expectAllTextsFit(*panel, GetParam());
}

TEST_P(CustomOptionsPanelTest, ShowsAllTextsWholeInLettersOfTwiceTheSize)
{
    QFont font = panel->font();
    font.setPointSizeF(font.pointSizeF() * 2);
    const int before = panel->sizeHint().height();
    panel->setFont(font);
    expectAllTextsFit(*panel, GetParam());
    EXPECT_GT(panel->height(), before * 4 / 3);
}

INSTANTIATE_TEST_SUITE_P(
    English, CustomOptionsPanelTest, testing::Values("en_us"), [](const auto& row) {
        return std::string(row.param);
    });

INSTANTIATE_TEST_SUITE_P(
    Translations, CustomOptionsPanelTest, testing::ValuesIn(kTranslations), [](const auto& row) {
        return std::string(row.param);
    });

TEST(CustomOptionsPanelScaleTest, ShowsAllTextsWholeAtTwiceTheScale)
{
    test::Screen screen;
    screen.scale = 2;
    test::expectPassOnScreen(screen,
        "*CustomOptionsPanelTest.ShowsAllTextsWholeAtTheScaleOfTheScreen/*",
        1 + static_cast<int>(kTranslations.size()));
}

TEST(CustomOptionsPanelLanguagesTest, TranslateEveryText)
{
    const auto english = loadPanel("en_us");
    ASSERT_TRUE(english);
    for (const char* locale : kTranslations) {
        const auto panel = loadPanel(locale);
        ASSERT_TRUE(panel) << locale;
        EXPECT_NE(panel->windowTitle(), english->windowTitle()) << locale;
        for (const NamedWidget& row : kWidgets) {
            for (const char* property : {"text", "toolTip", "accessibleName"}) {
                const QString here =
                    test::childOf<QWidget>(*panel, row.name).property(property).toString();
                const QString there =
                    test::childOf<QWidget>(*english, row.name).property(property).toString();
                EXPECT_EQ(here.isEmpty(), there.isEmpty()) << locale << row.name << property;
                EXPECT_TRUE(there.isEmpty() || here != there) << locale << row.name << property;
            }
        }
    }
}
