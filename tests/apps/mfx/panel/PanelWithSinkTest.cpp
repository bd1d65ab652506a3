// The panel that ships, in each language, bound to the sink, and used as a person uses it.

#include "TevoroAppManager/CAppSource.h"
#include "core/TevoroAppManager/support/RuntimeTree.h"
#include "mfx/panel/OptionsPanel.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QTimer>

#include <functional>
#include <memory>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace mfx {

class PanelWithSinkTest : public testing::TestWithParam<const char*> {
protected:
    PanelWithSinkTest()
        : m_panel(u"../shared_assets/locales/"_s + QLatin1String(GetParam())
            + u"/Tevoro_custom_options.ui"_s)
        , m_sink(new CAppSource(CAppInfo()))
    {
        m_sink->AddRef();
        m_sink->SetClientUIHandler(&m_panel);
    }
    ~PanelWithSinkTest() override { m_sink->Release(); }

    QAbstractButton& button(const char* name)
    {
        auto* found = m_panel.widget().findChild<QAbstractButton*>(QLatin1String(name));
        EXPECT_NE(found, nullptr) << name;
        return *found;
    }
    bool isEnabled(const char* name)
    {
        return m_panel.widget().findChild<QWidget*>(QLatin1String(name))->isEnabled();
    }

    // What the person does with the dialog that the next click opens.
    void inNextDialog(const std::function<void(QDialog&)>& action)
    {
        QTimer::singleShot(0, qApp, [this, action] {
            auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            ASSERT_NE(dialog, nullptr);
            ++m_dialogs;
            action(*dialog);
        });
    }

    test::RuntimeTree m_tree;
    OptionsPanel m_panel;
    CAppSource* m_sink;
    int m_dialogs = 0;
};

TEST_P(PanelWithSinkTest, EnablesTheBackupControlsWithTheirCheckBox)
{
    EXPECT_FALSE(isEnabled("browse_button"));
    EXPECT_FALSE(isEnabled("secondary_backup_label"));
    button("savecopies_checkbox").click();
    EXPECT_TRUE(isEnabled("browse_button"));
    EXPECT_TRUE(isEnabled("secondary_backup_label"));
    button("savecopies_checkbox").click();
    EXPECT_FALSE(isEnabled("browse_button"));
}

TEST_P(PanelWithSinkTest, EnablesTheSettingsWithTheConversion)
{
    button("dng_checkbox").setChecked(false);
    button("dng_checkbox").click();
    EXPECT_TRUE(isEnabled("settings_button"));
    button("dng_checkbox").click();
    EXPECT_FALSE(isEnabled("settings_button"));
}

TEST_P(PanelWithSinkTest, ShowsThePicturesFolderFirst)
{
    auto* label = m_panel.widget().findChild<QLabel*>(u"secondary_backup_label"_s);
    ASSERT_NE(label, nullptr);
    EXPECT_EQ(label->toolTip().toStdString(), m_tree.path("home/Pictures"));
    EXPECT_FALSE(label->text().isEmpty());
}

TEST_P(PanelWithSinkTest, KeepsTheSettingsOfTheConversionDialog)
{
    button("dng_checkbox").click();
    inNextDialog([](QDialog& dialog) {
        dialog.findChild<QComboBox*>(u"preview_options_combo"_s)->setCurrentIndex(2);
        dialog.accept();
    });
    button("settings_button").click();
    int shown = -1;
    inNextDialog([&shown](QDialog& dialog) {
        shown = dialog.findChild<QComboBox*>(u"preview_options_combo"_s)->currentIndex();
        dialog.reject();
    });
    button("settings_button").click();
    EXPECT_EQ(shown, 2);
    EXPECT_EQ(m_dialogs, 2);
}

TEST_P(PanelWithSinkTest, KeepsTheFolderWhenTheChooserIsCancelled)
{
    button("savecopies_checkbox").click();
    inNextDialog([](QDialog& dialog) { dialog.reject(); });
    button("browse_button").click();
    EXPECT_EQ(m_dialogs, 1);
    auto* label = m_panel.widget().findChild<QLabel*>(u"secondary_backup_label"_s);
    EXPECT_EQ(label->toolTip().toStdString(), m_tree.path("home/Pictures"));
}

INSTANTIATE_TEST_SUITE_P(Locales,
    PanelWithSinkTest,
    testing::Values("en_us", "de_de", "es_es", "fr_fr", "it_it", "ja_jp", "nl_nl", "pl_pl"));

} // namespace mfx
