// The program tevoro-scripts: runs the scripts that the browser hands it, one after the other, and
// can do nothing else. Started by the browser, not by people.

#include "platform/common/services/ProcessFence.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "tevoro/scripts/ChildExit.h"
#include "tevoro/scripts/child/ScriptEngine.h"

#include <QCoreApplication>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <new>
#include <string>

namespace {

using tevoro::Channel;
using tevoro::ScriptEngine;

constexpr Pt::FenceBounds kBounds{
    // Far beyond what the watch allows: this is for what grows faster than it looks.
    .addresses = std::size_t{2} << 30,
    // The browser makes the program anew after a minute of scripts.
    .processorSeconds = 180,
    .descriptors = 16,
};

[[noreturn]] void endWithoutMemory()
{
    std::_Exit(tevoro::kChildMemory);
}

// What is set up at its first use from files of the system: the time zone, the order of letters.
void warmUp()
{
    QJSEngine engine;
    engine.evaluate(QStringLiteral("new Date().toLocaleString() + 'b'.localeCompare('a')"
                                   " + 'I'.toLocaleLowerCase() + (1.5).toLocaleString()"
                                   " + new Date(2020, 1, 1).getTimezoneOffset() + /a+/.test('b')"));
}

// What the filters could not be set for, or no text.
QString shutOff()
{
    // The engine sees that it may not write code, and interprets; it looks when it is first made.
    std::error_code error = Pt::forbidNewCode();
    warmUp();
    if (!error)
        error = Pt::shutOffSystem();
    return QString::fromStdString(error ? error.message() : std::string());
}

void runScripts(tevoro::Watch& watch, const QString& gap)
{
    Channel channel;
    auto engine = std::make_unique<ScriptEngine>();
    const QJsonObject ready{{QStringLiteral("ready"), gap}};
    channel.write(ready);
    while (const auto order = channel.read()) {
        if (order->contains(QStringLiteral("ready"))) { // the browser asks
            channel.write(ready);
            continue;
        }
        const QJsonObject outcome = engine->run(*order, channel, watch);
        // Nothing of a script is left behind for the next one.
        if (!channel.write(outcome))
            channel.write({{QStringLiteral("error"), QStringLiteral("the result is too long")},
                {QStringLiteral("line"), 0}});
        engine = std::make_unique<ScriptEngine>();
    }
}

// Whether the browser is still there, which gives its number; from now on this program ends with
// it, also in the middle of a script that nothing interrupts.
bool hasBrowser(int argc, char** argv)
{
    const std::string id = argc == 2 ? argv[1] : "";
    unsigned long number = 0;
    const auto [end, error] = std::from_chars(id.data(), id.data() + id.size(), number);
    return error == std::errc() && Pt::endWithParent(number);
}

} // namespace

int main(int argc, char** argv)
try {
    if (!hasBrowser(argc, argv)) {
        std::fputs("tevoro-scripts: the browser that starts it is not there\n", stderr);
        return tevoro::kChildUnable;
    }
    std::set_new_handler(endWithoutMemory);
    Pt::closeInheritedDescriptors();
    Pt::failBeyondSizeLimit();
    // Before there are threads.
    Pt::setEnvironmentVariable("QT_NO_GLIB", "1");
    Pt::setEnvironmentVariable("QV4_FORCE_INTERPRETER", "1");
    const QCoreApplication application(argc, argv); // engines ask for one
    if (const std::error_code error = Pt::boundProcess(kBounds); error) {
        std::fprintf(
            stderr, "tevoro-scripts: its limits cannot be set: %s\n", error.message().c_str());
        return tevoro::kChildUnable;
    }
    tevoro::Watch watch;
    runScripts(watch, shutOff());
    return tevoro::kChildDone;
} catch (const std::exception& error) {
    std::fprintf(stderr, "tevoro-scripts: %s\n", error.what());
    return tevoro::kChildUnable;
}
