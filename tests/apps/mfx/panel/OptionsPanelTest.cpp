#include "mfx/panel/OptionsPanel.h"

#include "mfx/engine/sink/SinkModule.h"
#include "support/TestFolder.h"

#include <QCheckBox>

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace mfx {
namespace {

constexpr char kShipped[] =
    TEVORO_STAGE_HOME "/shared_assets/locales/en_us/Tevoro_custom_options.ui";
constexpr char kPanel[] = R"(<ui version="4.0"><widget class="QWidget" name="panel">
<widget class="QCheckBox" name="box"/><widget class="QLabel" name="label"/></widget></ui>)";

class OptionsPanelTest : public testing::Test {
protected:
    QString panelFile(const std::string& text = kPanel) const
    {
        return QString::fromStdString(folder.write("panel.ui", text));
    }
    static std::string refusal(const QString& file)
    {
        try {
            OptionsPanel panel(file);
        } catch (const SystemPartError& error) {
            return error.what();
        }
        return "";
    }

    test::TestFolder folder;
};

TEST_F(OptionsPanelTest, FindsTheWidgetsOfThePanelThatShips)
{
    OptionsPanel panel{QString::fromUtf8(kShipped)};
    for (const char* name : {"savecopies_checkbox", "dng_checkbox", "deletefiles_checkbox"}) {
        IClientUIControl* control = nullptr;
        EXPECT_EQ(panel.FindControl(name, &control), kFxOk);
        ASSERT_NE(control, nullptr) << name;
        EXPECT_FALSE(panel.isChecked(name));
        control->SetChecked(true);
        EXPECT_TRUE(panel.isChecked(name));
        EXPECT_GT(control->GetControlWidth(), 0) << "texts are fitted to it";
        control->Release();
    }
}

TEST_F(OptionsPanelTest, GivesNothingForANameThatItDoesNotHave)
{
    OptionsPanel panel(panelFile());
    IClientUIControl* control = nullptr;
    panel.FindControl("box", &control);
    EXPECT_EQ(panel.FindControl("missing", &control), kFxOk);
    EXPECT_EQ(control, nullptr);
    EXPECT_FALSE(panel.isChecked("missing"));
    EXPECT_FALSE(panel.isChecked("label"));
}

TEST_F(OptionsPanelTest, GivesOneControlForOneWidgetAndCountsItsReferences)
{
    OptionsPanel panel(panelFile());
    IClientUIControl* first = nullptr;
    IClientUIControl* second = nullptr;
    panel.FindControl("box", &first);
    panel.FindControl("box", &second);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first, second);
    EXPECT_EQ(first->Release(), 2U);
    EXPECT_EQ(first->Release(), 1U);
}

TEST_F(OptionsPanelTest, NamesAFileThatIsMissingOrDamaged)
{
    const QString missing = QString::fromStdString(folder.path("missing.ui"));
    EXPECT_THAT(refusal(missing), HasSubstr("missing.ui"));
    for (const char* text : {"", "no panel", "<ui version=\"4.0\"><widget class=\"QWid"}) {
        EXPECT_THAT(refusal(panelFile(text)), HasSubstr("panel.ui")) << text;
        EXPECT_THAT(refusal(panelFile(text)), HasSubstr("damaged")) << text;
    }
}

} // namespace
} // namespace mfx
