// The process of the program that runs scripts, and the channel to it. Started ahead of time and
// ended by this object; whatever happens to it costs one script at most. Waits do not run the
// application's event loop. Thread that made it.
#pragma once

#include "tevoro/scripts/ChildLine.h"

#include <QDeadlineTimer>
#include <QJsonObject>
#include <QProcess>

namespace tevoro {

class ScriptChild {
public:
    explicit ScriptChild(const QString& program);
    // Kills it.
    ~ScriptChild();
    ScriptChild(const ScriptChild&) = delete;
    ScriptChild& operator=(const ScriptChild&) = delete;

    // Starts it, unless it runs already, and does not wait until it is ready.
    void start();
    // Waits until it is, and starts it anew where it died or spoke without being asked. False if it
    // does not come up; why() then says why.
    bool makeReady(QDeadlineTimer deadline);
    void kill();

    // Requires: it is ready. False, with nothing sent, when the line would be too long.
    bool send(const QJsonObject& object);
    // Waits for the next message. Nothing if it did not come: the child must be killed then, and
    // why() says why.
    std::optional<ChildLine> read(QDeadlineTimer deadline);

    // Whether it said more than was read.
    bool saysMore();

    const QString& why() const { return m_why; }
    // 0 when it does not run.
    qint64 processId() const { return m_process.processId(); }

private:
    void onOutput();
    bool isStillReady();
    bool awaitReady(QDeadlineTimer deadline);
    bool runs() const { return m_process.state() != QProcess::NotRunning; }
    QString reasonOfEnd() const;

    QProcess m_process;
    LineBuffer m_lines;
    bool m_isReady = false;
    bool m_isRead = false; // by read(), not by onOutput()
    bool m_toldGap = false;
    QString m_why;
};

} // namespace tevoro
