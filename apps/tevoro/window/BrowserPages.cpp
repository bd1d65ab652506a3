// The window's pages: the grid, one picture or two beside each other, and what is read for them.

#include "pictures/view/GridView.h"
#include "pictures/view/PictureView.h"
#include "tevoro/window/BrowserWindow.h"
#include "tevoro/window/FactsPanel.h"

#include <QKeyEvent>
#include <QSlider>
#include <QStackedWidget>

#include <algorithm>
#include <vector>

namespace tevoro {

using pictures::PictureView;

void BrowserWindow::setPage(Page page)
{
    m_page = page;
    m_pages->setCurrentIndex(static_cast<int>(page));
    m_pages->currentWidget()->setFocus();
    m_tileSize->setEnabled(page == Page::kGrid);
    tellWishes();
    tellFacts();
}

void BrowserWindow::openRow(int row)
{
    m_grid->goToRow(row);
    setPage(Page::kPicture);
    m_picture->zoomToFit();
    showCurrentPicture();
}

void BrowserWindow::openCurrent()
{
    if (m_grid->currentRow() >= 0)
        openRow(m_grid->currentRow());
}

void BrowserWindow::showCurrentPicture()
{
    const int row = m_grid->currentRow();
    if (row < 0) {
        backToGrid();
        return;
    }
    const pictures::PictureGroup& group = m_model.group(row);
    m_picture->setPicture(m_model.path(row), group.modified);
    m_picture->setAccessibleName(m_model.index(row).data(Qt::AccessibleTextRole).toString());
    tellWishes();
    tellFacts();
}

void BrowserWindow::backToGrid()
{
    if (isFullScreen())
        showNormal();
    setPage(Page::kGrid);
}

void BrowserWindow::goTo(int row)
{
    if (m_page == Page::kComparison || m_model.rowCount() == 0)
        return;
    m_grid->goToRow(std::clamp(row, 0, m_model.rowCount() - 1));
    if (m_page == Page::kPicture)
        showCurrentPicture();
}

void BrowserWindow::showNext()
{
    goTo(m_grid->currentRow() + 1);
}

void BrowserWindow::showPrevious()
{
    goTo(m_grid->currentRow() - 1);
}

// Two that are selected, else the current one and the next.
void BrowserWindow::compare()
{
    std::vector<int> rows;
    for (const QModelIndex& index : m_grid->selectionModel()->selectedRows())
        rows.push_back(index.row());
    std::ranges::sort(rows);
    if (rows.size() != 2)
        rows = {m_grid->currentRow(), m_grid->currentRow() + 1};
    if (rows[0] < 0 || rows[1] >= m_model.rowCount())
        return;
    setPage(Page::kComparison);
    m_left->setPart({});
    m_right->setPart({});
    m_left->setPicture(m_model.path(rows[0]), m_model.group(rows[0]).modified);
    m_right->setPicture(m_model.path(rows[1]), m_model.group(rows[1]).modified);
    m_left->setAccessibleName(m_model.group(rows[0]).name);
    m_right->setAccessibleName(m_model.group(rows[1]).name);
    m_left->setFocus();
    tellWishes();
}

PictureView& BrowserWindow::activeView()
{
    return m_page == Page::kComparison ? *m_left : *m_picture;
}

void BrowserWindow::toggleZoom()
{
    if (m_page == Page::kGrid)
        openCurrent();
    else if (activeView().part().fits)
        activeView().zoomToPixels();
    else
        activeView().zoomToFit();
}

void BrowserWindow::zoomIn()
{
    if (m_page == Page::kGrid)
        m_tileSize->setValue(m_tileSize->value() + m_tileSize->singleStep());
    else
        activeView().zoomBy(1.5);
}

void BrowserWindow::zoomOut()
{
    if (m_page == Page::kGrid)
        m_tileSize->setValue(m_tileSize->value() - m_tileSize->singleStep());
    else
        activeView().zoomBy(1 / 1.5);
}

void BrowserWindow::zoomToFit()
{
    if (m_page != Page::kGrid)
        activeView().zoomToFit();
}

void BrowserWindow::toggleFacts()
{
    m_facts->setVisible(!m_facts->isVisible());
    tellFacts();
}

void BrowserWindow::toggleFullScreen()
{
    const bool isFull = isFullScreen();
    if (isFull)
        showNormal();
    else
        showFullScreen();
}

void BrowserWindow::tellFacts()
{
    if (!m_facts->isVisible())
        return;
    const int row = m_grid->currentRow();
    if (row < 0)
        m_facts->showFactsOf({}, {});
    else
        m_facts->showFactsOf(m_model.folder(), m_model.group(row));
}

// What is looked at, then what the next key will show.
void BrowserWindow::tellWishes()
{
    std::vector<pictures::PictureWish> wishes;
    const auto add = [&wishes](const std::vector<pictures::PictureWish>& more) {
        wishes.insert(wishes.end(), more.begin(), more.end());
    };
    if (m_page == Page::kComparison) {
        add(m_left->wishes());
        add(m_right->wishes());
    } else if (m_page == Page::kPicture) {
        add(m_picture->wishes());
        for (const int step : {1, -1, 2}) {
            const int row = m_grid->currentRow() + step;
            if (row >= 0 && row < m_model.rowCount())
                add({m_picture->wishFor(m_model.path(row), m_model.group(row).modified)});
        }
    }
    m_pictures.want(wishes);
}

// Keys without a menu entry of their own: those that people press without a thought.
void BrowserWindow::keyPressEvent(QKeyEvent* event)
{
    if (m_page == Page::kGrid) {
        QMainWindow::keyPressEvent(event);
        return;
    }
    switch (event->key()) {
    case Qt::Key_Right:
    case Qt::Key_Down:
    case Qt::Key_Space:
    case Qt::Key_PageDown:
        showNext();
        break;
    case Qt::Key_Left:
    case Qt::Key_Up:
    case Qt::Key_Backspace:
    case Qt::Key_PageUp:
        showPrevious();
        break;
    case Qt::Key_Home:
        goTo(0);
        break;
    case Qt::Key_End:
        goTo(m_model.rowCount() - 1);
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Escape:
        backToGrid();
        break;
    default:
        QMainWindow::keyPressEvent(event);
    }
}

} // namespace tevoro
