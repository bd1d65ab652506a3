// What a photographer feels of the browser's window, drawn without a display:
//
//   first screen   from the folder's name to its first screen of thumbnails, with an empty store
//                  and with a full one
//   whole folder   thumbnails of all pictures, a second
//   scrolling      one step of a third of a screen: moving, and drawing the whole view
//   next picture   from the key to all the pixels that the screen shows of it: decoded ahead, and
//                  not
//   memory         what the process holds after all that
//   100,000 files  the window's first look, the whole folder's names, the longest time in which the
//                  window did not answer
//
// Over 5,000 names of 50 JPEG pictures of 24 megapixels, made here. Usage: browser_bench
// [PICTURES].

#include "NaturalPicture.h"
#include "TemporaryFolder.h"
#include "pictures/view/GridView.h"
#include "pictures/view/PictureView.h"
#include "tevoro/window/BrowserWindow.h"

#include <QApplication>
#include <QKeyEvent>
#include <QScrollBar>
#include <QStackedWidget>
#include <QStatusBar>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr int kMade = 50;

double since(Clock::time_point begin)
{
    return Milliseconds(Clock::now() - begin).count();
}

// Runs the event loop until it is so; the longest time in which no event was taken.
double runUntil(const std::function<bool()>& isSo)
{
    double longest = 0;
    while (!isSo()) {
        const auto begin = Clock::now();
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        longest = std::max(longest, since(begin));
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return longest;
}

void runFor(std::chrono::milliseconds time)
{
    const auto end = Clock::now() + time;
    runUntil([end] { return Clock::now() > end; });
}

void press(tevoro::BrowserWindow& window, Qt::Key key)
{
    QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
    QCoreApplication::sendEvent(window.findChild<QStackedWidget*>()->currentWidget(), &event);
}

class Folder {
public:
    QString path(const std::string& name) const { return QString::fromStdString(m_path / name); }

    void addPictures(int count) const
    {
        fs::create_directories(m_path / "made");
        fs::create_directories(m_path / "pictures");
        for (int i = 0; i < count; ++i) {
            const fs::path made = m_path / "made" / std::to_string(i % kMade);
            if (i < kMade)
                bench::writeNaturalPicture(made.string(), static_cast<unsigned int>(i + 1));
            fs::create_hard_link(made, m_path / "pictures" / name(i));
        }
    }
    void addNames(int count) const
    {
        fs::create_directories(m_path / "names");
        for (int i = 0; i < count; ++i)
            std::ofstream(m_path / "names" / name(i));
    }

private:
    static std::string name(int i) { return "IMG_" + std::to_string(100000 + i) + ".JPG"; }

    bench::TemporaryFolder m_folder{"browser"};
    fs::path m_path{m_folder.path()};
};

double firstScreen(tevoro::BrowserWindow& window, const QString& folder)
{
    auto& grid = *window.findChild<pictures::GridView*>();
    const auto begin = Clock::now();
    window.browseTo(folder);
    runUntil([&] { return grid.isComplete(); });
    grid.viewport()->repaint();
    return since(begin);
}

void wholeFolder(tevoro::BrowserWindow& window, int count)
{
    auto& queue = *window.findChild<pictures::ThumbnailQueue*>();
    const auto begin = Clock::now();
    runUntil([&] { return queue.isIdle(); });
    std::printf("whole folder: %.1f a second\n", count / (since(begin) / 1000));
}

void scroll(tevoro::BrowserWindow& window)
{
    auto& grid = *window.findChild<pictures::GridView*>();
    QScrollBar& bar = *grid.verticalScrollBar();
    std::vector<double> frames;
    for (int i = 0; i < 600; ++i) {
        const auto begin = Clock::now();
        bar.setValue((i + 1) * bar.pageStep() / 3 % std::max(bar.maximum(), 1));
        grid.viewport()->repaint();
        QCoreApplication::processEvents();
        frames.push_back(since(begin));
        std::this_thread::sleep_for(std::chrono::milliseconds(8)); // what the screen shows of it
    }
    std::ranges::sort(frames);
    std::printf("scrolling: median %.1f ms, 99 of 100 within %.1f ms, longest %.1f ms\n",
        frames[frames.size() / 2],
        frames[frames.size() * 99 / 100],
        frames.back());
}

void turnPages(tevoro::BrowserWindow& window)
{
    auto& view =
        *qobject_cast<pictures::PictureView*>(window.findChild<QStackedWidget*>()->widget(1));
    press(window, Qt::Key_Home);
    press(window, Qt::Key_Return);
    runUntil([&] { return view.isSharp(); });
    const auto turn = [&](Qt::Key key) {
        const auto begin = Clock::now();
        press(window, key);
        runUntil([&] { return view.isSharp(); });
        view.repaint();
        return since(begin);
    };
    std::vector<double> ahead;
    std::vector<double> notAhead;
    for (int i = 0; i < 15; ++i) {
        runFor(std::chrono::milliseconds(800));
        ahead.push_back(turn(Qt::Key_Right));
    }
    for (int i = 0; i < 14; ++i) {
        runFor(std::chrono::milliseconds(1500)); // the neighbours are done
        // To the end, back to the beginning: far from what is ahead, another picture each time.
        const auto key = i % 2 == 0 ? Qt::Key_End : Qt::Key_Home;
        const double time = turn(key);
        if (i < 2) // later they are there already
            notAhead.push_back(time);
    }
    std::ranges::sort(ahead);
    std::ranges::sort(notAhead);
    std::printf("next picture: decoded ahead median %.1f ms, longest %.1f ms; not ahead %.1f ms\n",
        ahead[ahead.size() / 2],
        ahead.back(),
        notAhead.back());
    press(window, Qt::Key_Escape);
}

void printMemory()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS") || line.starts_with("VmHWM"))
            std::printf("memory: %s\n", line.c_str());
    }
}

void openManyFiles(const QString& folder, int count)
{
    const auto begin = Clock::now();
    tevoro::BrowserWindow window;
    window.resize(1200, 800);
    window.show();
    window.browseTo(folder);
    QCoreApplication::processEvents();
    const double shown = since(begin);
    auto& grid = *window.findChild<pictures::GridView*>();
    double longest = runUntil([&] { return grid.model()->rowCount() == count; });
    const double named = since(begin);
    longest = std::max(longest, runUntil([&] {
        return !grid.model()->index(0, 0).data().isNull() && since(begin) > named + 3000;
    }));
    std::printf("%d files: window %.0f ms, names %.0f ms, longest without an answer %.0f ms\n",
        count,
        shown,
        named,
        longest);
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const Folder folder;
    qputenv("XDG_CACHE_HOME", folder.path("cache").toUtf8());
    const QApplication application(argc, argv);
    const int count = argc > 1 ? std::atoi(argv[1]) : 5000;
    folder.addPictures(count);
    {
        tevoro::BrowserWindow window;
        window.show();
        std::printf(
            "first screen, empty store: %.0f ms\n", firstScreen(window, folder.path("pictures")));
        wholeFolder(window, count);
    }
    {
        tevoro::BrowserWindow window;
        window.show();
        std::printf(
            "first screen, full store: %.0f ms\n", firstScreen(window, folder.path("pictures")));
        scroll(window);
        printMemory();
        turnPages(window);
    }
    printMemory();
    folder.addNames(100000);
    openManyFiles(folder.path("names"), 100000);
    return 0;
}
