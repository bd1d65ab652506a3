// The menus of the browser's window: every command by words, and by a key.
#include "tevoro/window/BrowserWindow.h"
#include "tevoro/window/Words.h"

#include <QAction>
#include <QMenuBar>
#include <QMessageBox>

namespace tevoro {

QAction* BrowserWindow::addAction(QMenu* menu,
    const QString& text,
    const QList<QKeySequence>& keys,
    void (BrowserWindow::*slot)())
{
    QAction* const action = menu->addAction(text);
    action->setShortcuts(keys);
    connect(action, &QAction::triggered, this, slot);
    return action;
}

void BrowserWindow::makeMenus()
{
    QMenu* const menu = menuBar()->addMenu(words("$$$/Tevoro/Menu/Folder=&Folder"));
    addAction(menu,
        words("$$$/Tevoro/Menu/Open=&Open..."),
        {QKeySequence::Open},
        &BrowserWindow::chooseFolder);
    addAction(menu,
        words("$$$/Tevoro/Menu/Parent=&Enclosing Folder"),
        {QKeySequence(Qt::ALT | Qt::Key_Up)},
        &BrowserWindow::openParent);
    addAction(menu,
        words("$$$/Tevoro/Menu/ReadAgain=&Read Again"),
        {QKeySequence(Qt::Key_F5)},
        &BrowserWindow::readAgain);
    menu->addSeparator();
    QAction* const quit = menu->addAction(words("$$$/Tevoro/Menu/Close=&Close"));
    quit->setShortcuts({QKeySequence(Qt::CTRL | Qt::Key_Q), QKeySequence(Qt::CTRL | Qt::Key_W)});
    connect(quit, &QAction::triggered, this, &QWidget::close);
    makeViewMenu();
    makePictureMenu();
    QMenu* const help = menuBar()->addMenu(words("$$$/Tevoro/Menu/Help=&Help"));
    addAction(help,
        words("$$$/Tevoro/Menu/Keys=&Keys"),
        {QKeySequence(Qt::Key_F1)},
        &BrowserWindow::showKeys);
}

void BrowserWindow::makeViewMenu()
{
    QMenu* const menu = menuBar()->addMenu(words("$$$/Tevoro/Menu/View=&View"));
    addAction(menu,
        words("$$$/Tevoro/Menu/Grid=&Grid"),
        {QKeySequence(Qt::Key_G)},
        &BrowserWindow::backToGrid);
    addAction(menu,
        words("$$$/Tevoro/Menu/Facts=&What the Camera Noted"),
        {QKeySequence(Qt::Key_I)},
        &BrowserWindow::toggleFacts);
    addAction(menu,
        words("$$$/Tevoro/Menu/Compare=&Compare Two"),
        {QKeySequence(Qt::Key_C)},
        &BrowserWindow::compare);
    menu->addSeparator();
    addAction(menu,
        words("$$$/Tevoro/Menu/Larger=&Larger"),
        {QKeySequence(Qt::CTRL | Qt::Key_Plus), QKeySequence(Qt::CTRL | Qt::Key_Equal)},
        &BrowserWindow::zoomIn);
    addAction(menu,
        words("$$$/Tevoro/Menu/Smaller=&Smaller"),
        {QKeySequence(Qt::CTRL | Qt::Key_Minus)},
        &BrowserWindow::zoomOut);
    addAction(menu,
        words("$$$/Tevoro/Menu/FullScreen=F&ull Screen"),
        {QKeySequence(Qt::Key_F11), QKeySequence(Qt::Key_F)},
        &BrowserWindow::toggleFullScreen);
}

void BrowserWindow::makePictureMenu()
{
    QMenu* const menu = menuBar()->addMenu(words("$$$/Tevoro/Menu/Picture=&Picture"));
    addAction(menu,
        words("$$$/Tevoro/Menu/Next=&Next"),
        {QKeySequence(Qt::Key_N)},
        &BrowserWindow::showNext);
    addAction(menu,
        words("$$$/Tevoro/Menu/Previous=&Previous"),
        {QKeySequence(Qt::Key_P)},
        &BrowserWindow::showPrevious);
    menu->addSeparator();
    addAction(menu,
        words("$$$/Tevoro/Menu/Pixels=&Zoom to the Pixels, and Back"),
        {QKeySequence(Qt::Key_Z)},
        &BrowserWindow::toggleZoom);
    addAction(menu,
        words("$$$/Tevoro/Menu/Fit=&Fit into the Window"),
        {QKeySequence(Qt::Key_0), QKeySequence(Qt::CTRL | Qt::Key_0)},
        &BrowserWindow::zoomToFit);
}

void BrowserWindow::showKeys()
{
    QMessageBox::information(this,
        words("$$$/Tevoro/Keys/Title=Keys"),
        words(
            "$$$/Tevoro/Keys/Text=Arrow keys: move; in the large view, next and previous picture\n"
            "Return, space: large view; Escape: back to the grid\n"
            "Z: zoom to the pixels, and back; drag the picture to move it\n"
            "I: what the camera noted\nC: compare two\nF: full screen\nCtrl and + or -: larger, "
            "smaller\n"
            "Alt and up: enclosing folder\nF5: read the folder again"));
}

} // namespace tevoro
