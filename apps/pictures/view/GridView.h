// The pictures of a folder as a grid of thumbnails, with a heading for each day.
//
// A view of a FolderModel: it shows a selection and a current picture, is moved through by the
// keyboard, and is known to assistive technology as an item view. Which thumbnails are read is told
// to the queue as the view scrolls. Model and queue are borrowed and outlive the view.
#pragma once

#include "pictures/scheduling/ThumbnailQueue.h"
#include "pictures/view/FolderModel.h"
#include "pictures/view/GridLayout.h"

#include <QListView>

namespace pictures {

// A list view by its base, and known as such to assistive technology; what it shows, where, and how
// one moves through it, is its own.
class GridView : public QListView {
    Q_OBJECT
public:
    static constexpr int kSmallestTile = 64; // of the picture, in device-independent pixels
    static constexpr int kMaxTile = 512;

    GridView(FolderModel& model, ThumbnailQueue& queue, QWidget* parent = nullptr);

    void setTileSize(int pixels);
    int tileSize() const { return m_tileSize; }
    // -1: none.
    int currentRow() const { return currentIndex().row(); }
    // Whether every tile that can be seen shows what it will show.
    bool isComplete() const;
    // As if the user had moved there.
    void goToRow(int row);
    // What stands in the middle when there are no pictures.
    void setEmptyText(const QString& text);

    QRect visualRect(const QModelIndex& index) const override;
    void scrollTo(const QModelIndex& index, ScrollHint hint = EnsureVisible) override;
    QModelIndex indexAt(const QPoint& point) const override;
    void doItemsLayout() override;

Q_SIGNALS:
    // Opened by a double click or the return key.
    void opened(int row);
    // By the control key and the wheel, or plus and minus.
    void tileSizeWanted(int pixels);

protected:
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void selectionChanged(
        const QItemSelection& selected, const QItemSelection& deselected) override;
    QModelIndexList selectedIndexes() const override;
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    int horizontalOffset() const override;
    int verticalOffset() const override;
    bool isIndexHidden(const QModelIndex& index) const override;
    void setSelection(const QRect& rect, QItemSelectionModel::SelectionFlags command) override;
    QRegion visualRegionForSelection(const QItemSelection& selection) const override;
    void updateGeometries() override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void changeEvent(QEvent* event) override;
    bool viewportEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    static constexpr int kSpacing = 8;
    static constexpr int kPadding = 6; // between a tile's edge and its picture

    void setCurrentRow(int row);
    void rememberPlace();
    void takeNewRows();
    void arrange();
    void tellVisible();
    void paintTile(QPainter& painter, int row);
    void paintPicture(QPainter& painter, int row, QRect area);
    void paintName(QPainter& painter, int row, QRect area);
    void paintHeading(QPainter& painter, int section);
    QSize tileExtent() const;

    FolderModel& m_model;
    ThumbnailQueue& m_queue;
    GridLayout m_layout;
    int m_tileSize = 160;
    QString m_emptyText;

    // Where the view was, while the model changes its rows.
    QString m_folder;
    QString m_currentPath;
    QString m_topPath;
    int m_topOffset = 0; // of the viewport's upper edge, from the top of that tile
    bool m_wasAtTop = true;
    bool m_isUsed = false; // the user has moved in this folder
};

} // namespace pictures
