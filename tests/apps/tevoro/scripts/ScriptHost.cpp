// A program with a script runner, to be killed: runs a script, says which process ran it, and runs
// the script that it was given.
#include "apps/tevoro/scripts/RecordingTarget.h"
#include "tevoro/scripts/ScriptRunner.h"

#include <QCoreApplication>

#include <chrono>
#include <cstdio>
#include <thread>

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    if (argc != 3)
        return 2;
    using namespace std::chrono_literals;
    test::RecordingTarget target;
    tevoro::ScriptRunner runner(
        QString::fromLocal8Bit(argv[1]), {.time = 60s, .grace = 60s, .all = 120s});
    if (!runner.run(QStringLiteral("1"), target).ok)
        return 1;
    std::printf("%lld\n", static_cast<long long>(runner.processId()));
    std::fflush(stdout);
    runner.run(QString::fromLocal8Bit(argv[2]), target);
    std::this_thread::sleep_for(60s);
    return 0;
}
