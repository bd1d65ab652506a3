// The sink's questions about a folder and about the conversion, answered by a script.

#include "TevoroAppManager/CAppSource.h"
#include "core/TevoroAppManager/support/HostPanel.h"
#include "core/TevoroAppManager/support/RuntimeTree.h"

#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ScriptedDialogs final : public PanelDialogs {
public:
    QString askFolder(const QString& start, bool isFirst) override
    {
        asked.push_back(start.toStdString() + (isFirst ? "" : " again"));
        const QString answer = folders.empty() ? QString() : folders.front();
        if (!folders.empty())
            folders.erase(folders.begin());
        return answer;
    }
    void warnUnwritable() override { ++warnings; }
    bool editDNGSettings(DNGSettings& settings) override
    {
        seen.push_back(settings);
        if (accepts)
            settings = edited;
        return accepts;
    }

    std::vector<QString> folders; // answers in turn, then none
    std::vector<std::string> asked;
    int warnings = 0;
    bool accepts = true;
    DNGSettings edited;
    std::vector<DNGSettings> seen;
};

class PanelDialogsTest : public testing::Test {
protected:
    PanelDialogsTest()
        : m_sink(new CAppSource(CAppInfo(), m_dialogs))
    {
        m_sink->AddRef();
        m_sink->SetClientUIHandler(&m_panel);
    }
    ~PanelDialogsTest() override { m_sink->Release(); }

    void use(const char* widget) { EXPECT_EQ(m_sink->handleUIEvent(widget), kFxOk); }
    std::string shownFolder() { return m_panel.control("secondary_backup_label").toolTip; }
    std::string defaultFolder() const { return m_tree.path("home/Pictures"); }

    test::RuntimeTree m_tree;
    test::Journal m_journal;
    test::HostPanel m_panel{m_journal};
    ScriptedDialogs m_dialogs;
    CAppSource* m_sink;
};

} // namespace

TEST_F(PanelDialogsTest, TakesTheFolderThatWasChosen)
{
    const std::string chosen = m_tree.path("home");
    m_dialogs.folders = {QString::fromStdString(chosen)};
    use("browse_button");
    EXPECT_THAT(m_dialogs.asked, ElementsAre(defaultFolder()));
    EXPECT_EQ(shownFolder(), chosen);
}

TEST_F(PanelDialogsTest, KeepsTheOldFolderWhenNoneWasChosen)
{
    use("browse_button");
    EXPECT_EQ(m_dialogs.asked.size(), 1U);
    EXPECT_EQ(shownFolder(), defaultFolder());
}

TEST_F(PanelDialogsTest, WarnsForEachFolderThatCannotBeWritten)
{
    m_dialogs.folders = {u"/no/such/folder"_s, u"/nor/this"_s};
    use("browse_button");
    EXPECT_EQ(m_dialogs.warnings, 2);
    EXPECT_THAT(m_dialogs.asked,
        ElementsAre(defaultFolder(), defaultFolder() + " again", defaultFolder() + " again"));
    EXPECT_EQ(shownFolder(), defaultFolder());
}

TEST_F(PanelDialogsTest, TakesAWritableFolderAfterAWarning)
{
    m_dialogs.folders = {u"/no/such/folder"_s, QString::fromStdString(m_tree.path("home"))};
    use("browse_button");
    EXPECT_EQ(m_dialogs.warnings, 1);
    EXPECT_EQ(shownFolder(), m_tree.path("home"));
}

TEST_F(PanelDialogsTest, DisablesTheSettingsButtonAndStillOpensTheSettings)
{
    m_panel.check("dng_checkbox", false);
    use("settings_button");
    EXPECT_FALSE(m_panel.control("settings_button").enabled);
    EXPECT_EQ(m_dialogs.seen.size(), 1U);
}

TEST_F(PanelDialogsTest, KeepsTheSettingsForTheNextTime)
{
    m_dialogs.edited = {true, true, true, 2};
    use("settings_button");
    use("settings_button");
    ASSERT_EQ(m_dialogs.seen.size(), 2U);
    EXPECT_EQ(m_dialogs.seen[0].jpegPreviewSize, 1);
    EXPECT_FALSE(m_dialogs.seen[0].embedRaw);
    EXPECT_TRUE(m_dialogs.seen[1].embedRaw);
    EXPECT_TRUE(m_dialogs.seen[1].linear);
    EXPECT_TRUE(m_dialogs.seen[1].uncompressed);
    EXPECT_EQ(m_dialogs.seen[1].jpegPreviewSize, 2);
}

TEST_F(PanelDialogsTest, LeavesTheSettingsWhenTheDialogIsCancelled)
{
    m_dialogs.accepts = false;
    m_dialogs.edited = {true, true, true, 2};
    use("settings_button");
    use("settings_button");
    EXPECT_FALSE(m_dialogs.seen[1].linear);
}

TEST_F(PanelDialogsTest, AsksNothingForOtherWidgets)
{
    for (const char* widget : {"savecopies_checkbox",
             "dng_checkbox",
             "launchtevoro_checkbox",
             "deletefiles_checkbox",
             "secondary_backup_label",
             "Browse_button",
             "",
             "x"})
        use(widget);
    EXPECT_THAT(m_dialogs.asked, IsEmpty());
    EXPECT_THAT(m_dialogs.seen, IsEmpty());
}
