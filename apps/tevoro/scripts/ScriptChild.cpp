#include "tevoro/scripts/ScriptChild.h"

#include "tevoro/scripts/ChildExit.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QProcessEnvironment>
#include <QScopedValueRollback>

#include <algorithm>
#include <utility>

namespace tevoro {

namespace {

constexpr int kEnds = 1000; // ms; for a process that was killed
// For one that is there, to say so: a script that left much behind is still cleared away.
constexpr int kStillReady = 1000; // ms
// What a child may say before it has anything to answer is one short line.
constexpr qsizetype kMaxGreeting = 4096;

// Nothing of the user's own: where libraries are, the language and time that dates are told in, and
// what sanitizers are told.
QProcessEnvironment environmentOfChild()
{
    const QProcessEnvironment ours = QProcessEnvironment::systemEnvironment();
    QProcessEnvironment theirs;
    for (const char* const name : {"LD_LIBRARY_PATH",
             "LANG",
             "LC_ALL",
             "LC_CTYPE",
             "LC_TIME",
             "LC_NUMERIC",
             "LC_COLLATE",
             "TZ",
             "ASAN_OPTIONS",
             "LSAN_OPTIONS",
             "UBSAN_OPTIONS"})
        if (const QString key = QLatin1String(name); ours.contains(key))
            theirs.insert(key, ours.value(key));
    return theirs;
}

int millisecondsTo(const QDeadlineTimer& deadline)
{
    return static_cast<int>(std::max<qint64>(0, deadline.remainingTime()));
}

} // namespace

ScriptChild::ScriptChild(const QString& program)
    : m_lines(kMaxLine)
{
    m_process.setProgram(program);
    m_process.setArguments({QString::number(QCoreApplication::applicationPid())});
    m_process.setProcessEnvironment(environmentOfChild());
    m_process.setWorkingDirectory(QStringLiteral("/"));
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QObject::connect(&m_process, &QProcess::readyReadStandardOutput, [this] { onOutput(); });
}

ScriptChild::~ScriptChild()
{
    kill();
}

void ScriptChild::start()
{
    if (runs())
        return;
    m_isReady = false;
    m_lines.clear();
    m_process.start();
}

void ScriptChild::kill()
{
    m_process.kill();
    m_process.waitForFinished(kEnds);
}

// Between scripts, from the event loop: one that floods us then would fill our memory.
void ScriptChild::onOutput()
{
    if (!m_isRead && m_process.bytesAvailable() > (m_isReady ? 0 : kMaxGreeting))
        m_process.kill();
}

bool ScriptChild::makeReady(QDeadlineTimer deadline)
{
    if (isStillReady())
        return true;
    // One that was started ahead of time may have died since: then another one is tried.
    const bool wasStarted = m_process.state() != QProcess::NotRunning && !m_isReady;
    if (m_isReady)
        kill();
    start();
    if (awaitReady(deadline))
        return true;
    kill();
    if (!wasStarted || deadline.hasExpired())
        return false;
    start();
    return awaitReady(deadline);
}

// It is asked, as it may have died a moment ago: a script that it was sent might have begun, and
// could not be sent again.
bool ScriptChild::isStillReady()
{
    if (!m_isReady || !runs() || saysMore())
        return false;
    send({{QStringLiteral("ready"), QString()}});
    return awaitReady(QDeadlineTimer(kStillReady));
}

bool ScriptChild::awaitReady(QDeadlineTimer deadline)
{
    const auto line = read(deadline);
    const auto* const ready = line ? std::get_if<ChildReady>(&*line) : nullptr;
    if (ready == nullptr)
        return false;
    m_isReady = true;
    if (!ready->gap.isEmpty() && !std::exchange(m_toldGap, true))
        qWarning("scripts run without a filter of system calls, which is not to be had here: %s",
            qUtf8Printable(ready->gap));
    return true;
}

bool ScriptChild::send(const QJsonObject& object)
{
    const QByteArray line = QJsonDocument(object).toJson(QJsonDocument::Compact);
    if (line.size() > kMaxLine)
        return false;
    m_process.write(line);
    m_process.write("\n");
    return true;
}

std::optional<ChildLine> ScriptChild::read(QDeadlineTimer deadline)
{
    const QScopedValueRollback reads(m_isRead, true);
    for (;;) {
        m_lines.add(m_process.readAllStandardOutput());
        if (const auto line = m_lines.take()) {
            auto message = readChildLine(*line);
            if (!message)
                m_why = QStringLiteral("the program that runs scripts said what it may not");
            return message;
        }
        if (m_lines.isTooLong()) {
            m_why = QStringLiteral("the program that runs scripts says too much");
            return std::nullopt;
        }
        if (!runs() || deadline.hasExpired()) {
            m_why = reasonOfEnd();
            return std::nullopt;
        }
        m_process.waitForReadyRead(millisecondsTo(deadline));
    }
}

bool ScriptChild::saysMore()
{
    return !m_lines.isEmpty() || m_process.bytesAvailable() > 0;
}

QString ScriptChild::reasonOfEnd() const
{
    if (runs())
        return m_isReady ? QStringLiteral("the script took too long, and could not be interrupted")
                         : QStringLiteral("the program that runs scripts does not get ready");
    if (m_process.error() == QProcess::FailedToStart)
        return QStringLiteral("the program that runs scripts cannot be started: ")
            + m_process.errorString();
    if (m_process.exitStatus() == QProcess::CrashExit)
        return QStringLiteral("the program that runs scripts was killed or crashed");
    if (m_process.exitCode() == kChildMemory)
        return QStringLiteral("the script takes too much memory");
    if (m_process.exitCode() == kChildTime)
        return QStringLiteral("the script took too long");
    return QStringLiteral("the program that runs scripts ended with code %1")
        .arg(m_process.exitCode());
}

} // namespace tevoro
