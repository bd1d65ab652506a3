#include "pictures/view/GridView.h"

#include "apps/pictures/PictureFolder.h"

#include <QAccessible>
#include <QApplication>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

#include <gmock/gmock.h>

namespace pictures {

namespace {

using test::happens;

class GridViewTest : public testing::Test {
protected:
    GridViewTest()
    {
        m_view.resize(600, 400);
        m_view.show();
    }
    // Each with a time of its own, so that the rows keep this order.
    void show(int count, const QString& folder = QStringLiteral("/p"))
    {
        FolderContents contents{folder, {}, {}};
        for (int i = 0; i < count; ++i)
            contents.groups.push_back({QStringLiteral("%1.jpg").arg(i, 5, 10, QChar(u'0')),
                PictureKind::kJpeg,
                {},
                5,
                i * 1'000'000'000LL});
        m_model.setContents(contents);
        std::vector<ThumbnailSubject> subjects;
        for (int row = 0; row < m_model.rowCount(); ++row)
            subjects.push_back({m_model.path(row), 0, -1}); // none is read
        m_queue.setSubjects(std::move(subjects));
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(&m_view, key, modifiers);
    }
    bool isVisible(int row) const
    {
        return m_view.viewport()->rect().contains(m_view.visualRect(m_model.index(row)));
    }
    int top() const { return m_view.verticalScrollBar()->value(); }

    test::PictureFolder m_folder;
    FolderModel m_model;
    ThumbnailQueue m_queue{ThumbnailStore(m_folder.store()), 1};
    GridView m_view{m_model, m_queue};
};

TEST_F(GridViewTest, BeginsWithTheFirstPicture)
{
    show(100);
    EXPECT_EQ(m_view.currentRow(), 0);
    EXPECT_EQ(top(), 0);
}

TEST_F(GridViewTest, IsMovedThroughByTheKeyboard)
{
    show(100);
    press(Qt::Key_Right);
    EXPECT_EQ(m_view.currentRow(), 1);
    press(Qt::Key_Down);
    EXPECT_EQ(m_view.currentRow(), 4) << "three in a line";
    press(Qt::Key_Left);
    press(Qt::Key_Up);
    EXPECT_EQ(m_view.currentRow(), 0);
    press(Qt::Key_End);
    EXPECT_EQ(m_view.currentRow(), 99);
    EXPECT_TRUE(isVisible(99));
    press(Qt::Key_PageUp);
    EXPECT_LT(m_view.currentRow(), 99);
    EXPECT_TRUE(isVisible(m_view.currentRow()));
    press(Qt::Key_Home);
    EXPECT_EQ(m_view.currentRow(), 0);
    EXPECT_EQ(top(), 0) << "with the heading";
    press(Qt::Key_Left);
    EXPECT_EQ(m_view.currentRow(), 0);
}

TEST_F(GridViewTest, FindsANameThatIsTyped)
{
    show(100);
    for (const char key : {'0', '0', '0', '4', '2'})
        QTest::keyClick(&m_view, key);
    EXPECT_EQ(m_view.currentRow(), 42);
}

TEST_F(GridViewTest, OpensThePictureByKeyAndByDoubleClick)
{
    show(10);
    const QSignalSpy opened(&m_view, &GridView::opened);
    press(Qt::Key_Right);
    press(Qt::Key_Return);
    ASSERT_EQ(opened.count(), 1);
    EXPECT_EQ(opened[0][0].toInt(), 1);
    const QPoint point = m_view.visualRect(m_model.index(2)).center();
    QTest::mouseClick(m_view.viewport(), Qt::LeftButton, {}, point);
    QTest::mouseDClick(m_view.viewport(), Qt::LeftButton, {}, point);
    ASSERT_EQ(opened.count(), 2);
    EXPECT_EQ(opened[1][0].toInt(), 2);
}

TEST_F(GridViewTest, SelectsSeveral)
{
    show(10);
    press(Qt::Key_Right, Qt::ShiftModifier);
    press(Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_EQ(m_view.selectionModel()->selectedRows().size(), 3);
    press(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(m_view.selectionModel()->selectedRows().size(), 10);
}

TEST_F(GridViewTest, StaysWhereItIsWhenPicturesComeBeforeIt)
{
    show(200);
    m_view.goToRow(150);
    const int row = m_view.currentRow();
    const QRect before = m_view.visualRect(m_model.index(row));
    FolderContents more{QStringLiteral("/p"), {}, {}};
    for (int i = 0; i < 30; ++i) // ten lines
        more.groups.push_back({QStringLiteral("a%1.jpg").arg(i), PictureKind::kJpeg, {}, 5, 0});
    for (int i = 0; i < 200; ++i)
        more.groups.push_back(m_model.group(i));
    m_model.setContents(more);
    EXPECT_EQ(m_model.path(m_view.currentRow()), QStringLiteral("/p/00150.jpg"));
    EXPECT_EQ(m_view.visualRect(m_model.index(m_view.currentRow())), before);
}

TEST_F(GridViewTest, StaysAtTheTopWhileNobodyHasMoved)
{
    show(100);
    m_model.setTimes([](const QString& path, qint64) { return -path.mid(3, 5).toLongLong(); });
    m_model.sortAnew();
    EXPECT_EQ(m_model.path(0), QStringLiteral("/p/00099.jpg"));
    EXPECT_EQ(m_view.currentRow(), 0);
    EXPECT_EQ(top(), 0);
}

TEST_F(GridViewTest, BeginsAnewInAnotherFolder)
{
    show(100);
    m_view.goToRow(90);
    show(100, QStringLiteral("/q"));
    EXPECT_EQ(m_view.currentRow(), 0);
    EXPECT_EQ(top(), 0);
}

TEST_F(GridViewTest, KeepsTheCurrentPictureWhenTilesGrow)
{
    show(100);
    m_view.goToRow(50);
    m_view.setTileSize(300);
    EXPECT_EQ(m_view.currentRow(), 50);
    EXPECT_EQ(m_view.tileSize(), 300);
    m_view.setTileSize(1);
    EXPECT_EQ(m_view.tileSize(), GridView::kSmallestTile);
    m_view.setTileSize(100000);
    EXPECT_EQ(m_view.tileSize(), GridView::kMaxTile);
}

TEST_F(GridViewTest, FindsTheTileUnderAPoint)
{
    show(100);
    m_view.goToRow(60);
    for (int row = 0; row < 100; ++row) {
        const QPoint point = m_view.visualRect(m_model.index(row)).center();
        EXPECT_EQ(m_view.indexAt(point).row(), row);
    }
    EXPECT_FALSE(m_view.indexAt({1, 1}).isValid());
}

TEST_F(GridViewTest, ShowsThumbnailsOnceTheyAreRead)
{
    FolderContents contents{m_folder.path(), {}, {}};
    const QString path = m_folder.addPicture("a.png", Qt::green);
    contents.groups.push_back({QStringLiteral("a.png"), PictureKind::kOther, {}, 5, 1});
    m_model.setContents(contents);
    m_queue.setSubjects({{path, 0, 5}});
    const auto centerColor = [&] {
        const QPoint center = m_view.visualRect(m_model.index(0)).center();
        return m_view.viewport()->grab().toImage().pixelColor(center.x(), center.y() - 8);
    };
    EXPECT_TRUE(happens([&] { return centerColor() == QColor(Qt::green); }));
}

TEST_F(GridViewTest, SaysWhyItIsEmpty)
{
    const QImage before = m_view.viewport()->grab().toImage();
    m_view.setEmptyText(QStringLiteral("There are no pictures in this folder."));
    EXPECT_NE(m_view.viewport()->grab().toImage(), before);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_EQ(m_view.currentRow(), -1);
}

TEST_F(GridViewTest, IsKnownToAssistiveTechnology)
{
    show(3);
    QAccessibleInterface* const grid = QAccessible::queryAccessibleInterface(&m_view);
    ASSERT_NE(grid, nullptr);
    ASSERT_NE(grid->tableInterface(), nullptr);
    EXPECT_EQ(grid->tableInterface()->rowCount(), 3);
    QAccessibleInterface* const cell = grid->tableInterface()->cellAt(1, 0);
    ASSERT_NE(cell, nullptr);
    EXPECT_TRUE(cell->text(QAccessible::Name).startsWith(QStringLiteral("00001.jpg")));
    EXPECT_EQ(cell->rect().size(), m_view.visualRect(m_model.index(1)).size());
}

TEST_F(GridViewTest, ScrollsThroughAHundredThousandPictures)
{
    show(100000);
    m_view.goToRow(99999);
    EXPECT_TRUE(isVisible(99999));
    m_view.viewport()->grab();
    m_view.goToRow(50000);
    m_view.viewport()->grab();
    EXPECT_TRUE(isVisible(50000));
}

} // namespace

} // namespace pictures
