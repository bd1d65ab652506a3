#include "pictures/view/PictureView.h"

#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace pictures {

namespace {

constexpr double kMaxScale = 16.0;
constexpr double kWheelStep = 1.25;

// No edge comes further in than it must; what fits stands in the middle.
double held(double begin, double length, double room)
{
    return length <= room ? (room - length) / 2 : std::clamp(begin, room - length, 0.0);
}

// Where the point lies, as shares of the sides; the nearest in the target for one outside.
QPointF placeIn(const QRectF& target, QPointF point)
{
    const QPointF at = point - target.topLeft();
    return {std::clamp(at.x() / target.width(), 0.0, 1.0),
        std::clamp(at.y() / target.height(), 0.0, 1.0)};
}

} // namespace

PictureView::PictureView(PictureQueue& queue, QWidget* parent)
    : QWidget(parent)
    , m_queue(queue)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(64, 64);
    connect(&m_queue, &PictureQueue::ready, this, [this](const PictureWish& wish) {
        if (wish.path == m_path)
            update();
    });
}

void PictureView::setPicture(const QString& path, qint64 modified)
{
    if (path == m_path && modified == m_modified)
        return;
    m_path = path;
    m_modified = modified;
    m_dragged.reset();
    update();
    Q_EMIT wishesChanged();
}

void PictureView::setBrokenText(const QString& text)
{
    m_brokenText = text;
    update();
}

QSize PictureView::roomInPixels() const
{
    return (QSizeF(size()) * devicePixelRatioF()).toSize();
}

PictureWish PictureView::wishFor(const QString& path, qint64 modified) const
{
    return {path, modified, roomInPixels()};
}

std::vector<PictureWish> PictureView::wishes() const
{
    if (m_path.isEmpty())
        return {};
    if (m_part.fits)
        return {fittingWish()};
    return {fittingWish(), wholeWish()};
}

// All pixels when they are there, else those that fit the view.
const Picture* PictureView::bestPicture() const
{
    const Picture* const whole = m_queue.find(wholeWish());
    if (whole != nullptr && whole->status == ReadStatus::kDone)
        return whole;
    return m_queue.find(fittingWish());
}

// In pixels of the picture. What is there may have fewer: previews, and decoding at a smaller size.
QSizeF PictureView::fullExtent() const
{
    const Picture* const picture = m_path.isEmpty() ? nullptr : bestPicture();
    if (picture == nullptr || picture->status != ReadStatus::kDone)
        return {};
    return picture->fullSize.isEmpty() ? picture->image.size() : picture->fullSize;
}

double PictureView::fittingScale(QSizeF full) const
{
    const QSizeF room = QSizeF(size()) * devicePixelRatioF();
    return std::min({1.0, room.width() / full.width(), room.height() / full.height()});
}

std::optional<double> PictureView::scale() const
{
    const QSizeF full = fullExtent();
    if (full.isEmpty())
        return std::nullopt;
    return m_part.fits ? fittingScale(full) : m_part.scale;
}

bool PictureView::isSharp() const
{
    const QSizeF full = fullExtent();
    if (full.isEmpty())
        return false;
    return bestPicture()->image.width() >= std::floor(full.width() * std::min(1.0, *scale()));
}

// In coordinates of the widget.
QRectF PictureView::targetOf(QSizeF full) const
{
    const QSizeF extent = full * *scale() / devicePixelRatioF();
    const QPointF middle = QRectF(rect()).center();
    QRectF target({}, extent);
    target.moveTopLeft(
        middle - QPointF(m_part.center.x() * extent.width(), m_part.center.y() * extent.height()));
    return {held(target.left(), extent.width(), width()),
        held(target.top(), extent.height(), height()),
        extent.width(),
        extent.height()};
}

void PictureView::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    painter.fillRect(event->rect(), palette().color(QPalette::Window).darker(150));
    if (m_path.isEmpty())
        return;
    const Picture* const picture = bestPicture();
    if (picture == nullptr)
        return; // it comes
    if (picture->status != ReadStatus::kDone) {
        painter.setPen(palette().color(QPalette::WindowText));
        painter.drawText(
            rect(), static_cast<int>(Qt::AlignCenter) | Qt::TextWordWrap, m_brokenText);
        return;
    }
    const QRectF target = targetOf(fullExtent());
    // Whoever looks at pixels wants to see them; below that, smoothly.
    const bool isScaled =
        std::abs(target.width() * devicePixelRatioF() - picture->image.width()) >= 1.0;
    painter.setRenderHint(QPainter::SmoothPixmapTransform, isScaled && *scale() < 2.0);
    if (isScaled)
        painter.drawImage(target, picture->image);
    else
        painter.drawImage(QRectF(target.topLeft().toPoint(), target.size()), picture->image);
}

void PictureView::resizeEvent(QResizeEvent*)
{
    Q_EMIT wishesChanged();
}

void PictureView::setPart(const Part& part)
{
    if (part == m_part)
        return;
    m_part = part;
    update();
    Q_EMIT wishesChanged();
}

// What the user has done, for others that follow this view, too.
void PictureView::changePart(const Part& part)
{
    if (part == m_part)
        return;
    setPart(part);
    Q_EMIT partChanged(m_part);
}

void PictureView::zoomToFit()
{
    changePart({});
}

void PictureView::zoomToPixels()
{
    Part part = m_part;
    part.fits = false;
    part.scale = 1.0;
    changePart(part);
}

void PictureView::zoomBy(double factor)
{
    const QSizeF full = fullExtent();
    if (full.isEmpty())
        return;
    const double fitting = fittingScale(full);
    Part part = m_part;
    part.scale = std::min(*scale() * factor, kMaxScale);
    part.fits = part.scale <= fitting;
    changePart(part.fits ? Part{} : part);
}

void PictureView::moveBy(QPointF pixels)
{
    const QSizeF full = fullExtent();
    if (full.isEmpty() || m_part.fits)
        return;
    // From where the picture stands now: its edges may have held the center back.
    const QRectF target = targetOf(full).translated(pixels);
    const QPointF middle = QRectF(rect()).center() - target.topLeft();
    Part part = m_part;
    part.center = {std::clamp(middle.x() / target.width(), 0.0, 1.0),
        std::clamp(middle.y() / target.height(), 0.0, 1.0)};
    changePart(part);
}

void PictureView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    m_dragged = event->position();
    if (!m_part.fits)
        setCursor(Qt::ClosedHandCursor);
}

void PictureView::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_dragged)
        return;
    moveBy(event->position() - *m_dragged);
    m_dragged = event->position();
}

void PictureView::mouseReleaseEvent(QMouseEvent*)
{
    m_dragged.reset();
    unsetCursor();
}

// To the pixels under the mouse, and back.
void PictureView::mouseDoubleClickEvent(QMouseEvent* event)
{
    const QSizeF full = fullExtent();
    if (full.isEmpty() || event->button() != Qt::LeftButton)
        return;
    if (!m_part.fits) {
        zoomToFit();
        return;
    }
    changePart({false, 1.0, placeIn(targetOf(full), event->position())});
}

void PictureView::wheelEvent(QWheelEvent* event)
{
    if (event->modifiers() != Qt::ControlModifier || event->angleDelta().y() == 0) {
        event->ignore();
        return;
    }
    zoomBy(event->angleDelta().y() > 0 ? kWheelStep : 1 / kWheelStep);
    event->accept();
}

} // namespace pictures
