// The browser on a display: scripts act on its window, which opens with the first folder.
#pragma once

#include "tevoro/scripts/ScriptTarget.h"
#include "tevoro/window/BrowserWindow.h"

#include <memory>

namespace tevoro {

class WindowBrowser final : public ScriptTarget {
public:
    WindowBrowser() = default;
    ~WindowBrowser();
    WindowBrowser(const WindowBrowser&) = delete;
    WindowBrowser& operator=(const WindowBrowser&) = delete;

    void browseTo(const QString& folder) override;
    int documentCount() const override { return hasWindow() ? 1 : 0; }
    QString shownFolder() const override { return hasWindow() ? m_window->folder() : QString(); }
    void showFolder(const QString& folder) override;
    void bringToFront() override;
    QString status() const override { return hasWindow() ? m_window->status() : QString(); }
    void setStatus(const QString& text) override;
    void beep() override;
    bool runMediafetcher(QString& error) override;

private:
    bool hasWindow() const { return m_window && m_window->isVisible(); }
    BrowserWindow& window();

    std::unique_ptr<BrowserWindow> m_window;
};

} // namespace tevoro
