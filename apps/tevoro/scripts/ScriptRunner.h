// Runs the scripts that come over the bus, each in an engine of its own inside a process of its own
// that can do nothing but compute and call the browser back (docs/scripts.md). The process is
// started ahead of time. Thread that made it.
#pragma once

#include "tevoro/scripts/ScriptChild.h"
#include "tevoro/scripts/ScriptTarget.h"

#include <QString>

#include <chrono>
#include <string_view>

namespace tevoro {

struct ScriptOutcome {
    bool ok = false;
    QString text; // the value of the last statement; else what went wrong
    int line = 0; // of the script, from 1, where an exception left it; 0 when there is no such line
};

struct ScriptLimits {
    std::chrono::milliseconds time{5000}; // then the script is interrupted
    std::chrono::milliseconds grace{1000}; // then its process is killed
    std::chrono::milliseconds all{7000}; // what run() takes at most, its process's start included
    // After so much of scripts the process is made anew: the system ends it some time later.
    std::chrono::milliseconds life{60'000};
};

class ScriptRunner {
public:
    // Starts the process. The program is the one beside this one where none is named.
    explicit ScriptRunner(const QString& program = {}, ScriptLimits limits = {});

    // Blocks, without the application's event loop, until the script is done or its time is over;
    // the target's own time comes on top. A script that is run by a call of the target is refused.
    ScriptOutcome run(const QString& script, ScriptTarget& target);
    // The same for UTF-8. What is too long is refused before it is converted.
    ScriptOutcome runUtf8(std::string_view script, ScriptTarget& target);
    static bool isTooLong(std::string_view script);

    // Of the process with the engine; 0 when it does not run.
    qint64 processId() const { return m_child.processId(); }

private:
    ScriptOutcome runWatched(const QString& script, ScriptTarget& target);
    ScriptOutcome serve(ScriptTarget& target, QDeadlineTimer deadline);
    void renewChild();

    const ScriptLimits m_limits;
    ScriptChild m_child;
    bool m_isRunning = false;
    std::chrono::milliseconds m_age{0}; // how long the child has run scripts
};

} // namespace tevoro
