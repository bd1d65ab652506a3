#pragma once

#include "apps/tevoro/scripts/RecordingTarget.h"
#include "platform/common/services/ProcessControl.h"
#include "tevoro/scripts/ScriptRunner.h"

#include <chrono>
#include <csignal>
#include <ostream>
#include <string>
#include <thread>

#include <gmock/gmock.h>

namespace tevoro {

inline void PrintTo(const ScriptOutcome& outcome, std::ostream* out)
{
    *out << (outcome.ok ? "result '" : "error '") << outcome.text.toStdString() << "' in line "
         << outcome.line;
}

} // namespace tevoro

namespace test {

using namespace std::chrono_literals;
using tevoro::ScriptLimits;
using tevoro::ScriptOutcome;
using tevoro::ScriptRunner;

MATCHER_P(IsResult, text, "")
{
    return arg.ok && arg.text == QString::fromUtf8(text) && arg.line == 0;
}

MATCHER_P(IsError, words, "")
{
    return !arg.ok && arg.text.contains(QString::fromUtf8(words));
}

MATCHER_P2(IsErrorInLine, words, line, "")
{
    return !arg.ok && arg.text.contains(QString::fromUtf8(words)) && arg.line == line;
}

inline bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit = 20s)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(5ms);
    }
    return true;
}

// Nobody asked for its end yet: it may be a zombie, which does not run.
inline void killAndWait(qint64 id)
{
    ::kill(static_cast<pid_t>(id), SIGKILL);
    EXPECT_TRUE(waitUntil([&] { return !Pt::isProcessRunning(static_cast<unsigned long>(id)); }));
}

// The real program, with limits that a busy machine does not reach.
class ScriptFixture : public testing::Test {
protected:
    static constexpr ScriptLimits kAmple{.time = 30s, .grace = 10s, .all = 60s};

    static QString program() { return QStringLiteral(TEVORO_SCRIPTS); }

    ScriptOutcome run(const QString& script) { return runner.run(script, target); }
    ScriptOutcome run(const char* script) { return run(QString::fromUtf8(script)); }

    // After whatever went wrong.
    void expectWorks() { EXPECT_THAT(run("6 * 7"), IsResult("42")); }

    RecordingTarget target;
    ScriptRunner runner{program(), kAmple};
};

} // namespace test
