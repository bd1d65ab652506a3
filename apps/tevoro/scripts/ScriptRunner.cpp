#include "tevoro/scripts/ScriptRunner.h"

#include "platform/common/services/ProgramEnvironment.h"
#include "tevoro/scripts/ChildExit.h"
#include "tevoro/scripts/TargetCalls.h"

#include <QElapsedTimer>
#include <QFile>
#include <QScopedValueRollback>

#include <algorithm>
#include <exception>

namespace tevoro {

namespace {

using std::chrono::milliseconds;

constexpr char kProgramName[] = "/tevoro-scripts";
constexpr QLatin1String kTooLong("the script is too long");

QString programBesideUs()
{
    return QFile::decodeName((Pt::programFolder() + kProgramName).c_str());
}

ScriptOutcome failed(const QString& text)
{
    return {false, text, 0};
}

QJsonObject orderToRun(const QString& script, const ScriptTarget& target, milliseconds time)
{
    return {{QStringLiteral("run"), script},
        {QStringLiteral("documents"), target.documentCount()},
        {QStringLiteral("milliseconds"), static_cast<qint64>(time.count())}};
}

} // namespace

ScriptRunner::ScriptRunner(const QString& program, ScriptLimits limits)
    : m_limits(limits)
    , m_child(program.isEmpty() ? programBesideUs() : program)
{
    m_child.start();
}

// As JSON it takes no byte less.
bool ScriptRunner::isTooLong(std::string_view script)
{
    return script.size() > kMaxLine;
}

ScriptOutcome ScriptRunner::runUtf8(std::string_view script, ScriptTarget& target)
{
    if (isTooLong(script))
        return failed(kTooLong);
    return run(QString::fromUtf8(script.data(), static_cast<qsizetype>(script.size())), target);
}

ScriptOutcome ScriptRunner::run(const QString& script, ScriptTarget& target)
{
    if (m_isRunning)
        return failed(QStringLiteral("another script is running"));
    const QScopedValueRollback running(m_isRunning, true);
    QElapsedTimer clock;
    clock.start();
    ScriptOutcome outcome = runWatched(script, target);
    m_age += milliseconds(clock.elapsed());
    if (m_age > m_limits.life || m_child.saysMore())
        renewChild();
    return outcome;
}

ScriptOutcome ScriptRunner::runWatched(const QString& script, ScriptTarget& target)
{
    const QDeadlineTimer end(m_limits.all);
    if (!m_child.makeReady(end))
        return failed(m_child.why());
    const milliseconds time =
        std::min(m_limits.time, milliseconds(end.remainingTime()) - m_limits.grace);
    if (time <= milliseconds(0))
        return failed(QStringLiteral("the program that runs scripts was ready too late"));
    if (!m_child.send(orderToRun(script, target, time)))
        return failed(kTooLong);
    return serve(target, QDeadlineTimer(time + m_limits.grace));
}

ScriptOutcome ScriptRunner::serve(ScriptTarget& target, QDeadlineTimer deadline)
{
    for (int calls = 0; calls <= kMaxCalls; ++calls) {
        const auto line = m_child.read(deadline);
        if (!line) {
            const QString why = m_child.why();
            renewChild();
            return failed(why);
        }
        if (const auto* const result = std::get_if<ChildResult>(&*line))
            return {true, result->text, 0};
        if (const auto* const error = std::get_if<ChildError>(&*line))
            return {false, error->text, error->line};
        const auto* const call = std::get_if<ChildCall>(&*line);
        auto answer = call ? makeCall(*call, target) : std::nullopt;
        if (!answer) {
            renewChild();
            return failed(QStringLiteral("the program that runs scripts asked what it may not"));
        }
        answer->insert(QStringLiteral("documents"), target.documentCount());
        m_child.send(*answer);
    }
    renewChild();
    return failed(QStringLiteral("the script calls the browser too often"));
}

void ScriptRunner::renewChild()
{
    m_child.kill();
    m_child.start();
    m_age = milliseconds(0);
}

} // namespace tevoro
