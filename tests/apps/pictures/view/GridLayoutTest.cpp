#include "pictures/view/GridLayout.h"

#include <gtest/gtest.h>

namespace pictures {

namespace {

// Three columns of tiles of 100 x 120 with 10 between them, and headings of 30.
class GridLayoutTest : public testing::Test {
protected:
    static constexpr GridLayout::Metrics kMetrics{340, {100, 120}, 10, 30};

    GridLayout arranged(const std::vector<int>& counts) const
    {
        GridLayout layout;
        layout.arrange(kMetrics, counts);
        return layout;
    }
};

TEST_F(GridLayoutTest, PutsTilesInLinesBelowTheirHeading)
{
    const GridLayout layout = arranged({5, 2});
    EXPECT_EQ(layout.columns(), 3);
    EXPECT_EQ(layout.heading(0), QRect(10, 0, 320, 30));
    EXPECT_EQ(layout.tile(0), QRect(10, 40, 100, 120));
    EXPECT_EQ(layout.tile(2), QRect(230, 40, 100, 120));
    EXPECT_EQ(layout.tile(3), QRect(10, 170, 100, 120));
    EXPECT_EQ(layout.heading(1).top(), 290);
    EXPECT_EQ(layout.tile(5), QRect(10, 330, 100, 120));
    EXPECT_EQ(layout.height(), 460);
}

TEST_F(GridLayoutTest, SharesOutTheRestOfTheWidth)
{
    GridLayout layout;
    layout.arrange({360, {100, 120}, 10, 0}, {3});
    EXPECT_EQ(layout.tile(0).left(), 20);
    EXPECT_EQ(layout.tile(2).right(), 339);
}

TEST_F(GridLayoutTest, KeepsOneColumnInAViewThatIsTooNarrow)
{
    GridLayout layout;
    layout.arrange({20, {100, 120}, 10, 30}, {3});
    EXPECT_EQ(layout.columns(), 1);
    EXPECT_EQ(layout.tile(2).top(), 40 + 2 * 130);
    layout.arrange({0, {100, 120}, 10, 30}, {3});
    EXPECT_EQ(layout.columns(), 1);
}

TEST_F(GridLayoutTest, FindsEachTileByAnyPointInIt)
{
    const GridLayout layout = arranged({5, 2, 4});
    for (int row = 0; row < layout.rowCount(); ++row) {
        const QRect tile = layout.tile(row);
        EXPECT_EQ(layout.rowAt(tile.topLeft()), row);
        EXPECT_EQ(layout.rowAt(tile.bottomRight()), row);
        EXPECT_EQ(layout.rowAt(tile.topLeft() - QPoint(1, 0)), -1);
        EXPECT_EQ(layout.rowAt(tile.bottomRight() + QPoint(0, 1)), -1);
    }
    EXPECT_EQ(layout.rowAt({120, 180 + 110}), -1) << "right of the last tile of a line";
    EXPECT_EQ(layout.rowAt({50, 10}), -1) << "a heading";
    EXPECT_EQ(layout.rowAt({50, 100000}), -1);
    EXPECT_EQ(layout.rowAt({-5, -5}), -1);
}

TEST_F(GridLayoutTest, TellsWhatLiesBetweenTwoHeights)
{
    const GridLayout layout = arranged({5, 2, 4});
    for (int top = 0; top < layout.height(); top += 7) {
        for (const int height : {1, 50, 300, 2000}) {
            const auto [first, last] = layout.rowsBetween(top, top + height);
            for (int row = 0; row < layout.rowCount(); ++row) {
                const QRect tile = layout.tile(row);
                if (tile.bottom() >= top && tile.top() <= top + height) {
                    EXPECT_TRUE(row >= first && row <= last)
                        << row << " at " << top << "+" << height;
                }
            }
        }
    }
    const auto [first, last] = layout.rowsBetween(0, 60);
    EXPECT_EQ(first, 0);
    EXPECT_EQ(last, 2);
}

TEST_F(GridLayoutTest, NamesFewRowsBeyondWhatIsVisible)
{
    const GridLayout layout = arranged({30000});
    const auto [first, last] = layout.rowsBetween(130 * 1000, 130 * 1000 + 500);
    EXPECT_GE(first, 2995);
    EXPECT_LE(last, 3020);
}

TEST_F(GridLayoutTest, KnowsTheSectionsBetweenTwoHeights)
{
    const GridLayout layout = arranged({5, 2, 4});
    EXPECT_EQ(layout.sectionsBetween(0, 10), std::pair(0, 0));
    EXPECT_EQ(layout.sectionsBetween(0, 290), std::pair(0, 1));
    EXPECT_EQ(layout.sectionsBetween(300, 10000), std::pair(1, 2));
}

TEST_F(GridLayoutTest, MovesUpAndDownInAColumnAcrossSections)
{
    const GridLayout layout = arranged({5, 2, 4});
    EXPECT_EQ(layout.rowBelow(0), 3);
    EXPECT_EQ(layout.rowBelow(2), 4) << "the line below is shorter";
    EXPECT_EQ(layout.rowBelow(3), 5);
    EXPECT_EQ(layout.rowBelow(6), 8);
    EXPECT_EQ(layout.rowBelow(10), 10) << "nothing below";
    EXPECT_EQ(layout.rowAbove(0), 0);
    EXPECT_EQ(layout.rowAbove(4), 1);
    EXPECT_EQ(layout.rowAbove(6), 4);
    EXPECT_EQ(layout.rowAbove(9), 6) << "the line above is shorter";
    EXPECT_EQ(layout.rowAbove(7), 5);
}

TEST_F(GridLayoutTest, ReachesEveryLineByMovingDown)
{
    const GridLayout layout = arranged({5, 2, 4, 1, 7});
    int row = 0;
    int steps = 0;
    while (layout.rowBelow(row) != row) {
        EXPECT_GT(layout.tile(layout.rowBelow(row)).top(), layout.tile(row).top());
        row = layout.rowBelow(row);
        ++steps;
    }
    EXPECT_EQ(steps, 2 + 1 + 2 + 1 + 3 - 1);
}

TEST_F(GridLayoutTest, HoldsNothingWithoutSections)
{
    const GridLayout layout = arranged({});
    EXPECT_EQ(layout.rowCount(), 0);
    EXPECT_EQ(layout.rowAt({10, 10}), -1);
    EXPECT_EQ(layout.rowsBetween(0, 100), std::pair(0, -1));
    EXPECT_EQ(layout.sectionsBetween(0, 100), std::pair(0, -1));
}

} // namespace

} // namespace pictures
