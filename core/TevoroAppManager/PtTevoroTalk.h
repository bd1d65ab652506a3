// The sink's door to the message bus, and the instance that the sink holds there. Owned by the
// sink and used on its thread, which calls may block: each says how long.
//
// Several sinks of a process share one bus: the first starts it and the last ends it, unless
// somebody else in the process had started it before.
#pragma once

#include "platform/common/services/Clock.h"

#include <QByteArray>

namespace ScObjects {
class TevoroTalk;
}

class PtTevoroTalk {
public:
    // Borrows the clock, which makes the pauses.
    explicit PtTevoroTalk(Pt::Clock& clock = Pt::systemClock())
        : m_clock(clock)
    {
    }
    // A sink whose construction fails ends here what it had begun.
    ~PtTevoroTalk() { Terminate(); }
    PtTevoroTalk(const PtTevoroTalk&) = delete;
    PtTevoroTalk& operator=(const PtTevoroTalk&) = delete;

    // Starts the bus for this process, in the background. Returns 1.
    int Initialize();
    void Terminate() noexcept;

    // Whether the browser application runs.
    bool targetIsRunning() const;

    // Whether the browser application says that it is busy; waits up to two seconds.
    bool isTevoroBusy() const;

    // Sends a script and waits for its answer: up to 300 seconds for the start of the application,
    // where it has to be started, and 29 for the answer. 0 on an answer, -1 when the application is
    // neither running nor installed, -2 when no answer came.
    int DoLaunchTevoro(const QByteArray& script, bool bringToFront);

    // Pumps until nothing waits any more to be sent. A message that stays costs 60 pauses of 1000
    // seconds.
    void sendPending();

private:
    bool sendScript(const QByteArray& script) const;
    bool awaitAnswer(bool bringToFront);

    Pt::Clock& m_clock;
    ScObjects::TevoroTalk* m_instance = nullptr; // owned
};
