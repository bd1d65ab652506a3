#include "tevoro/window/WindowBrowser.h"

#include "tevoro/MediafetcherStart.h"

#include <QApplication>

namespace tevoro {

WindowBrowser::~WindowBrowser() = default;

BrowserWindow& WindowBrowser::window()
{
    if (!m_window)
        m_window = std::make_unique<BrowserWindow>();
    return *m_window;
}

void WindowBrowser::browseTo(const QString& folder)
{
    window().browseTo(folder);
    window().comeToFront();
}

void WindowBrowser::showFolder(const QString& folder)
{
    window().browseTo(folder);
}

void WindowBrowser::bringToFront()
{
    window().comeToFront();
}

void WindowBrowser::setStatus(const QString& text)
{
    window().setStatus(text);
}

void WindowBrowser::beep()
{
    QApplication::beep();
}

bool WindowBrowser::runMediafetcher(QString& error)
{
    return startMediafetcher(error);
}

} // namespace tevoro
