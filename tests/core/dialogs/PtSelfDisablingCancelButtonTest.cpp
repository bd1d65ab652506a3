#include "dialogs/PtSelfDisablingCancelButton.h"

#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(PtSelfDisablingCancelButtonTest, HasANameAndIsEnabledAtFirst)
{
    QWidget parent;
    const PtSelfDisablingCancelButton button(&parent);
    EXPECT_EQ(button.objectName(), u"cancel button"_s);
    EXPECT_EQ(button.parentWidget(), &parent);
    EXPECT_TRUE(button.isEnabled());
}

TEST(PtSelfDisablingCancelButtonTest, CanBePressedOnce)
{
    PtSelfDisablingCancelButton button(nullptr);
    button.show();
    QSignalSpy pressed(&button, &QPushButton::clicked);
    QTest::mouseClick(&button, Qt::LeftButton);
    EXPECT_FALSE(button.isEnabled());
    QTest::mouseClick(&button, Qt::LeftButton);
    button.click();
    EXPECT_EQ(pressed.count(), 1);
}
