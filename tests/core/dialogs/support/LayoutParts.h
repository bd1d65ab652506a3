// What lies between the widgets of a layout.
#pragma once

#include <QLayout>
#include <QSpacerItem>

#include <gtest/gtest.h>

namespace test {

// The spacer at this place of the layout has that size, and gives way and grows in that manner.
inline void expectSpacer(const QLayout& layout,
    int place,
    QSize size,
    QSizePolicy::Policy horizontal,
    QSizePolicy::Policy vertical)
{
    const QLayoutItem* const item = layout.itemAt(place);
    ASSERT_TRUE(item) << "nothing at " << place;
    const auto* const spacer = const_cast<QLayoutItem*>(item)->spacerItem();
    ASSERT_TRUE(spacer) << "no spacer at " << place;
    EXPECT_EQ(spacer->sizeHint(), size) << place;
    EXPECT_EQ(spacer->sizePolicy().horizontalPolicy(), horizontal) << place;
    EXPECT_EQ(spacer->sizePolicy().verticalPolicy(), vertical) << place;
}

} // namespace test
