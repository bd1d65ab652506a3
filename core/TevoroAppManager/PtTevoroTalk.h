// The sink's door to the message bus. Owned by the sink and used on its thread.
//
// The bus itself is not linked so far: no application runs on it and none is installed, and
// that is what these operations say.
#pragma once

#include <QByteArray>

class PtTevoroTalk {
public:
    // Starts the bus for this process. Returns 1.
    int Initialize();
    void Terminate();

    // Whether the browser application runs.
    bool targetIsRunning() const;

    // Whether the browser application says that it is busy.
    bool isTevoroBusy() const;

    // Sends a script and waits for its answer. 0 on an answer, -1 when the application is neither
    // running nor installed, -2 when no answer came.
    int DoLaunchTevoro(const QByteArray& script, bool bringToFront);
};
