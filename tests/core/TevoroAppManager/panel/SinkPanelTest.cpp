#include "TevoroAppManager/contract/IUIOrderingOptionsEnum.h"
#include "core/TevoroAppManager/support/SinkFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using test::untouchedBuffer;
using test::written;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// The host's standard controls; what they hold at the start is in the records.
class HostOrder final : public IUIOrderingOptionsEnum {
public:
    struct Control {
        std::uint32_t id;
        std::int32_t position;
    };
    explicit HostOrder(std::vector<Control> inOrder)
        : controls(std::move(inOrder))
    {
    }

    std::uint32_t QueryInterface(long, void**) override { return 0; }
    std::uint32_t AddRef() override { return 1; }
    std::uint32_t Release() override { return 1; }
    FxStatus Next(CPropUIControlOrder& record) override
    {
        isRecordWellMade = isRecordWellMade && record.tag == 0 && record.size == 16;
        if (m_cursor == controls.size())
            return kFxEndOfList;
        record.controlId = controls[m_cursor].id;
        record.position = controls[m_cursor].position;
        ++m_cursor;
        return kFxOk;
    }
    FxStatus Reset() override
    {
        m_cursor = 0;
        return kFxOk;
    }
    FxStatus Update(CPropUIControlOrder& record) override
    {
        controls[m_cursor - 1].position = record.position;
        return kFxOk;
    }
    std::vector<std::int32_t> positions() const
    {
        std::vector<std::int32_t> all;
        for (const Control& control : controls)
            all.push_back(control.position);
        return all;
    }

    std::vector<Control> controls;
    bool isRecordWellMade = true;

private:
    std::size_t m_cursor = 1000; // until Reset
};

class SinkPanelTest : public test::SinkFixture {
protected:
    ISinkUICapabilities& capabilities() { return face<ISinkUICapabilities>(25); }
    std::string uiFile(int capacity = 200)
    {
        auto buffer = untouchedBuffer<200>();
        EXPECT_EQ(capabilities().GetUIFilename(buffer.data(), capacity), kFxOk);
        return written(buffer);
    }
    std::vector<std::string> event(const char* name)
    {
        EXPECT_EQ(face<IUICallback>(26).handleUIEvent(name), kFxOk);
        return journal.take();
    }

    // A tree of assets of this test's own.
    void ownAssets(const std::string& locale)
    {
        std::filesystem::remove(tree.path("shared_assets"));
        tree.write("shared_assets/locales/" + locale + "/Tevoro_custom_options.ui", "<ui/>");
    }
};

} // namespace

TEST_F(SinkPanelTest, NamesTheFileOfTheLocale)
{
    ownAssets("de_de");
    tree.environment.set("LC_ALL", "de_DE.UTF-8");
    open();
    EXPECT_EQ(uiFile(), "../shared_assets/locales/de_de/Tevoro_custom_options.ui|");
}

TEST_F(SinkPanelTest, NamesTheEnglishFileForALocaleWithoutOne)
{
    tree.environment.set("LC_ALL", "fr_FR.UTF-8");
    ownAssets("en_us");
    open();
    EXPECT_EQ(uiFile(), "../shared_assets/locales/en_us/Tevoro_custom_options.ui|");
}

TEST_F(SinkPanelTest, NamesTheEnglishFileThoughItIsNotThere)
{
    ownAssets("de_de");
    open();
    EXPECT_EQ(uiFile(), "../shared_assets/locales/en_us/Tevoro_custom_options.ui|");
}

TEST_F(SinkPanelTest, CutsItsTextsAtTheCapacity)
{
    open();
    auto buffer = untouchedBuffer<64>();
    EXPECT_EQ(uiFile(4), "../s");
    EXPECT_EQ(capabilities().GetCustomUICaption(buffer.data(), 8), kFxOk);
    EXPECT_EQ(written(buffer), "Advanced");
    EXPECT_EQ(capabilities().GetCustomUICaption(buffer.data(), 64), kFxOk);
    EXPECT_EQ(written(buffer), "Advanced Options|");
    EXPECT_EQ(capabilities().GetCustomUISummary(buffer.data(), 64), kFxOk);
    EXPECT_EQ(written(buffer), "Open to view advanced options|");
}

TEST_F(SinkPanelTest, OrdersTheHostsControls)
{
    open();
    HostOrder order({{0, 50}, {1, 51}, {2, 52}, {3, 53}, {7, 57}, {4, 54}, {0xffffffffU, 58}});
    EXPECT_EQ(capabilities().GetUIControlOrder(order), kFxOk);
    EXPECT_THAT(order.positions(), ElementsAre(0, 2, 1, -1, 57, 54, 58));
    EXPECT_TRUE(order.isRecordWellMade);
}

TEST_F(SinkPanelTest, BindsItsControlsInOrder)
{
    tree.environment.set("HOME", "/h");
    open();
    EXPECT_EQ(capabilities().SetClientUIHandler(&panel), kFxOk);
    EXPECT_THAT(journal.lines(),
        ElementsAre("FindControl settings_button",
            "settings_button.SetCallback",
            "FindControl deletefiles_checkbox",
            "deletefiles_checkbox.SetCallback",
            "FindControl dng_checkbox",
            "dng_checkbox.SetCallback",
            "FindControl launchtevoro_checkbox",
            "launchtevoro_checkbox.SetCallback",
            "FindControl savecopies_checkbox",
            "savecopies_checkbox.SetCallback",
            "savecopies_checkbox.SetChecked 0",
            "FindControl secondary_backup_label",
            "secondary_backup_label.SetCallback",
            "secondary_backup_label.SetText /h/Pictures",
            "secondary_backup_label.SetToolTip /h/Pictures",
            "FindControl browse_button",
            "browse_button.SetCallback",
            "browse_button.SetText Choose...",
            "secondary_backup_label.SetEnabled 0",
            "browse_button.SetEnabled 0"));
    EXPECT_EQ(panel.references, 0);
}

TEST_F(SinkPanelTest, SubscribesItsCallbackFace)
{
    openWithPanel();
    EXPECT_EQ(static_cast<void*>(panel.control("dng_checkbox").callback), faceAddress(26));
}

TEST_F(SinkPanelTest, GoesOnWithoutAnyOneControl)
{
    for (const char* missing : test::HostPanel::kAll) {
        test::Journal apart;
        test::HostPanel incomplete(apart);
        incomplete.remove(missing);
        open();
        EXPECT_EQ(capabilities().SetClientUIHandler(&incomplete), kFxOk);
        for (const char* name : test::HostPanel::kAll)
            EXPECT_EQ(face<IUICallback>(26).handleUIEvent(name), kFxOk);
        close();
    }
}

TEST_F(SinkPanelTest, TakesNoPanelForNone)
{
    open();
    EXPECT_EQ(capabilities().SetClientUIHandler(nullptr), kFxOk);
    int value = 0;
    EXPECT_EQ(
        capabilities().HandleUIModeChange(nullptr, ISinkUICapabilities::kFxUIMode1, value), kFxOk);
}

TEST_F(SinkPanelTest, BindsAgainWithoutLettingGoOfTheFirstPanel)
{
    openWithPanel();
    bind();
    EXPECT_EQ(panel.control("dng_checkbox").references, 2);
    close();
    EXPECT_EQ(panel.control("dng_checkbox").references, 1);
}

TEST_F(SinkPanelTest, ShortensTheBackupFolderAndShowsItWholeAsToolTip)
{
    const std::string deep = "/a/" + std::string(60, 'm') + "/Pictures";
    tree.environment.set("HOME", deep.substr(0, deep.rfind('/')));
    panel.control("secondary_backup_label").width = 150;
    openWithPanel();
    EXPECT_EQ(panel.control("secondary_backup_label").text, "/.../Pictures");
    EXPECT_EQ(panel.control("secondary_backup_label").toolTip, deep);
}

TEST_F(SinkPanelTest, EnablesTheBackupControlsWithTheirCheckBox)
{
    openWithPanel();
    EXPECT_FALSE(panel.control("browse_button").enabled);
    panel.check("savecopies_checkbox");
    EXPECT_THAT(event("savecopies_checkbox"),
        ElementsAre("secondary_backup_label.SetEnabled 1", "browse_button.SetEnabled 1"));
    panel.check("savecopies_checkbox", false);
    EXPECT_THAT(event("savecopies_checkbox"),
        ElementsAre("secondary_backup_label.SetEnabled 0", "browse_button.SetEnabled 0"));
}

TEST_F(SinkPanelTest, EnablesTheSettingsWithTheConversion)
{
    openWithPanel();
    panel.check("dng_checkbox");
    EXPECT_THAT(event("dng_checkbox"), ElementsAre("settings_button.SetEnabled 1"));
    panel.check("dng_checkbox", false);
    EXPECT_THAT(event("dng_checkbox"), ElementsAre("settings_button.SetEnabled 0"));
}

TEST_F(SinkPanelTest, PassesOverOtherNames)
{
    openWithPanel();
    for (const char* name : {"",
             "dng_checkbo",
             "DNG_CHECKBOX",
             "dng_checkbox ",
             "launchtevoro_checkbox",
             "deletefiles_checkbox",
             "secondary_backup_label"})
        EXPECT_THAT(event(name), IsEmpty()) << name;
    EXPECT_THAT(event(nullptr), IsEmpty());
}

TEST_F(SinkPanelTest, TellsTheLabelOfDeletionOfModes)
{
    openWithPanel();
    int value = 42;
    const auto changed = [&](int mode) {
        EXPECT_EQ(capabilities().HandleUIModeChange(
                      this, static_cast<ISinkUICapabilities::eMFXUIMode>(mode), value),
            kFxOk);
        return journal.take();
    };
    const std::string label = "delete_options_label_minimum_ui";
    EXPECT_THAT(changed(1),
        ElementsAre("FindControl " + label, label + ".SetModeValue 42", label + ".ApplyMode1"));
    EXPECT_THAT(changed(2),
        ElementsAre("FindControl " + label, label + ".SetModeValue 42", label + ".ApplyMode2"));
    EXPECT_THAT(changed(0), ElementsAre("FindControl " + label));
    EXPECT_THAT(changed(3), ElementsAre("FindControl " + label));
    EXPECT_EQ(panel.control(label).references, 4); // never released
    EXPECT_EQ(value, 42);
}

TEST_F(SinkPanelTest, GoesOnWithoutTheLabelOfDeletion)
{
    panel.remove("delete_options_label_minimum_ui");
    openWithPanel();
    int value = 1;
    EXPECT_EQ(
        capabilities().HandleUIModeChange(nullptr, ISinkUICapabilities::kFxUIMode2, value), kFxOk);
}
