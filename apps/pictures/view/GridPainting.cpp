// What the grid draws: headings, tiles with pictures and names, and a word where there is nothing.
#include "pictures/view/GridView.h"

#include <QPaintEvent>
#include <QPainter>

#include <algorithm>

namespace pictures {

namespace {

// What a tile says of files beside the one that is shown: "RAW" and the like, for photographers.
QString badgeOf(const PictureGroup& group)
{
    if (group.kind == PictureKind::kMovie)
        return QStringLiteral("▶");
    const bool hasRaw = group.kind == PictureKind::kRaw
        || std::ranges::any_of(group.companions,
            [](const QString& name) { return kindOfName(name) == PictureKind::kRaw; });
    return hasRaw ? QStringLiteral("RAW") : QString();
}

} // namespace

void GridView::paintEvent(QPaintEvent* event)
{
    QPainter painter(viewport());
    painter.fillRect(event->rect(), palette().base());
    if (m_model.rowCount() == 0) {
        painter.setPen(palette().color(QPalette::PlaceholderText));
        painter.drawText(viewport()->rect().adjusted(kSpacing, 0, -kSpacing, 0),
            static_cast<int>(Qt::AlignCenter) | Qt::TextWordWrap,
            m_emptyText);
        return;
    }
    if (m_layout.rowCount() != m_model.rowCount())
        return; // about to be arranged
    const int top = event->rect().top() + verticalOffset();
    const int bottom = event->rect().bottom() + verticalOffset();
    const auto [firstSection, lastSection] = m_layout.sectionsBetween(top, bottom);
    for (int section = firstSection; section <= lastSection; ++section)
        paintHeading(painter, section);
    const auto [first, last] = m_layout.rowsBetween(top, bottom);
    for (int row = first; row <= last; ++row) {
        if (visualRect(m_model.index(row)).intersects(event->rect()))
            paintTile(painter, row);
    }
}

void GridView::paintHeading(QPainter& painter, int section)
{
    const QString& heading = m_model.sections()[static_cast<std::size_t>(section)].heading;
    const QRect area = m_layout.heading(section).translated(0, -verticalOffset());
    QFont bold = font();
    bold.setBold(true);
    painter.setFont(bold);
    painter.setPen(palette().color(QPalette::Text));
    painter.drawText(area, static_cast<int>(Qt::AlignLeading | Qt::AlignVCenter), heading);
    painter.setFont(font());
}

void GridView::paintTile(QPainter& painter, int row)
{
    const QModelIndex index = m_model.index(row);
    const QRect tile = visualRect(index);
    if (selectionModel()->isSelected(index))
        painter.fillRect(tile, palette().highlight());
    if (row == currentRow() && hasFocus()) {
        painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
        painter.drawRect(tile.adjusted(1, 1, -1, -1));
    }
    paintPicture(
        painter, row, {tile.left() + kPadding, tile.top() + kPadding, m_tileSize, m_tileSize});
    paintName(painter,
        row,
        {tile.left() + kPadding,
            tile.top() + kPadding + m_tileSize,
            m_tileSize,
            fontMetrics().height()});
}

void GridView::paintPicture(QPainter& painter, int row, QRect area)
{
    const QImage image = m_queue.image(row);
    if (image.isNull()) {
        const bool isBroken = m_queue.state(row) == ThumbnailQueue::State::kBroken;
        painter.setPen(palette().color(QPalette::Mid));
        painter.drawRect(area.adjusted(
            area.width() / 8, area.height() / 8, -area.width() / 8, -area.height() / 8));
        if (isBroken)
            painter.drawText(area, Qt::AlignCenter, QStringLiteral("✕"));
        return;
    }
    const qreal ratio = devicePixelRatioF();
    QSizeF extent = QSizeF(image.size()) / ratio;
    // One of the former size, as long as there is none of this.
    if (extent.width() > area.width() || extent.height() > area.height())
        extent.scale(area.size(), Qt::KeepAspectRatio);
    QRectF target({}, extent);
    target.moveCenter(QRectF(area).center());
    target.moveTopLeft(QPointF(target.topLeft().toPoint()));
    painter.drawImage(target, image);
    const QString badge = badgeOf(m_model.group(row));
    if (badge.isEmpty())
        return;
    const QSize room = fontMetrics().size(0, badge) + QSize(6, 2);
    const QRect corner(target.toRect().right() - room.width() + 1,
        target.toRect().bottom() - room.height() + 1,
        room.width(),
        room.height());
    painter.fillRect(corner, QColor(0, 0, 0, 160));
    painter.setPen(Qt::white);
    painter.drawText(corner, Qt::AlignCenter, badge);
}

void GridView::paintName(QPainter& painter, int row, QRect area)
{
    const bool isSelected = selectionModel()->isSelected(m_model.index(row));
    painter.setPen(palette().color(isSelected ? QPalette::HighlightedText : QPalette::Text));
    painter.drawText(area,
        Qt::AlignCenter,
        fontMetrics().elidedText(
            m_model.index(row).data().toString(), Qt::ElideMiddle, area.width()));
}

} // namespace pictures
