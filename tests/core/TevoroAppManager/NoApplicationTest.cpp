// The sink in a host that has no toolkit application: nothing is measured, nobody is asked.

#include "core/TevoroAppManager/support/SinkFixture.h"

using NoApplicationTest = test::SinkFixture;

TEST_F(NoApplicationTest, ShowsTheWholeBackupFolder)
{
    openWithPanel();
    EXPECT_EQ(panel.control("secondary_backup_label").text, tree.path("home/Pictures"));
    EXPECT_EQ(panel.control("secondary_backup_label").toolTip, tree.path("home/Pictures"));
}

TEST_F(NoApplicationTest, TakesQuestionsForCancelled)
{
    openWithPanel();
    for (const char* widget : {"browse_button", "settings_button"})
        EXPECT_EQ(face<IUICallback>(26).handleUIEvent(widget), kFxOk);
    EXPECT_EQ(panel.control("secondary_backup_label").toolTip, tree.path("home/Pictures"));
}
