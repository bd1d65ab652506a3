// The browser's window in this process, with a folder of pictures and a cache of its own.
#pragma once

#include "apps/pictures/PictureFolder.h"
#include "pictures/view/GridView.h"
#include "pictures/view/PictureView.h"
#include "support/Environment.h"
#include "tevoro/window/BrowserWindow.h"

#include <QApplication>
#include <QLabel>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTest>

#include <chrono>
#include <filesystem>
#include <memory>

#include <gtest/gtest.h>

namespace tevoro {

namespace fs = std::filesystem;
using test::happens;

class BrowserWindowFixture : public testing::Test {
protected:
    void SetUp() override
    {
        m_environment.set("XDG_CACHE_HOME", m_cache.path());
        m_window = std::make_unique<BrowserWindow>();
        m_window->show();
        QApplication::setActiveWindow(m_window.get());
    }
    void TearDown() override { m_window.reset(); }

    pictures::GridView& grid() { return *m_window->findChild<pictures::GridView*>(); }
    QStackedWidget& pages() { return *m_window->findChild<QStackedWidget*>(); }
    bool isPicture() { return pages().currentIndex() == 1; }
    bool isComparison() { return pages().currentIndex() == 2; }
    QString shownPicture()
    {
        return qobject_cast<pictures::PictureView*>(pages().widget(1))->path();
    }
    bool says(const QString& text)
    {
        for (const QLabel* const label : m_window->statusBar()->findChildren<QLabel*>()) {
            if (label->text().contains(text))
                return true;
        }
        return false;
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(QApplication::focusWidget(), key, modifiers);
    }
    // Whether that color is on it somewhere.
    static bool shows(QWidget* widget, const QColor& color)
    {
        const QImage image = widget->grab().toImage();
        for (int y = 0; y < image.height(); y += 4)
            for (int x = 0; x < image.width(); x += 4)
                if (image.pixelColor(x, y) == color)
                    return true;
        return false;
    }
    bool gridShows(const QColor& color) { return shows(grid().viewport(), color); }
    // Three pictures, an hour apart.
    bool showsThree()
    {
        m_folder.addPicture("a.png", Qt::red);
        m_folder.addPicture("b.png", Qt::green);
        m_folder.addPicture("c.png", Qt::blue);
        for (const char* const name : {"a.png", "b.png", "c.png"})
            fs::last_write_time(m_folder.path(name).toStdString(), m_time += std::chrono::hours(1));
        m_window->browseTo(m_folder.path());
        return happens([&] { return says(QStringLiteral("3 pictures")); });
    }

    test::Environment m_environment;
    test::TestFolder m_cache;
    test::PictureFolder m_folder;
    fs::file_time_type m_time = fs::file_time_type::clock::now() - std::chrono::hours(100);
    std::unique_ptr<BrowserWindow> m_window;
};

} // namespace tevoro
