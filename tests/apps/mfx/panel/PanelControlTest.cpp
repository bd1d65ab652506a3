#include "mfx/panel/PanelControl.h"

#include "TevoroAppManager/contract/IUICallback.h"

#include <QCheckBox>
#include <QFontInfo>
#include <QLabel>

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace mfx {
namespace {

// The sink's side: notes which widget was used.
class NotedUses final : public IUICallback {
public:
    std::uint32_t QueryInterface(long, void** out) override
    {
        *out = nullptr;
        return 0;
    }
    std::uint32_t AddRef() override { return 1; }
    std::uint32_t Release() override { return 1; }
    FxStatus handleUIEvent(const char* name) override
    {
        names.emplace_back(name);
        return kFxOk;
    }

    std::vector<std::string> names;
};

class PanelControlTest : public testing::Test {
protected:
    PanelControlTest() { box.setObjectName(QStringLiteral("dng_checkbox")); }

    QCheckBox box;
    QLabel label;
    NotedUses uses;
};

TEST_F(PanelControlTest, TellsTheSinkOfAClickAndOfNothingElse)
{
    PanelControl control(box);
    control.SetCallback(&uses);
    control.SetChecked(true);
    EXPECT_THAT(uses.names, IsEmpty());
    box.click();
    EXPECT_THAT(uses.names, ElementsAre("dng_checkbox"));
    EXPECT_FALSE(control.IsChecked());
    control.SetCallback(nullptr);
    box.click();
    EXPECT_THAT(uses.names, ElementsAre("dng_checkbox"));
}

TEST_F(PanelControlTest, SetsTheStateOfAButton)
{
    PanelControl control(box);
    EXPECT_FALSE(control.IsChecked());
    EXPECT_EQ(control.SetChecked(true), kFxOk);
    EXPECT_TRUE(box.isChecked());
    EXPECT_TRUE(control.IsChecked());
    EXPECT_EQ(control.SetEnabled(false), kFxOk);
    EXPECT_FALSE(box.isEnabled());
}

TEST_F(PanelControlTest, TakesALabelForNoButton)
{
    PanelControl control(label);
    EXPECT_EQ(control.SetChecked(true), kFxOk);
    EXPECT_FALSE(control.IsChecked());
}

TEST_F(PanelControlTest, ShowsTextsInUtf8)
{
    PanelControl button(box);
    PanelControl text(label);
    button.SetText("K\xC3\xA4stchen");
    text.SetText("/data/\xF0\x9F\x93\xB7");
    text.SetToolTip("\xC3\xBC"
                    "ber");
    EXPECT_EQ(box.text().toStdString(), "K\xC3\xA4stchen");
    EXPECT_EQ(label.text().toStdString(), "/data/\xF0\x9F\x93\xB7");
    EXPECT_EQ(label.toolTip().toStdString(),
        "\xC3\xBC"
        "ber");
}

TEST_F(PanelControlTest, ShowsALabelAsItsModeSays)
{
    PanelControl control(label);
    control.SetModeValue(1);
    control.ApplyMode1();
    EXPECT_FALSE(label.isHidden());
    control.ApplyMode2();
    EXPECT_TRUE(label.isHidden());
    control.SetModeValue(0);
    control.ApplyMode1();
    EXPECT_TRUE(label.isHidden());
}

TEST_F(PanelControlTest, MeasuresTheWidgetAndItsFont)
{
    label.resize(321, 45);
    QFont font = label.font();
    font.setBold(true);
    font.setItalic(true);
    font.setPointSize(17);
    label.setFont(font);
    PanelControl control(label);
    EXPECT_EQ(control.GetControlWidth(), 321);
    EXPECT_EQ(control.GetControlHeight(), 45);
    EXPECT_TRUE(control.IsFontBold());
    EXPECT_TRUE(control.IsFontItalic());
    EXPECT_EQ(control.GetFontSize(), 17);
    EXPECT_EQ(QString::fromUtf8(control.GetFontFamily()), font.family());
}

TEST_F(PanelControlTest, OutlivesItsWidget)
{
    auto widget = std::make_unique<QCheckBox>();
    PanelControl control(*widget);
    control.SetCallback(&uses);
    widget.reset();
    EXPECT_EQ(control.SetEnabled(true), kFxOk);
    EXPECT_EQ(control.SetText("x"), kFxOk);
    EXPECT_EQ(control.SetToolTip("x"), kFxOk);
    EXPECT_EQ(control.SetChecked(true), kFxOk);
    EXPECT_EQ(control.ApplyMode1(), kFxOk);
    EXPECT_EQ(control.ApplyMode2(), kFxOk);
    EXPECT_FALSE(control.IsChecked());
    EXPECT_FALSE(control.IsFontBold());
    EXPECT_FALSE(control.IsFontItalic());
    EXPECT_EQ(control.GetControlWidth(), 0);
    EXPECT_EQ(control.GetControlHeight(), 0);
    EXPECT_EQ(control.GetFontSize(), 0);
    EXPECT_STREQ(control.GetFontFamily(), "");
}

TEST_F(PanelControlTest, LeavesAWidgetBehindThatCanBeUsed)
{
    {
        PanelControl control(box);
        control.SetCallback(&uses);
    }
    box.click();
    EXPECT_THAT(uses.names, IsEmpty());
}

} // namespace
} // namespace mfx
