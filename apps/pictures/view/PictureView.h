// One picture as large as there is room, or in its pixels, to be moved by the mouse.
//
// Shows what the queue has of it, and says by wishes() what it would like to have: whoever owns the
// view gives them to the queue. The queue is borrowed and outlives the view.
#pragma once

#include "pictures/scheduling/PictureQueue.h"

#include <QPointF>
#include <QString>
#include <QWidget>

#include <optional>
#include <vector>

namespace pictures {

class PictureView : public QWidget {
    Q_OBJECT
public:
    // What of a picture is shown: two views that show the same part can be compared.
    struct Part {
        bool fits = true; // the whole picture; never enlarged
        double scale = 1.0; // pixels of the screen for one of the picture, when it does not fit
        QPointF center{0.5, 0.5}; // in parts of the picture's width and height

        friend bool operator==(const Part&, const Part&) = default;
    };

    explicit PictureView(PictureQueue& queue, QWidget* parent = nullptr);

    // An empty path: none.
    void setPicture(const QString& path, qint64 modified);
    const QString& path() const { return m_path; }
    // What stands in the middle when the picture cannot be shown.
    void setBrokenText(const QString& text);

    // The most urgent first.
    std::vector<PictureWish> wishes() const;
    // As this view would show another picture.
    PictureWish wishFor(const QString& path, qint64 modified) const;

    Part part() const { return m_part; }
    void setPart(const Part& part);
    void zoomToFit();
    void zoomToPixels();
    void zoomBy(double factor);
    // Of the screen for one of the picture; nothing while the picture's size is not known.
    std::optional<double> scale() const;
    // Whether what is drawn has all the pixels that the screen can show of it.
    bool isSharp() const;

Q_SIGNALS:
    void wishesChanged();
    void partChanged(const pictures::PictureView::Part& part);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    PictureWish fittingWish() const { return wishFor(m_path, m_modified); }
    PictureWish wholeWish() const { return {m_path, m_modified, {}}; }
    const Picture* bestPicture() const;
    QSizeF fullExtent() const;
    QRectF targetOf(QSizeF full) const;
    void moveBy(QPointF pixels);
    void changePart(const Part& part);
    double fittingScale(QSizeF full) const;
    QSize roomInPixels() const;

    PictureQueue& m_queue;
    QString m_path;
    qint64 m_modified = 0;
    QString m_brokenText;
    Part m_part;
    std::optional<QPointF> m_dragged; // where the mouse was last
};

} // namespace pictures
