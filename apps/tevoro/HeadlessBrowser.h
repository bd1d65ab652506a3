// The browser without a window: does what scripts ask for as far as that goes without one, and
// tells what it would show. One document from the start on the first folder.
#pragma once

#include "tevoro/scripts/ScriptTarget.h"

#include <QString>

namespace tevoro {

class HeadlessBrowser final : public ScriptTarget {
public:
    // An empty folder: nothing is shown, and there is no document.
    explicit HeadlessBrowser(QString folder = {})
        : m_folder(std::move(folder))
    {
    }

    void browseTo(const QString& folder) override;
    int documentCount() const override { return m_folder.isEmpty() ? 0 : 1; }
    QString shownFolder() const override { return m_folder; }
    void showFolder(const QString& folder) override { browseTo(folder); }
    void bringToFront() override { }
    QString status() const override { return m_status; }
    void setStatus(const QString& text) override { m_status = text; }
    void beep() override { }
    bool runMediafetcher(QString& error) override;

private:
    QString m_folder;
    QString m_status;
};

} // namespace tevoro
