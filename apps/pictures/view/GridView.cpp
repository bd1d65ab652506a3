#include "pictures/view/GridView.h"

#include <QAccessible>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QScrollBar>
#include <QToolTip>
#include <QWheelEvent>

#include <algorithm>

namespace pictures {

namespace {

constexpr int kStep = 32; // of the tile's size, for one turn of the wheel

} // namespace

// What the list view does between this view and the item view is passed over on purpose.
// NOLINTBEGIN(bugprone-parent-virtual-call)

GridView::GridView(FolderModel& model, ThumbnailQueue& queue, QWidget* parent)
    : QListView(parent)
    , m_model(model)
    , m_queue(queue)
{
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn); // else its coming would change the width
    setSelectionMode(ExtendedSelection);
    setEditTriggers(NoEditTriggers);
    setMouseTracking(true);
    setFrameShape(QFrame::NoFrame);
    connect(&m_model, &FolderModel::modelAboutToBeReset, this, &GridView::rememberPlace);
    setModel(&m_model);
    connect(&m_model, &FolderModel::modelReset, this, &GridView::takeNewRows);
    connect(&m_queue, &ThumbnailQueue::changed, this, [this](int row) {
        viewport()->update(visualRect(m_model.index(row)));
    });
    connect(this, &QAbstractItemView::activated, this, [this](const QModelIndex& index) {
        Q_EMIT opened(index.row());
    });
    arrange();
}

void GridView::setTileSize(int pixels)
{
    pixels = std::clamp(pixels, kSmallestTile, kMaxTile);
    if (pixels == m_tileSize)
        return;
    rememberPlace();
    m_tileSize = pixels;
    takeNewRows();
}

void GridView::setCurrentRow(int row)
{
    if (row >= 0 && row < m_model.rowCount())
        setCurrentIndex(m_model.index(row));
}

void GridView::goToRow(int row)
{
    m_isUsed = true;
    setCurrentRow(row);
}

void GridView::setEmptyText(const QString& text)
{
    m_emptyText = text;
    viewport()->update();
}

bool GridView::isComplete() const
{
    const int top = verticalOffset();
    const auto [first, last] = m_layout.rowsBetween(top, top + viewport()->height() - 1);
    for (int row = first; row <= last; ++row) {
        const ThumbnailQueue::State state = m_queue.state(row);
        if (state != ThumbnailQueue::State::kReady && state != ThumbnailQueue::State::kBroken)
            return false;
    }
    return m_model.rowCount() > 0;
}

QSize GridView::tileExtent() const
{
    const int extent = m_tileSize + 2 * kPadding;
    return {extent, extent + fontMetrics().height()};
}

void GridView::rememberPlace()
{
    m_folder = m_model.folder();
    m_currentPath = currentRow() >= 0 ? m_model.path(currentRow()) : QString();
    const int top = verticalOffset();
    m_wasAtTop = top == 0;
    m_isUsed |= !m_wasAtTop;
    const auto [first, last] = m_layout.rowsBetween(top, top + viewport()->height());
    m_topPath.clear();
    if (first > last || last >= m_model.rowCount())
        return;
    m_topPath = m_model.path(first);
    m_topOffset = top - m_layout.tile(first).top();
}

// What was current stays so, and what stood at the top stays there, as far as they are left. Who
// has not moved yet sees the beginning.
void GridView::takeNewRows()
{
    arrange();
    if (m_folder != m_model.folder())
        m_isUsed = false;
    const int top = m_isUsed && !m_topPath.isEmpty() ? m_model.rowOf(m_topPath) : -1;
    const bool stays = top >= 0 && !m_wasAtTop;
    verticalScrollBar()->setValue(stays ? m_layout.tile(top).top() + m_topOffset : 0);
    const int current = m_isUsed && !m_currentPath.isEmpty() ? m_model.rowOf(m_currentPath) : -1;
    if (m_model.rowCount() > 0) {
        setAutoScroll(false);
        setCurrentRow(std::max(current, 0));
        setAutoScroll(true);
    }
    tellVisible();
    viewport()->update();
}

void GridView::arrange()
{
    const bool hasHeadings = m_model.order() == FolderModel::Order::kByTime;
    const int heading = hasHeadings ? fontMetrics().height() * 2 : 0;
    std::vector<int> counts;
    counts.reserve(m_model.sections().size());
    for (const FolderModel::Section& section : m_model.sections())
        counts.push_back(section.count);
    m_layout.arrange({viewport()->width(), tileExtent(), kSpacing, heading}, counts);
    verticalScrollBar()->setRange(0, std::max(0, m_layout.height() - viewport()->height()));
    verticalScrollBar()->setPageStep(viewport()->height());
    verticalScrollBar()->setSingleStep(tileExtent().height() / 3);
}

void GridView::updateGeometries()
{
    arrange();
    QAbstractItemView::updateGeometries();
    tellVisible();
}

void GridView::tellVisible()
{
    const int top = verticalOffset();
    const auto [first, last] = m_layout.rowsBetween(top, top + viewport()->height() - 1);
    m_queue.setBox(static_cast<int>(m_tileSize * devicePixelRatioF()));
    m_queue.setVisible(first, last);
}

QRect GridView::visualRect(const QModelIndex& index) const
{
    if (!index.isValid() || index.row() >= m_layout.rowCount())
        return {};
    return m_layout.tile(index.row()).translated(0, -verticalOffset());
}

void GridView::scrollTo(const QModelIndex& index, ScrollHint hint)
{
    if (!index.isValid() || index.row() >= m_layout.rowCount())
        return;
    const QRect tile = m_layout.tile(index.row());
    const int height = viewport()->height();
    const int top = verticalOffset();
    int wanted = top;
    if (hint == PositionAtTop || (hint == EnsureVisible && tile.top() < top))
        wanted = tile.top() - kSpacing;
    else if (hint == PositionAtBottom || (hint == EnsureVisible && tile.bottom() >= top + height))
        wanted = tile.bottom() + kSpacing - height;
    else if (hint == PositionAtCenter)
        wanted = tile.center().y() - height / 2;
    // The heading comes along with the first line.
    if (index.row() < m_layout.columns() && wanted < tile.top())
        wanted = 0;
    verticalScrollBar()->setValue(wanted);
}

QModelIndex GridView::indexAt(const QPoint& point) const
{
    const int row = m_layout.rowAt(point + QPoint(0, verticalOffset()));
    return row >= 0 && row < m_model.rowCount() ? m_model.index(row) : QModelIndex();
}

// The base would measure every item.
void GridView::doItemsLayout()
{
    QAbstractItemView::doItemsLayout();
}

void GridView::currentChanged(const QModelIndex& current, const QModelIndex& previous)
{
    QAbstractItemView::currentChanged(current, previous);
    if (!QAccessible::isActive() || !current.isValid())
        return;
    QAccessibleEvent event(this, QAccessible::Focus);
    event.setChild(current.row());
    QAccessible::updateAccessibility(&event);
}

void GridView::selectionChanged(const QItemSelection& selected, const QItemSelection& deselected)
{
    QAbstractItemView::selectionChanged(selected, deselected);
}

QModelIndexList GridView::selectedIndexes() const
{
    return selectionModel()->selectedIndexes();
}

QModelIndex GridView::moveCursor(CursorAction action, Qt::KeyboardModifiers)
{
    const int count = std::min(m_model.rowCount(), m_layout.rowCount());
    if (count == 0)
        return {};
    const int row = std::clamp(currentRow(), 0, count - 1);
    const int lines = std::max(1, viewport()->height() / (tileExtent().height() + kSpacing));
    const auto repeated = [&](int (GridLayout::*step)(int) const) {
        int to = row;
        for (int i = 0; i < lines; ++i)
            to = (m_layout.*step)(to);
        return to;
    };
    const bool mirrored = isRightToLeft();
    switch (action) {
    case MoveUp:
        return m_model.index(m_layout.rowAbove(row));
    case MoveDown:
        return m_model.index(m_layout.rowBelow(row));
    case MoveLeft:
    case MoveRight:
        return m_model.index(
            std::clamp(row + ((action == MoveLeft) == mirrored ? 1 : -1), 0, count - 1));
    case MovePrevious:
        return m_model.index(std::max(row - 1, 0));
    case MoveNext:
        return m_model.index(std::min(row + 1, count - 1));
    case MoveHome:
        return m_model.index(0);
    case MoveEnd:
        return m_model.index(count - 1);
    case MovePageUp:
        return m_model.index(repeated(&GridLayout::rowAbove));
    case MovePageDown:
        return m_model.index(repeated(&GridLayout::rowBelow));
    }
    return {};
}

int GridView::horizontalOffset() const
{
    return 0;
}

int GridView::verticalOffset() const
{
    return verticalScrollBar()->value();
}

bool GridView::isIndexHidden(const QModelIndex&) const
{
    return false;
}

void GridView::setSelection(const QRect& rect, QItemSelectionModel::SelectionFlags command)
{
    const QRect area = rect.normalized().translated(0, verticalOffset());
    const auto [first, last] = m_layout.rowsBetween(area.top(), area.bottom());
    QItemSelection selection;
    for (int row = first; row <= last; ++row) {
        if (m_layout.tile(row).intersects(area))
            selection.select(m_model.index(row), m_model.index(row));
    }
    selectionModel()->select(selection, command);
}

QRegion GridView::visualRegionForSelection(const QItemSelection& selection) const
{
    // Of what is visible: a selection of all pictures has one range and many thousand tiles.
    const int top = verticalOffset();
    const auto [first, last] = m_layout.rowsBetween(top, top + viewport()->height());
    QRegion region;
    for (const QItemSelectionRange& range : selection) {
        for (int row = std::max(first, range.top()); row <= std::min(last, range.bottom()); ++row)
            region += visualRect(m_model.index(row));
    }
    return region;
}

void GridView::resizeEvent(QResizeEvent* event)
{
    rememberPlace();
    QAbstractItemView::resizeEvent(event);
    takeNewRows();
}

void GridView::scrollContentsBy(int dx, int dy)
{
    viewport()->scroll(dx, dy);
    tellVisible();
}

void GridView::changeEvent(QEvent* event)
{
    QAbstractItemView::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        rememberPlace();
        takeNewRows();
    }
}

bool GridView::viewportEvent(QEvent* event)
{
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        const QModelIndex index = indexAt(help->pos());
        QToolTip::showText(help->globalPos(),
            index.isValid() ? index.data(Qt::AccessibleTextRole).toString() : QString(),
            viewport());
        return true;
    }
    return QAbstractItemView::viewportEvent(event);
}

void GridView::mousePressEvent(QMouseEvent* event)
{
    m_isUsed = true;
    QAbstractItemView::mousePressEvent(event);
}

void GridView::mouseMoveEvent(QMouseEvent* event)
{
    QAbstractItemView::mouseMoveEvent(event);
}

void GridView::mouseReleaseEvent(QMouseEvent* event)
{
    QAbstractItemView::mouseReleaseEvent(event);
}

void GridView::keyPressEvent(QKeyEvent* event)
{
    m_isUsed = true;
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        if (currentRow() >= 0 && event->modifiers() == Qt::NoModifier) {
            Q_EMIT opened(currentRow());
            return;
        }
        break;
    case Qt::Key_Plus:
        Q_EMIT tileSizeWanted(m_tileSize + kStep);
        return;
    case Qt::Key_Minus:
        Q_EMIT tileSizeWanted(m_tileSize - kStep);
        return;
    default:
        break;
    }
    QAbstractItemView::keyPressEvent(event);
}

void GridView::wheelEvent(QWheelEvent* event)
{
    m_isUsed = true;
    if (event->modifiers() != Qt::ControlModifier) {
        QAbstractItemView::wheelEvent(event);
        return;
    }
    if (event->angleDelta().y() != 0)
        Q_EMIT tileSizeWanted(m_tileSize + (event->angleDelta().y() > 0 ? kStep : -kStep));
    event->accept();
}

// NOLINTEND(bugprone-parent-virtual-call)

} // namespace pictures
