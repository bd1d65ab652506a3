#include "tevoro/Application.h"

#include "commandline/JsonLine.h"
#include "commandline/Output.h"
#include "mfx/texts/Language.h"
#include "pictures/folder/PathText.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "platform/common/services/UserFolders.h"
#include "tevoro/BusLink.h"
#include "tevoro/HeadlessBrowser.h"
#include "tevoro/ProgramEnd.h"
#include "tevoro/scripts/ScriptRunner.h"
#include "tevoro/window/ToolkitWords.h"
#include "tevoro/window/WindowBrowser.h"

#include <QApplication>
#include <QFile>
#include <QIcon>
#include <QLoggingCategory>
#include <QTimer>

#include <chrono>
#include <cstdio>

namespace tevoro {

using namespace std::chrono_literals;
using commandline::CommandError;
using commandline::Json;

namespace {

// A signal is noticed that late.
constexpr auto kLook = 200ms;
// So long a browser that was launched waits for the script before it opens a window by itself.
constexpr auto kForScript = 3s;

// Without a display the toolkit would end the program. It is told to go without one instead, so
// that the reason is ours to tell.
void allowMissingDisplay()
{
    if (Pt::environmentVariable("QT_QPA_PLATFORM"))
        return; // somebody has decided
    const bool hasWayland = !Pt::environmentVariable("WAYLAND_DISPLAY").value_or("").empty();
    Pt::setEnvironmentVariable(
        "QT_QPA_PLATFORM", hasWayland ? "wayland;xcb;offscreen" : "xcb;offscreen");
}

// Who starts a browser by hand wants to see it. One that the bus has started does what it was
// started for, as far as that goes.
void requireDisplay(bool isDecided, bool wasLaunched)
{
    if (!isDecided && !wasLaunched && QGuiApplication::platformName() == u"offscreen")
        throw CommandError(
            ExitCode::kSystemPart, "there is no display; without one, use --headless");
}

Json scriptText(std::string_view script)
{
    if (ScriptRunner::isTooLong(script))
        return {};
    return QString::fromUtf8(script.data(), static_cast<qsizetype>(script.size())).toStdString();
}

void print(std::string_view script, const ScriptOutcome& outcome, const ScriptTarget& browser)
{
    Json line{{"script", scriptText(script)},
        {"result", outcome.ok ? Json(outcome.text.toStdString()) : Json()},
        {"folder", Json()},
        {"status", Json()}};
    if (browser.documentCount() > 0) {
        line["folder"] = browser.shownFolder().toStdString();
        line["status"] = browser.status().toStdString();
    }
    if (!outcome.ok)
        line["error"] = outcome.text.toStdString();
    commandline::printJson(line);
}

// Looks now and then for what no event tells.
void watchForEnd(ExitCode& code, QTimer& timer)
{
    QObject::connect(&timer, &QTimer::timeout, [&code] {
        if (Pt::wasInterrupted())
            code = ExitCode::kInterrupted;
        else if (commandline::lostOutput())
            code = ExitCode::kPlaceUnusable;
        else
            return;
        QCoreApplication::quit();
    });
    timer.start(kLook);
}

BusLink::ScriptHandler scriptHandler(ScriptRunner& runner, ScriptTarget& browser, bool prints)
{
    return [&runner, &browser, prints](std::string_view script) {
        const ScriptOutcome outcome = runner.runUtf8(script, browser);
        if (prints)
            print(script, outcome, browser);
        return BusLink::Answer{outcome.ok, outcome.text};
    };
}

ExitCode runOnBus(const CommandLine& line, ScriptTarget& browser, BusLink& bus)
{
    ScriptRunner runner;
    bus.drive(scriptHandler(runner, browser, line.headless));
    std::fprintf(stderr, "on the bus as %s\n", bus.name().c_str());
    auto code = ExitCode::kDone;
    QTimer timer;
    watchForEnd(code, timer);
    QCoreApplication::exec();
    return code;
}

ExitCode runHeadless(int argc, char** argv, const CommandLine& line)
{
    const QCoreApplication application(argc, argv);
    BusLink bus(line);
    HeadlessBrowser browser(pictures::pathText(line.folder));
    return runOnBus(line, browser, bus);
}

// A browser that was launched has a script to come that names a folder.
void showFirstFolder(WindowBrowser& browser, const CommandLine& line, bool wasLaunched)
{
    const QString folder =
        pictures::pathText(line.folder.empty() ? Pt::picturesFolder() : line.folder);
    if (!wasLaunched || !line.folder.empty()) {
        browser.browseTo(folder);
        return;
    }
    QTimer::singleShot(kForScript, qApp, [&browser, folder] {
        if (browser.documentCount() == 0)
            browser.browseTo(folder);
    });
}

ExitCode runWithWindow(int argc, char** argv, const CommandLine& line)
{
    // What the toolkit has to say to its developers, such as of each display that it tries;
    // QT_LOGGING_RULES brings it back.
    QLoggingCategory::setFilterRules(QStringLiteral("qt.qpa.*=false\ndefault.warning=false"));
    const bool isDecided = Pt::environmentVariable("QT_QPA_PLATFORM").has_value();
    allowMissingDisplay();
    const QApplication application(argc, argv);
    BusLink bus(line);
    requireDisplay(isDecided, bus.wasLaunched());
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Tevoro"));
    QGuiApplication::setDesktopFileName(QStringLiteral("org.tevoro.tevoro"));
    QGuiApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("org.tevoro.tevoro")));
    const ToolkitWords toolkitWords(mfx::speakLanguageOfUser());
    ProgramEnd end([&bus] { bus.leave(); });
    WindowBrowser browser;
    showFirstFolder(browser, line, bus.wasLaunched());
    const ExitCode code = runOnBus(line, browser, bus);
    end.begin(code);
    return code;
}

} // namespace

ExitCode runApplication(int argc, char** argv, const CommandLine& line)
{
    return line.headless ? runHeadless(argc, argv, line) : runWithWindow(argc, argv, line);
}

} // namespace tevoro
