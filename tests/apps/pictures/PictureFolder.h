// A folder of pictures that a test made, and a loop of events until something holds.
#pragma once

#include "support/TestFolder.h"

#include <QColor>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QImage>
#include <QString>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

namespace test {

class PictureFolder {
public:
    QString path() const { return QString::fromStdString(m_folder.path()); }
    QString path(const std::string& name) const
    {
        return QString::fromStdString(m_folder.path(name));
    }
    QString store() const { return QString::fromStdString(m_store.path("thumbnails")); }

    // One color all over.
    QString addPicture(const std::string& name, QColor color = Qt::red, QSize size = {300, 200})
    {
        QImage image(size, QImage::Format_RGB32);
        image.fill(color);
        EXPECT_TRUE(image.save(path(name)));
        return path(name);
    }
    // Old enough for their thumbnails to be stored.
    void addOldCopies(const std::string& of, int count)
    {
        namespace fs = std::filesystem;
        for (int i = 0; i < count; ++i) {
            const fs::path copy = m_folder.path("copy" + std::to_string(i) + ".png");
            fs::copy_file(m_folder.path(of), copy);
            fs::last_write_time(copy, fs::file_time_type::clock::now() - std::chrono::hours(i + 1));
        }
    }
    QString addBytes(const std::string& name, const std::string& bytes)
    {
        return QString::fromStdString(m_folder.write(name, bytes));
    }

private:
    TestFolder m_folder;
    TestFolder m_store;
};

// Runs the event loop until the condition holds; false when it does not in half a minute.
template <typename Condition>
bool happens(Condition condition)
{
    const QDeadlineTimer deadline(std::chrono::seconds(30));
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace test
